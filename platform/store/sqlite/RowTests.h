#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/store/Store.h"

namespace kr::sqlite {

/// A content restriction on one property, with its value folded once.
struct RowTest {
    PropTag tag = 0;
    uint32_t level = 0;
    Value value;
    std::string text; // folded when the case is ignored
    bool isText = false;

    uint16_t id() const { return PropId(tag); }
    bool whole() const { return (level & 0xFFFF) == FL_FULLSTRING; }
};

/// The tests of a restriction, all of which must hold.
std::vector<RowTest> TestsOf(const Restriction& restriction);
bool MatchesText(const RowTest& test, std::string_view text);
/// A property that the row doesn't have matches nothing; what is no text matches when equal.
bool Matches(const RowTest& test, const TableCell& cell);

} // namespace kr::sqlite
