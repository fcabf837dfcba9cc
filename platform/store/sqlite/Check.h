#pragma once

#include <string>
#include <vector>

#include "platform/store/sqlite/StoreFile.h"

namespace kr::sqlite {

/// Integrity of the file, of the layout's own references, of every record's properties and of the
/// hashed index; one line a fault, empty when all is well.
std::vector<std::string> CheckStore(StoreFile& file);

} // namespace kr::sqlite
