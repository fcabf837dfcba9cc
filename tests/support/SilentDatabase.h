#pragma once

#include <chrono>
#include <memory>

#include "platform/database/Database.h"
#include "platform/events/Events.h"

namespace kr {

/// A database server that accepts and never answers.
class SilentDatabase : public DatabaseProvider {
public:
    explicit SilentDatabase(Events& events) : m_events(events) {}
    std::unique_ptr<Database> Open(std::string_view, const DbLimits& limits) override {
        const auto start = std::chrono::steady_clock::now();
        while (!limits.cancel || !*limits.cancel) {
            m_events.Run(std::chrono::milliseconds(10));
            if (std::chrono::steady_clock::now() - start > std::chrono::seconds(20))
                throw PlatformError(DB_E_TIMEOUT, "Timeout expired", "SilentDatabase");
        }
        throw PlatformError(DB_E_CANCELED, "Operation was canceled.", "SilentDatabase");
    }

private:
    Events& m_events;
};

} // namespace kr
