#pragma once

namespace kr {

class Console;

/// The menu commands that back up lists to files, and restore them.
void RegisterBackupCommands(Console& console);

} // namespace kr
