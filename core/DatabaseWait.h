#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "core/AgentSession.h"

namespace kr {

/// Work on a database that the person waits for. While the answer is out, the windows stay alive
/// behind a progress window with Cancel; it comes only after a moment, so that a quick answer shows
/// none, and until then nothing else runs.
class DatabaseWait {
public:
    DatabaseWait(AgentSession& session, std::string caption);
    ~DatabaseWait();
    DatabaseWait(const DatabaseWait&) = delete;
    DatabaseWait& operator=(const DatabaseWait&) = delete;

    /// Limits of a call that ends when the person cancels.
    DbLimits limits(int querySeconds = DbLimits().querySeconds) const;
    bool cancelled() const { return m_cancel; }

private:
    void turn();

    AgentSession& m_session;
    std::string m_caption;
    std::chrono::steady_clock::time_point m_start;
    std::unique_ptr<Progress> m_progress;
    std::atomic<bool> m_cancel = false;
    Events::Id m_timer = 0;
};

/// "&H80004005 " and the description: a failure as a test of a connection shows and logs it.
std::string DatabaseErrorText(long number, std::string_view description);

} // namespace kr
