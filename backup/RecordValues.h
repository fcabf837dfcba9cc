#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/store/PropTags.h"

/// The values of properties as the texts of a backup file, and the numbers of their types there.
namespace kr {

/// `Type` of an element that holds a list of values.
inline constexpr int kListVariant = 8192;
/// `Type` of a value that can't be restored.
inline constexpr int kNoVariant = 0;
/// A property type of a list is that of its values with this bit.
inline constexpr int kMultiValue = 0x1000;

/// The number that a property type has in a backup file; kNoVariant for one that isn't restorable.
int PropertyToVariantType(PropType type);
/// The inverse: 8 is text, 7 a date. Unspecified for kNoVariant; nothing for an unknown number. The
/// numbers of property types themselves are taken as well.
std::optional<PropType> VariantTypeToProperty(int type);

/// A value as text: "True" and "False", dates as 2009-03-07T10:11:12 in UTC, amounts with a decimal
/// point, bytes in hex.
std::string RecordText(const Value& value);
/// The value of that variant type that the text says; nothing for a text that says none.
std::optional<Value> CoerceValue(std::string_view text, int type);

} // namespace kr
