#pragma once

#include <string>
#include <string_view>

#include "core/Recordset.h"

namespace kr {

/// "True" in any case, 1 and -1.
bool ReadBooleanText(std::string_view text);
/// A value of a persisted recordset as its field takes it; null for what the field's type doesn't
/// hold. A text is not copied.
RecordsetCell CellOfText(const Field& field, const std::string& text);

} // namespace kr
