#pragma once

namespace kr {

class Console;

/// Registers the commands on web settings.
void RegisterNetCommands(Console& console);

} // namespace kr
