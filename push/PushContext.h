#pragma once

#include "console/TreeModel.h"
#include "core/AgentSession.h"
#include "core/basDate.h"
#include "net/WebProgress.h"

namespace kr {

/// What a push works with: the tree has the connectors, the window shows progress and can stop it.
struct PushContext {
    AgentSession& session;
    TreeModel& tree;
    WebProgress& progress;
};

/// The date of a result: now, local.
inline Time LocalNow(const AgentSession& session) {
    const Clock& clock = session.platform.clock;
    return UTCToLocal(clock.now(), clock);
}

} // namespace kr
