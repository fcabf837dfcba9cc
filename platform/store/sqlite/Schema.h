#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/store/sqlite/Sqlite.h"

namespace kr::sqlite {

/// "krst"
constexpr int kApplicationId = 0x6B727374;
/// The number of the present layout (user_version).
constexpr int kLayout = 1;

/// Makes the tables in an empty file.
void CreateTables(sqlite3* db);
/// Brings an older layout to the present one, each step in its own transaction, after a copy of
/// the file was kept. Throws for a newer layout and for what is no store file.
void CheckLayout(sqlite3* db, const std::string& path);
/// The same with other steps: steps[0] leads from layout 1 to 2, and so on; the layout behind the
/// last one is the present one.
void CheckLayout(sqlite3* db, const std::string& path, std::span<const char* const> steps);
/// Integrity of the file and of the layout's own references; empty when all is well.
std::vector<std::string> CheckStore(sqlite3* db);

} // namespace kr::sqlite
