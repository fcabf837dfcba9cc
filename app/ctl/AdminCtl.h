#pragma once

#include <ostream>
#include <span>
#include <string>

#include "platform/registry/Registry.h"

namespace kr {

/// kr-adminctl without its main: runs one command line (without the program's name). Gives the exit
/// code: 0 done, 1 failed, 2 wrong usage. Errors go to `err` as one line "kr-adminctl: ...".
int RunAdminCtl(std::span<const std::string> words, Registry& registry, std::ostream& out,
                std::ostream& err);

/// The registry values that lead from a server name to a store file.
void RegisterStore(Registry& registry, const std::string& file, const std::string& server);

} // namespace kr
