#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kr {

/// Starts a program found along PATH, without a shell, with its output discarded and in a session
/// of its own, so that it outlives the console. Gives the process id, or -errno.
pid_t StartProcess(const std::vector<std::string>& arguments);

} // namespace kr
