#pragma once

#include "hosts/HostForms.h"

namespace kr {

class Console;

/// Registers the list of agent servers, its rows, and the commands on them and on the agent.
void RegisterHostKinds(Console& console, const HostForms& forms);

} // namespace kr
