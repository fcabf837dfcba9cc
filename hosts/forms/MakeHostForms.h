#pragma once

#include "core/AgentSession.h"
#include "hosts/HostForms.h"

class QWidget;

namespace kr {

/// The real dialogs of agent servers, each over the window that `parent` names then.
HostForms MakeHostForms(AgentSession& session, const std::function<QWidget*()>& parent);

} // namespace kr
