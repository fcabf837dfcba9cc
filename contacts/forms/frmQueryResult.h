#pragma once

#include "contacts/ContactForms.h"
#include "core/AgentSession.h"

class QWidget;

namespace kr {

/// Runs a query and shows its rows in a grid until the person closes it. Without a connection
/// string or a query nothing happens; what fails is said in a box.
void ShowQueryResult(AgentSession& session, const QueryToShow& query, QWidget* parent);

} // namespace kr
