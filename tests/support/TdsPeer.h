#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/Value.h"

namespace kr {

/// A stand-in for an SQL Server ([MS-TDS], version 7.4, without encryption): one account, one
/// database, answers by the text of the batch.
class TdsPeer {
public:
    /// Columns of texts, whole numbers (int32_t) or flags, by the first row's values.
    struct Answer {
        std::vector<std::string> columns;
        std::vector<std::vector<Value>> rows;
    };
    /// Never answered until the client gives up.
    static constexpr const char* kHang = "WAITFOR DELAY '1:00'";
    /// Never answered, and a wish to give up isn't either.
    static constexpr const char* kDead = "SHUTDOWN";

    TdsPeer();
    ~TdsPeer();
    TdsPeer(const TdsPeer&) = delete;
    TdsPeer& operator=(const TdsPeer&) = delete;

    int port = 0;
    // Set before the first connection.
    std::string user = "sa", password = "secret", database = "crm";
    std::map<std::string, Answer> answers;

    std::vector<std::string> Batches() {
        const std::lock_guard lock(m_mutex);
        return m_batches;
    }
    /// "application|database" of each login.
    std::vector<std::string> Logins() {
        const std::lock_guard lock(m_mutex);
        return m_logins;
    }

private:
    void accept();
    void serve(int fd);
    std::string login(const std::string& body);
    /// True when the peer is dead from now on.
    bool batch(int fd, const std::string& text);

    int m_listener = -1;
    std::thread m_acceptor;
    std::mutex m_mutex;
    std::vector<int> m_clients;
    std::vector<std::thread> m_threads;
    std::vector<std::string> m_batches, m_logins;
};

} // namespace kr
