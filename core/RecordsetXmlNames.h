#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Recordset.h"

namespace kr {

// Namespaces of the XML form; prefixes are free.
inline constexpr std::string_view kRowsetSchemaNs = "uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882";
inline constexpr std::string_view kDataTypesNs = "uuid:C2F41010-65B3-11d1-A29F-00AA00C14882";
inline constexpr std::string_view kRowsetNs = "urn:schemas-microsoft-com:rowset";
inline constexpr std::string_view kRowNs = "#RowsetSchema";

/// A field's type in the schema; the first row of a type is the one that is written.
struct RowsetType {
    FieldType type;
    std::string_view dataType; // dt:type
    std::string_view dbType;   // rs:dbtype
    /// dt:maxLength of a type of fixed length; 0: the field's own, -1: none.
    int length;
};
inline constexpr RowsetType kRowsetTypes[] = {
    {FieldType::SmallInt, "i2", "", 2},
    {FieldType::Integer, "int", "", 4},
    {FieldType::Double, "float", "", 8},
    {FieldType::Currency, "number", "currency", 8},
    {FieldType::Date, "dateTime", "variantdate", 16},
    {FieldType::Boolean, "boolean", "", 2},
    {FieldType::Variant, "string", "", -1},
    {FieldType::Text, "string", "", 0},
    {FieldType::LongText, "string", "", 0},
    // only read
    {FieldType::SmallInt, "i1", "", 1},
    {FieldType::SmallInt, "ui1", "", 1},
    {FieldType::Integer, "i4", "", 4},
    {FieldType::Integer, "ui2", "", 2},
    {FieldType::Double, "i8", "", 8},
    {FieldType::Double, "ui4", "", 4},
    {FieldType::Double, "ui8", "", 8},
    {FieldType::Double, "r4", "", 4},
    {FieldType::Double, "r8", "", 8},
    {FieldType::Double, "number", "", 19},
    {FieldType::Currency, "fixed.14.4", "", 8},
    {FieldType::Date, "date", "", 6},
    {FieldType::Date, "time", "", 6},
    {FieldType::Date, "dateTime", "", 16},
    {FieldType::Date, "dateTime.tz", "", 16},
};
/// dt:maxLength of a text without an end.
inline constexpr std::string_view kEndlessLength = "4294967295";

} // namespace kr
