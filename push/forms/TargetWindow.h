#pragma once

#include <string>
#include <string_view>

#include "console/TreeModel.h"
#include "core/AgentSession.h"

class QWidget;

namespace kr {

/// The window of the handhelds that a push to these addresses, joined by ";", would reach.
void ShowTargets(AgentSession& session, TreeModel& tree, std::string_view title,
                 const std::string& addresses, QWidget* parent);

} // namespace kr
