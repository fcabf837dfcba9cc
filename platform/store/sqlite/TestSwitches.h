#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/store/Store.h"

/// Switches of the embedded store that only tests set.
namespace kr::sqlite {

/// Cuts texts in table rows to so many characters and binaries to so many bytes, as other backends
/// do (255 there); 0: whole values. Lasts until the next logon.
void CutTableTexts(RDOSession& session, size_t count);
/// How many rows of the log of changes this session leaves when it prunes it.
void KeepChanges(RDOSession& session, int64_t count);

} // namespace kr::sqlite
