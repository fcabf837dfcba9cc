#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/store/Store.h"

/// Switches of the embedded store that only tests set.
namespace kr::sqlite {

/// Cuts texts and binaries in table rows to so many bytes, as other backends do; 0: whole values.
void CutTableTexts(RDOSession& session, size_t bytes);
/// How many rows of the change log this session leaves when it prunes it.
void KeepChanges(RDOSession& session, int64_t count);

} // namespace kr::sqlite
