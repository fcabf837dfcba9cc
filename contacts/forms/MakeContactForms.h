#pragma once

#include "contacts/ContactForms.h"
#include "core/AgentSession.h"

class QWidget;

namespace kr {

class TreeModel;

/// The real dialogs of contact sources, each over the window that `parent` names then.
ContactForms MakeContactForms(AgentSession& session, TreeModel& tree,
                              const std::function<QWidget*()>& parent);

} // namespace kr
