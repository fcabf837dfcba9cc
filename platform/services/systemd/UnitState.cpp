#include "platform/services/systemd/UnitState.h"

#include <string_view>

namespace kr {

namespace {

struct Row {
    std::string_view name;
    SvcState state;
};

constexpr Row kActive[] = {
    {"inactive", SvcState::Stopped},        {"failed", SvcState::Stopped},
    {"activating", SvcState::StartPending}, {"deactivating", SvcState::StopPending},
    {"active", SvcState::Running},          {"reloading", SvcState::Running},
};

constexpr Row kFreezer[] = {
    {"frozen", SvcState::Paused},
    {"thawing", SvcState::ContinuePending},
    {"freezing", SvcState::PausePending},
};

} // namespace

SvcState StateOf(const UnitProperties& unit) {
    if (unit.load != "loaded")
        return SvcState::Failed;
    // right after a crash at start a unit is "active" without a process
    if (unit.sub == "auto-restart")
        return SvcState::StartPending;
    if (unit.active == "active")
        for (const Row& row : kFreezer)
            if (row.name == unit.freezer)
                return row.state;
    for (const Row& row : kActive)
        if (row.name == unit.active)
            return row.state;
    return SvcState::Failed;
}

} // namespace kr
