#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "core/Value.h"
#include "platform/database/Worker.h"

namespace kr {

/// A result on its way from the worker to the caller: the names first, then batches of rows.
class RowFlow {
public:
    using Rows = std::vector<std::vector<Value>>;
    static constexpr size_t kBatch = 1000;

    /// `wake` is called when there is something to deliver.
    explicit RowFlow(std::function<void()> wake) : m_wake(std::move(wake)) {}

    void Describe(std::vector<std::string> names) {
        const std::lock_guard lock(m_mutex);
        m_columns = std::move(names);
        m_described = true;
    }
    /// False when nobody takes rows any more.
    bool Push(Rows rows) {
        const bool taken = m_rows.Push(std::move(rows));
        m_wake();
        return taken;
    }
    void Close() { m_rows.Close(); }

    /// Hands over what has come so far; on the caller's thread only.
    void Deliver(const std::function<void(const std::vector<std::string>&)>& onColumns,
                 const std::function<void(std::vector<Value>&)>& onRow) {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_described)
                return;
        }
        // written once, before the mark, so that it can be read without the lock from here on
        if (!m_told) {
            m_told = true;
            if (onColumns)
                onColumns(m_columns);
        }
        for (Rows rows; m_rows.Pop(rows);)
            for (auto& row : rows)
                if (onRow)
                    onRow(row);
    }

private:
    std::function<void()> m_wake;
    Worker::Channel<Rows> m_rows;
    std::mutex m_mutex;
    std::vector<std::string> m_columns;
    bool m_described = false;
    bool m_told = false;
};

} // namespace kr
