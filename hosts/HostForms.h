#pragma once

#include <functional>
#include <string>

#include "core/EntryID.h"
#include "platform/services/Services.h"

namespace kr {

/// The dialogs of agent servers, as the subsystem asks for them. The forms' folder gives the real
/// ones; tests script them.
struct HostForms {
    /// Properties of a server by the id of its host message; true when it was saved.
    std::function<bool(const EntryID& host)> frmHost;
    /// Tasks of a server; `running` says whether its service runs by now, and `refreshRow` renews
    /// its row in the list.
    std::function<void(const EntryID& host, const std::string& name, std::function<bool()> running,
                       std::function<void()> refreshRow)>
        frmTasks;
    /// Waits until the agent's service of that machine is running or stopped.
    std::function<void(const std::string& machine, SvcState target, const std::string& caption)>
        frmServiceStatus;
    /// Properties of the agent.
    std::function<void()> frmAgentProps;
    /// What an on-demand run of EPS is to do: its code (200 or 199), or 0 when cancelled.
    std::function<int(const EntryID& host)> frmEPSNow;
};

} // namespace kr
