#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

class QWidget;

namespace kr {

/// What "Members" shows: with `expand` the people behind the addresses, else the entries of the
/// list themselves.
void ShowMembersOrEntries(AgentSession& session, std::string_view title, const std::string& names,
                          const std::string& addresses, bool expand, QWidget* parent);

} // namespace kr
