#include "core/Text.h"

#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace kr {

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
char upperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

std::string lowerAsciiText(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), lowerAscii);
    return out;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/// Applies a simple (one to one) mapping to each code point; stray bytes pass as they are. Most
/// characters of most names are ASCII, which needs no tables.
template <class Map>
std::string mapPoints(std::string_view text, char (*mapAscii)(char), Map map) {
    std::string out;
    out.reserve(text.size());
    const char* s = text.data();
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        if (U8_IS_SINGLE(s[i])) {
            out += mapAscii(s[i++]);
            continue;
        }
        const int32_t start = i;
        UChar32 point = 0;
        U8_NEXT(s, i, length, point);
        if (point < 0) {
            out.append(s + start, static_cast<size_t>(i - start));
            continue;
        }
        point = map(point);
        char buffer[U8_MAX_LENGTH];
        int32_t n = 0;
        U8_APPEND_UNSAFE(buffer, n, point);
        out.append(buffer, static_cast<size_t>(n));
    }
    return out;
}

} // namespace

std::string Fold(std::string_view text) {
    return isAscii(text) ? lowerAsciiText(text) : mapPoints(text, lowerAscii, [](UChar32 c) {
        return u_foldCase(c, U_FOLD_CASE_DEFAULT);
    });
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    if (isAscii(a) && isAscii(b))
        return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                          [](char x, char y) { return lowerAscii(x) == lowerAscii(y); });
    return Fold(a) == Fold(b);
}

int CompareNoCase(std::string_view a, std::string_view b) {
    const int r = Fold(a).compare(Fold(b));
    return r < 0 ? -1 : r > 0 ? 1 : 0;
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
    return Fold(text).find(Fold(part)) != std::string::npos;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return Fold(text).starts_with(Fold(prefix));
}

size_t FindNoCase(std::string_view text, std::string_view part) {
    const std::string wanted = Fold(part);
    if (isAscii(text))
        return Fold(text).find(wanted);
    // Folding can change the length in bytes, so each place is tried in the text itself.
    for (size_t at = 0; at <= text.size(); ++at) {
        if (at < text.size() && (text[at] & 0xC0) == 0x80)
            continue;
        if (Fold(text.substr(at)).starts_with(wanted))
            return at;
    }
    return std::string::npos;
}

std::string ToLower(std::string_view text) {
    return isAscii(text) ? lowerAsciiText(text)
                         : mapPoints(text, lowerAscii, [](UChar32 c) { return u_tolower(c); });
}

std::string ToUpper(std::string_view text) {
    return mapPoints(text, upperAscii, [](UChar32 c) { return u_toupper(c); });
}

std::string Trim(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return std::string(text);
}

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    for (size_t at = 0;;) {
        const size_t end = text.find(separator, at);
        parts.emplace_back(text.substr(at, end == std::string_view::npos ? end : end - at));
        if (end == std::string_view::npos)
            return parts;
        at = end + separator.size();
    }
}

std::vector<std::string> SplitNonEmpty(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    for (const std::string& piece : Split(text, separator))
        if (std::string trimmed = Trim(piece); !trimmed.empty())
            parts.push_back(std::move(trimmed));
    return parts;
}

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
    std::string out;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            out += separator;
        out += parts[i];
    }
    return out;
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty())
        return std::string(text);
    std::string out;
    for (size_t at = 0;;) {
        const size_t end = text.find(from, at);
        out += text.substr(at, end == std::string_view::npos ? end : end - at);
        if (end == std::string_view::npos)
            return out;
        out += to;
        at = end + from.size();
    }
}

std::string HexOf(const void* data, size_t size) {
    static constexpr char digits[] = "0123456789ABCDEF";
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string out(size * 2, '0');
    for (size_t i = 0; i < size; ++i) {
        out[2 * i] = digits[bytes[i] >> 4];
        out[2 * i + 1] = digits[bytes[i] & 15];
    }
    return out;
}

Collator::Collator() {
    UErrorCode status = U_ZERO_ERROR;
    m_collator = ucol_open("", &status);
}

Collator::~Collator() { ucol_close(static_cast<UCollator*>(m_collator)); }

int Collator::compare(std::string_view a, std::string_view b) const {
    UErrorCode status = U_ZERO_ERROR;
    return ucol_strcollUTF8(static_cast<UCollator*>(m_collator), a.data(),
                            static_cast<int32_t>(a.size()), b.data(),
                            static_cast<int32_t>(b.size()), &status);
}

std::string Collator::sortKey(std::string_view text) const {
    std::u16string wide;
    wide.reserve(text.size());
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 point = 0;
        U8_NEXT_OR_FFFD(text.data(), i, length, point);
        if (point > 0xFFFF) {
            wide += static_cast<char16_t>(0xD7C0 + (point >> 10));
            wide += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        } else {
            wide += static_cast<char16_t>(point);
        }
    }
    auto* collator = static_cast<UCollator*>(m_collator);
    std::string key(wide.size() * 4 + 16, '\0');
    auto* buffer = reinterpret_cast<uint8_t*>(key.data());
    const int32_t size = ucol_getSortKey(collator, wide.data(), static_cast<int32_t>(wide.size()),
                                         buffer, static_cast<int32_t>(key.size()));
    if (static_cast<size_t>(size) > key.size()) {
        key.resize(static_cast<size_t>(size));
        ucol_getSortKey(collator, wide.data(), static_cast<int32_t>(wide.size()),
                        reinterpret_cast<uint8_t*>(key.data()), size);
    }
    key.resize(static_cast<size_t>(size > 0 ? size - 1 : 0));
    return key;
}

} // namespace kr
