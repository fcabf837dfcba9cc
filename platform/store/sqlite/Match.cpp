#include "platform/store/sqlite/Match.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>

#include "core/Text.h"
#include "platform/store/sqlite/Blob.h"
#include "platform/store/sqlite/Index.h"

namespace kr::sqlite {

namespace {

constexpr uint32_t kComparison = 0xFFFF; // full string, substring or prefix

bool isPlain(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return (c & 0x80) == 0; });
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool samePlain(std::string_view folded, std::string_view text) {
    return std::ranges::equal(folded, text, {}, {}, lower);
}

/// Both without anything but ASCII; `part` is folded.
bool hasPlain(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [](char a, char b) { return lower(a) == b; }) != text.end();
}

bool compare(uint32_t level, std::string_view text, std::string_view wanted) {
    switch (level & kComparison) {
    case FL_SUBSTRING:
        return text.find(wanted) != std::string_view::npos;
    case FL_PREFIX:
        return text.starts_with(wanted);
    default:
        return text == wanted;
    }
}

} // namespace

std::string StripMarks(std::string_view text) {
    if (isPlain(text))
        return std::string(text);
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* decompose = unorm2_getNFDInstance(&status);
    std::u16string wide(text.size(), u'\0');
    int32_t length = 0;
    u_strFromUTF8WithSub(wide.data(), static_cast<int32_t>(wide.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    std::u16string apart(static_cast<size_t>(length) * 4 + 16, u'\0'); // NFD at most quadruples
    length = unorm2_normalize(decompose, wide.data(), length, apart.data(),
                              static_cast<int32_t>(apart.size()), &status);
    if (U_FAILURE(status))
        return std::string(text);
    std::u16string kept;
    for (int32_t i = 0; i < length;) {
        const int32_t start = i;
        UChar32 point = 0;
        U16_NEXT(apart.data(), i, length, point);
        if (u_charType(point) != U_NON_SPACING_MARK)
            kept.append(apart, static_cast<size_t>(start), static_cast<size_t>(i - start));
    }
    std::string out(kept.size() * 3, '\0');
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length, kept.data(),
                static_cast<int32_t>(kept.size()), &status);
    out.resize(static_cast<size_t>(length));
    return out;
}

ContentTest::ContentTest(const Restriction& restriction)
    : m_tag(restriction.tag), m_level(restriction.fuzzyLevel),
      m_ignoreCase((m_level & (FL_IGNORECASE | FL_LOOSE)) != 0),
      m_ignoreMarks((m_level & (FL_IGNORENONSPACE | FL_LOOSE)) != 0), m_value(restriction.value) {
    const auto fitting = ToType(m_value, TypeOf(m_tag));
    m_possible = fitting && !fitting->empty() && PropId(m_tag) != 0;
    if (!m_possible)
        return;
    m_bytes = EncodePayload(*fitting);
    const PropType type = TypeOfValue(*fitting);
    DecodeCell(type, m_bytes, m_wanted);
    m_wanted.bytes = {}; // this object may move, and they with it
    if (m_wanted.isText()) {
        m_text = prepare(m_bytes);
        m_plain = isPlain(m_text);
    }
    m_equality =
        TypeOf(m_tag) != PropType::Unspecified && type != PropType::Double &&
        type != PropType::StringList &&
        (!m_wanted.isText() || ((m_level & kComparison) == FL_FULLSTRING && !m_ignoreMarks));
}

int64_t ContentTest::Key() const { return IndexKey(StoredType(TypeOf(m_tag)), m_bytes); }

std::string ContentTest::prepare(std::string_view text) const {
    std::string prepared = m_ignoreMarks ? StripMarks(text) : std::string(text);
    return m_ignoreCase ? Fold(prepared) : prepared;
}

bool ContentTest::Matches(const TableCell& cell) const {
    if (!m_possible || cell.empty())
        return false;
    if (m_wanted.isText())
        return cell.isText() && matchesText(cell.bytes);
    if (!SameType(cell.type, m_wanted.type) || cell.bytes != wantedBytes())
        return false;
    return SameType(cell.type, PropType::Double) ? cell.real == m_wanted.real
                                                 : cell.integer == m_wanted.integer;
}

/// Only binaries and lists have bytes in their cell.
std::string_view ContentTest::wantedBytes() const {
    const bool inBytes = m_wanted.type == PropType::Binary || m_wanted.type == PropType::StringList;
    return inBytes ? std::string_view(m_bytes) : std::string_view();
}

bool ContentTest::matchesText(std::string_view text) const {
    if (!m_ignoreCase && !m_ignoreMarks)
        return compare(m_level, text, m_text);
    if (!m_plain || !isPlain(text))
        return compare(m_level, prepare(text), m_text);
    switch (m_level & kComparison) {
    case FL_SUBSTRING:
        return m_ignoreCase ? hasPlain(text, m_text) : compare(m_level, text, m_text);
    case FL_PREFIX:
        text = text.substr(0, m_text.size());
        break;
    default:
        break;
    }
    if (text.size() != m_text.size())
        return false;
    return m_ignoreCase ? samePlain(m_text, text) : text == m_text;
}

} // namespace kr::sqlite
