#pragma once

struct sqlite3;

namespace kr {

/// Orders and compares text without regard to case, by the folding of the whole system.
inline constexpr const char* kFoldedCollation = "KR_FOLDED";

/// The collation, a LIKE that folds case beyond ASCII, and the functions to which the dialect's
/// names are translated.
void RegisterSqlFunctions(sqlite3* db);

} // namespace kr
