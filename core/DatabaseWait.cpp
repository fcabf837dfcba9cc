#include "core/DatabaseWait.h"

#include <array>
#include <cstdio>

namespace kr {

namespace {

using SteadyClock = std::chrono::steady_clock;
/// How long an answer may take before the progress window comes.
constexpr auto kPatience = std::chrono::milliseconds(400);
constexpr auto kWaitTurn = std::chrono::milliseconds(50);

} // namespace

DatabaseWait::DatabaseWait(AgentSession& session, std::string caption)
    : m_session(session), m_caption(std::move(caption)), m_start(SteadyClock::now()),
      m_timer(session.platform.events.AddTimer(kWaitTurn, [this] { turn(); })) {}

DatabaseWait::~DatabaseWait() { m_session.platform.events.Cancel(m_timer); }

DbLimits DatabaseWait::limits(int querySeconds) const {
    DbLimits limits;
    limits.querySeconds = querySeconds;
    limits.cancel = &m_cancel;
    return limits;
}

void DatabaseWait::turn() {
    if (!m_progress) {
        if (SteadyClock::now() - m_start < kPatience)
            return;
        m_progress = m_session.ui().StartProgress(m_caption, ProgressKind::Plain);
        m_progress->SetText("Waiting for the database...");
        m_progress->SetValue(0, 0);
    }
    m_session.ui().DoEvents();
    if (m_progress->Cancelled())
        m_cancel = true;
}

std::string DatabaseErrorText(long number, std::string_view description) {
    std::array<char, 16> hex{};
    std::snprintf(hex.data(), hex.size(), "&H%X ", static_cast<unsigned>(number));
    return hex.data() + std::string(description);
}

} // namespace kr
