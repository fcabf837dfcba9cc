#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

class QWidget;

namespace kr {

/// The window of the people behind a list of addresses joined by ";". It fills while it is shown;
/// closing it ends the expansion.
void ShowMembers(AgentSession& session, std::string_view title, const std::string& addresses,
                 QWidget* parent);

} // namespace kr
