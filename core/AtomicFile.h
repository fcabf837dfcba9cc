#pragma once

#include <string>
#include <string_view>

namespace kr {

/// Writes a whole file: a new one beside it takes its place when it is complete and on the disk, so
/// that a failure or a kill leaves the old file. What isn't a plain file (a device, a pipe) is
/// written directly; a symbolic link leads to its file. On failure false, with the system's reason.
bool WriteFileAtomically(const std::string& path, std::string_view content, std::string& error);

} // namespace kr
