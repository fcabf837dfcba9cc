#include "hosts/ServiceWait.h"

namespace kr {

namespace {

constexpr int kReadEvery = 20;
constexpr int kKillFromCycle = 3;
constexpr std::string_view kTag = "frmServiceStatus::Timer:";

struct DoneState {
    SvcState target;
    SvcState state;
    std::string_view log;
};
/// Deliberately a service that is paused, or starting again, counts as stopped.
constexpr DoneState kDone[] = {
    {SvcState::Stopped, SvcState::Stopped, " Target=Stopped & CurrentState=Stopped"},
    {SvcState::Stopped, SvcState::Paused, " Target=Stopped & CurrentState=Paused"},
    {SvcState::Stopped, SvcState::StartPending, " Target=Stopped & CurrentState=StartPending"},
    {SvcState::Running, SvcState::Running, " Target=Running & CurrentState=Running"},
    {SvcState::Running, SvcState::ContinuePending,
     " Target=Running & CurrentState=ContinuePending"},
};

} // namespace

ServiceWait::Tick ServiceWait::Next() {
    ++m_ticks;
    const Tick tick{m_ticks, m_ticks % kReadEvery == 0, m_cycles};
    if (m_ticks == kTicks) {
        m_ticks = 0;
        ++m_cycles;
    }
    return tick;
}

ServiceWait::Judgement ServiceWait::Judge(SvcState state, int cycles) const {
    for (const DoneState& done : kDone)
        if (done.target == m_target && done.state == state)
            return {Verdict::Done, std::string(kTag) + std::string(done.log)};
    if (m_target == SvcState::Stopped && cycles >= kKillFromCycle)
        return {Verdict::Kill, std::string(kTag) + "Calling KillAgent after " +
                                   std::to_string(cycles) + " cycles"};
    return {};
}

} // namespace kr
