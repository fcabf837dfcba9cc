#pragma once

#include <string>

namespace kr::sqlite {

/// Looks at a file by plain reading, before SQLite sees it: throws with the reason for one that is
/// missing, can't be used, is no SQLite file, belongs to another program or was cut off.
void RequireStoreFile(const std::string& path);
/// Throws when no file can be made at that path.
void RequireFolderFor(const std::string& path);

} // namespace kr::sqlite
