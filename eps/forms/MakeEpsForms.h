#pragma once

#include <functional>

#include "core/AgentSession.h"

class QWidget;

namespace kr {

/// frmEPSNow as the menu of servers asks for it: the code of the run, or 0. `parent` gives the
/// window that it stands over.
std::function<int(const EntryID& host)> MakeEPSNow(AgentSession& session,
                                                   std::function<QWidget*()> parent);

} // namespace kr
