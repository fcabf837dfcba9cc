#pragma once

#include <span>
#include <string>

#include "platform/store/sqlite/Connection.h"

namespace kr::sqlite {

/// The number of the present layout (`user_version`).
constexpr int kLayout = 1;
/// Versions of the case folding and of the list of indexed keys, in `meta`: a file written under
/// another one gets its hashed index rebuilt.
constexpr int kFoldVersion = 1;
constexpr int kIndexVersion = 1;

/// Makes a new store file, whole or not at all. Throws MAPI_E_COLLISION when the path is taken.
void CreateStoreFile(const std::string& path);

/// Brings an older layout to the present one: steps[0] leads from layout 1 to 2, and so on, each in
/// its own transaction, after a copy of the file was kept as `<file>.layout<n>`. Several programs
/// may do it at once. Throws MAPI_E_VERSION for a layout that is newer than the steps lead to.
void CheckLayout(sqlite3* db, const std::string& path, std::span<const char* const> steps);
/// The same with the steps that this program knows.
void CheckLayout(sqlite3* db, const std::string& path);

} // namespace kr::sqlite
