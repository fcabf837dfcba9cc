#pragma once

#include <string>
#include <string_view>

#include "platform/store/Store.h"

namespace kr::sqlite {

// Further fuzzy levels ([MS-OXCDATA] 2.12.4.1).
constexpr uint32_t FL_IGNORENONSPACE = 0x20000;
constexpr uint32_t FL_LOOSE = 0x40000;

/// A content restriction with its value prepared once. Texts match by the fuzzy level; what is no
/// text matches when it is equal, and what isn't there matches nothing.
class ContentTest {
public:
    explicit ContentTest(const Restriction& restriction);
    bool Matches(const TableCell& cell) const;

    PropTag tag() const { return m_tag; }
    /// It asks for equality that the hashed index can serve, under `Key`.
    bool Equality() const { return m_equality; }
    int64_t Key() const;

private:
    bool matchesText(std::string_view text) const;
    std::string_view wantedBytes() const;
    std::string prepare(std::string_view text) const;

    PropTag m_tag;
    uint32_t m_level;
    bool m_ignoreCase;
    bool m_ignoreMarks;
    bool m_equality = false;
    bool m_possible = false; // the value fits the tag's type at all
    Value m_value;
    TableCell m_wanted;   // without its bytes
    std::string m_bytes;  // the value in its stored form
    std::string m_text;   // prepared text
    bool m_plain = false; // m_text is ASCII
};

/// The text without non-spacing marks, decomposed.
std::string StripMarks(std::string_view text);

} // namespace kr::sqlite
