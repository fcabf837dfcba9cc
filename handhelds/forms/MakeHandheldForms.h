#pragma once

#include "core/AgentSession.h"
#include "handhelds/HandheldForms.h"

class QWidget;

namespace kr {

/// The real dialogs of connectors and handhelds, each over the window that `parent` names then.
HandheldForms MakeHandheldForms(AgentSession& session, const std::function<QWidget*()>& parent);

} // namespace kr
