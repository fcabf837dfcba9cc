#pragma once

#include <array>
#include <string>
#include <string_view>

#include "core/RecordsetXml.h"

namespace kr {

/// A file of ADO as a strict parser takes it: UTF-16 becomes UTF-8, line ends and tabs within
/// attributes become references, as ADO writes them bare and means them, and control characters go.
class RecordsetXmlInput {
public:
    explicit RecordsetXmlInput(const XmlInput& input) : m_input(input) {}

    /// Up to `size` bytes; 0 at the end.
    size_t Read(char* buffer, size_t size);
    /// It began with the mark of UTF-16 or UTF-8; what a declaration says doesn't count then.
    bool IsUtf8();

private:
    enum class Mark { Unknown, None, Utf8, LittleEndian, BigEndian };
    /// Content, within a tag, within a value in a tag, or within a piece that is copied as it is:
    /// a comment, an instruction, a CDATA section.
    enum class Place { Content, Tag, Value, Copied };

    bool fill();
    void readMark();
    void decode(std::string_view bytes);
    void unit(char16_t unit);
    void point(char32_t point);
    void clean(char c);
    void cleanAll(std::string_view bytes);
    void inContent(char c);
    void inTag(char c);

    const XmlInput& m_input;
    Mark m_mark = Mark::Unknown;
    std::array<char, 32768> m_piece{};
    std::string m_raw;    // bytes before the mark is known, or half a unit
    std::string m_out;    // cleaned, not yet handed on
    size_t m_taken = 0;   // of m_out
    char16_t m_first = 0; // of a pair of UTF-16
    Place m_place = Place::Content;
    char m_quote = 0;
    std::string m_start;    // of the present tag, as far as it tells what it is
    std::string_view m_end; // of what is copied
    size_t m_matched = 0;   // of m_end
};

} // namespace kr
