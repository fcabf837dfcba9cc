#pragma once

#include <string_view>

#include "hosts/HostForms.h"

namespace kr {

class Console;

// Tags: the node, its rows, and rows of servers that didn't answer a ping.
inline constexpr std::string_view kServerRoot = "serverroot";
inline constexpr std::string_view kServer = "server";
inline constexpr std::string_view kServerNoPing = "serverNoPing";

/// Registers the list of agent servers, its rows, and the commands on them and on the agent.
void RegisterHostKinds(Console& console, const HostForms& forms);

} // namespace kr
