#pragma once

#include <memory>

#include "hosts/HostForms.h"

namespace kr {

class Console;
class ServerList;

/// Registers what the menu of agent servers does: the orders to the agent, and its service.
void RegisterServerCommands(Console& console, const std::shared_ptr<ServerList>& list,
                            const HostForms& forms);

/// The properties of the selected server; its row is renewed when they were saved.
void ShowServerProperties(Console& console, ServerList& list, const HostForms& forms);

} // namespace kr
