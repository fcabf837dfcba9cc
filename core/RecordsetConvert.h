#pragma once

#include <optional>
#include <string_view>

#include "core/Recordset.h"

namespace kr {

/// The value in the form that the field's type keeps, converted as ADO does: True is -1, numbers
/// round half to even, texts are read as numbers, dates and Booleans, a date counts days from 30
/// December 1899. Throws std::invalid_argument for what has no such form, doesn't fit, or is a text
/// longer than the field's size.
Value ConvertToField(const Field& field, const Value& value);

/// Length as the field's size counts it: UTF-16 units.
size_t TextUnits(std::string_view utf8);
/// At most `units` of the text, cut between characters.
std::string_view CutText(std::string_view utf8, size_t units);

/// Numbers, Booleans (-1, 0), currency, dates in days, numeric texts; nothing for all else.
std::optional<double> NumberOf(const Value& value);

} // namespace kr
