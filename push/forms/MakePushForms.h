#pragma once

#include "core/AgentSession.h"
#include "push/PushForms.h"

class QWidget;

namespace kr {

class TreeModel;

/// The real dialogs of pushes, each over the window that `parent` names then.
PushForms MakePushForms(AgentSession& session, TreeModel& tree,
                        const std::function<QWidget*()>& parent);

} // namespace kr
