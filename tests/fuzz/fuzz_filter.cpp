#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "core/Recordset.h"

namespace {

std::shared_ptr<kr::Recordset> makeRecordset(bool indexed) {
    const auto made =
        std::make_shared<kr::Recordset>(std::vector<kr::Field>{{"A", kr::FieldType::Text, 50},
                                                               {"N", kr::FieldType::Integer, 4},
                                                               {"B", kr::FieldType::Boolean, 2},
                                                               {"D", kr::FieldType::Date, 8},
                                                               {"V", kr::FieldType::Variant, 16}});
    kr::Recordset& rs = *made;
    if (indexed)
        for (const char* field : {"A", "N", "B", "D"})
            rs.AddIndex(field);
    for (int32_t i = 0; i < 20; ++i)
        rs.Append({kr::Value(i % 3 == 0 ? "a" : "É'x*"), kr::Value(i % 4), kr::Value(i % 2 == 0),
                   kr::Time(std::chrono::seconds(i)),
                   i % 5 == 0 ? kr::Value("v") : kr::Value(i * 0.5)});
    rs.AddNew();
    return made;
}

} // namespace

/// Any text as a filter and as a sort: it shows no row when it is refused, and the same rows
/// whether an index is asked or every row is read.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto plainRows = makeRecordset(false);
    const auto indexedRows = makeRecordset(true);
    kr::Recordset& plain = *plainRows;
    kr::Recordset& indexed = *indexedRows;
    const bool parses = plain.SetFilter(text);
    if (indexed.SetFilter(text) != parses || (!parses && plain.RecordCount() != 0) ||
        plain.RecordCount() != indexed.RecordCount())
        std::abort();
    for (; !plain.EOF_(); plain.MoveNext(), indexed.MoveNext())
        if (plain.Bookmark() != indexed.Bookmark())
            std::abort();
    plain.SetFilter("");
    plain.SetSort(text);
    if (plain.RecordCount() != 21)
        std::abort();
    return 0;
}
