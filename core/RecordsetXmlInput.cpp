#include "core/RecordsetXmlInput.h"

#include <algorithm>
#include <cstring>

namespace kr {

namespace {

constexpr char16_t kHighFirst = 0xD800, kLowFirst = 0xDC00, kSurrogatesEnd = 0xE000;
constexpr char32_t kReplacement = 0xFFFD;

/// What is copied as it is, by how its tag begins.
struct CopiedPiece {
    std::string_view start;
    std::string_view end;
};
constexpr CopiedPiece kCopied[] = {{"!--", "-->"}, {"![CDATA[", "]]>"}, {"?", "?>"}};
constexpr size_t kLongestStart = 8;

} // namespace

size_t RecordsetXmlInput::Read(char* buffer, size_t size) {
    while (m_taken == m_out.size())
        if (!fill())
            return 0;
    const size_t count = std::min(size, m_out.size() - m_taken);
    std::memcpy(buffer, m_out.data() + m_taken, count);
    m_taken += count;
    return count;
}

bool RecordsetXmlInput::IsUtf8() {
    while (m_mark == Mark::Unknown)
        if (!fill())
            break;
    return m_mark != Mark::Unknown && m_mark != Mark::None;
}

bool RecordsetXmlInput::fill() {
    if (m_taken == m_out.size()) {
        m_out.clear();
        m_taken = 0;
    }
    const size_t count = m_input(m_piece.data(), m_piece.size());
    std::string_view bytes(m_piece.data(), count);
    if (m_mark == Mark::Unknown) {
        m_raw += bytes;
        if (m_raw.size() < 3 && count != 0)
            return true;
        readMark();
        const std::string begin = std::move(m_raw);
        m_raw.clear();
        decode(begin);
        return !begin.empty();
    }
    decode(bytes);
    return count != 0;
}

void RecordsetXmlInput::readMark() {
    const auto take = [this](std::string_view mark, Mark kind) {
        if (m_mark != Mark::Unknown || !m_raw.starts_with(mark))
            return;
        m_mark = kind;
        m_raw.erase(0, mark.size());
    };
    take("\xEF\xBB\xBF", Mark::Utf8);
    take("\xFF\xFE", Mark::LittleEndian);
    take("\xFE\xFF", Mark::BigEndian);
    take("", Mark::None);
}

void RecordsetXmlInput::decode(std::string_view bytes) {
    if (m_mark == Mark::None || m_mark == Mark::Utf8) {
        cleanAll(bytes);
        return;
    }
    for (const char c : bytes) {
        m_raw += c;
        if (m_raw.size() < 2)
            continue;
        const auto low = static_cast<uint8_t>(m_raw[m_mark == Mark::LittleEndian ? 0 : 1]);
        const auto high = static_cast<uint8_t>(m_raw[m_mark == Mark::LittleEndian ? 1 : 0]);
        m_raw.clear();
        unit(static_cast<char16_t>(high << 8 | low));
    }
}

void RecordsetXmlInput::unit(char16_t u) {
    const bool low = u >= kLowFirst && u < kSurrogatesEnd;
    const char16_t first = m_first;
    m_first = 0;
    if (first != 0 && low)
        return point(0x10000 + ((static_cast<char32_t>(first) - kHighFirst) << 10) +
                     (static_cast<char32_t>(u) - kLowFirst));
    if (first != 0 || low)
        point(kReplacement);
    if (u >= kHighFirst && u < kLowFirst)
        m_first = u;
    else if (!low)
        point(u);
}

void RecordsetXmlInput::point(char32_t p) {
    const auto more = [&](int shift) { clean(static_cast<char>(0x80 | (p >> shift & 0x3F))); };
    if (p < 0x80)
        return clean(static_cast<char>(p));
    if (p < 0x800) {
        clean(static_cast<char>(0xC0 | p >> 6));
    } else if (p < 0x10000) {
        clean(static_cast<char>(0xE0 | p >> 12));
        more(6);
    } else {
        clean(static_cast<char>(0xF0 | p >> 18));
        more(12);
        more(6);
    }
    more(0);
}

void RecordsetXmlInput::cleanAll(std::string_view bytes) {
    for (size_t at = 0; at < bytes.size(); ++at) {
        // what means nothing at its place goes in one piece
        const size_t begin = at;
        if (m_place == Place::Value)
            while (at < bytes.size() && static_cast<unsigned char>(bytes[at]) >= ' ' &&
                   bytes[at] != m_quote)
                ++at;
        else if (m_place == Place::Content)
            while (at < bytes.size() && static_cast<unsigned char>(bytes[at]) >= ' ' &&
                   bytes[at] != '<')
                ++at;
        m_out.append(bytes.substr(begin, at - begin));
        if (at < bytes.size())
            clean(bytes[at]);
    }
}

void RecordsetXmlInput::clean(char c) {
    const bool space = c == '\t' || c == '\n' || c == '\r';
    if (static_cast<unsigned char>(c) < ' ' && !space)
        return;
    switch (m_place) {
    case Place::Content:
        inContent(c);
        break;
    case Place::Tag:
        inTag(c);
        break;
    case Place::Value:
        if (space)
            m_out += c == '\t' ? "&#x9;" : c == '\n' ? "&#xa;" : "&#xd;";
        else
            m_out += c;
        if (c == m_quote)
            m_place = Place::Tag;
        break;
    case Place::Copied:
        m_out += c;
        // the last characters of "-->" and "]]>" may be met one too early: "--->" ends as well
        if (c == m_end[m_matched])
            ++m_matched;
        else if (m_matched == 0 || c != m_end[m_matched - 1])
            m_matched = c == m_end[0] ? 1 : 0;
        if (m_matched == m_end.size())
            m_place = Place::Content;
        break;
    }
}

void RecordsetXmlInput::inContent(char c) {
    m_out += c;
    if (c != '<')
        return;
    m_place = Place::Tag;
    m_start.clear();
}

void RecordsetXmlInput::inTag(char c) {
    m_out += c;
    if (m_start.size() < kLongestStart) {
        m_start += c;
        for (const CopiedPiece& piece : kCopied)
            if (m_start == piece.start) {
                m_place = Place::Copied;
                m_end = piece.end;
                m_matched = 0;
                return;
            }
    }
    if (c == '>') {
        m_place = Place::Content;
    } else if (c == '\'' || c == '"') {
        m_place = Place::Value;
        m_quote = c;
    }
}

} // namespace kr
