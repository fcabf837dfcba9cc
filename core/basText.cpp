#include "core/basText.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "core/Text.h"
#include "platform/shell/Shell.h"

namespace kr {

namespace {

constexpr std::string_view kMark = "!~";

bool isDecimalDigit(char c) { return c >= '0' && c <= '9'; }

bool dropFront(std::string_view& text, char c) {
    if (text.empty() || text.front() != c)
        return false;
    text.remove_prefix(1);
    return true;
}

/// Takes a sign, "$" and parentheses off; false when they are out of place.
bool stripSigns(std::string_view& text, bool& negative) {
    if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
        negative = true;
        text = text.substr(1, text.size() - 2);
        dropFront(text, '$');
        return true;
    }
    const bool hadSign = text.starts_with('-') || text.starts_with('+');
    if (hadSign) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    dropFront(text, '$');
    if (!hadSign && !text.empty() && (text.back() == '-' || text.back() == '+')) {
        negative = text.back() == '-';
        text.remove_suffix(1);
    }
    return !text.empty();
}

/// Digits with commas, a point and more digits, an exponent; as from_chars wants it, or "".
std::string plainDecimal(std::string_view text) {
    std::string out;
    size_t at = 0;
    size_t digits = 0;
    for (; at < text.size() && (isDecimalDigit(text[at]) || (text[at] == ',' && digits > 0));
         ++at) {
        if (text[at] == ',')
            continue;
        out += text[at];
        ++digits;
    }
    if (at < text.size() && text[at] == '.') {
        out += text[at++];
        for (; at < text.size() && isDecimalDigit(text[at]); ++at, ++digits)
            out += text[at];
    }
    if (digits == 0)
        return {};
    if (at < text.size() && std::string_view("eEdD").find(text[at]) != std::string_view::npos) {
        out += 'e';
        ++at;
        if (at < text.size() && (text[at] == '-' || text[at] == '+'))
            out += text[at++];
        const size_t exponent = at;
        for (; at < text.size() && isDecimalDigit(text[at]); ++at)
            out += text[at];
        if (at == exponent)
            return {};
    }
    return at == text.size() ? out : std::string();
}

std::optional<double> hexNumber(std::string_view digits) {
    uint32_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [at, error] = std::from_chars(digits.data(), end, number, 16);
    if (error != std::errc() || at != end)
        return std::nullopt;
    return static_cast<int32_t>(number); // eight digits are the bits of a signed number
}

struct Range {
    UChar32 first, last;
};

template <size_t N>
bool inside(const Range (&ranges)[N], UChar32 c) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [c](const Range& r) { return c >= r.first && c <= r.last; });
}

// Names of XML 1.0, fifth edition, without the colon that name spaces use.
constexpr Range kNameStart[] = {
    {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
    {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr Range kNameMore[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

/// What an XML 1.0 text can hold.
constexpr Range kXmlChars[] = {
    {0x9, 0xA}, {0xD, 0xD}, {0x20, 0xD7FF}, {0xE000, 0xFFFD}, {0x10000, 0x10FFFF}};

template <class Visit>
void eachPoint(std::string_view text, Visit visit) {
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 point = 0;
        U8_NEXT_OR_FFFD(text.data(), i, length, point);
        visit(point);
    }
}

void appendPoint(std::string& out, UChar32 point) {
    char buffer[U8_MAX_LENGTH];
    int32_t n = 0;
    U8_APPEND_UNSAFE(buffer, n, point);
    out.append(buffer, static_cast<size_t>(n));
}

} // namespace

std::optional<double> ParseNumber(std::string_view text) {
    const std::string trimmed = Trim(text);
    std::string_view rest = trimmed;
    if (StartsWithNoCase(rest.substr(0, 2), "&H"))
        return hexNumber(rest.substr(2));
    bool negative = false;
    if (!stripSigns(rest, negative))
        return std::nullopt;
    const std::string plain = plainDecimal(rest);
    double value = 0;
    const char* end = plain.data() + plain.size();
    if (plain.empty() || std::from_chars(plain.data(), end, value).ec != std::errc())
        return std::nullopt;
    return negative ? -value : value;
}

bool IsNumeric(std::string_view text) { return ParseNumber(text).has_value(); }

std::string NumericMark(std::string_view text, bool add) {
    if (add)
        return (IsNumeric(text) ? std::string(kMark) : std::string()) + std::string(text);
    return std::string(text.starts_with(kMark) ? text.substr(kMark.size()) : text);
}

std::string TrimToken(std::string_view text, std::string_view token) {
    if (token.empty())
        return std::string(text);
    while (text.ends_with(token))
        text.remove_suffix(token.size());
    while (text.starts_with(token))
        text.remove_prefix(token.size());
    return std::string(text);
}

std::string EscapeQuotes(std::string_view text) {
    std::string out;
    for (const char c : TrimToken(text, "'"))
        if (c != '\'' || !out.ends_with('\''))
            out += c;
    return ReplaceAll(out, "'", "''");
}

bool IsX500(std::string_view address) { return ContainsNoCase(address, "/cn="); }

std::string XmlEscape(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '\'':
            out += "&apos;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string XmlText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    eachPoint(text, [&](UChar32 point) {
        if (inside(kXmlChars, point))
            appendPoint(clean, point);
    });
    return XmlEscape(clean);
}

std::string XmlTagName(std::string_view title) {
    std::string name;
    eachPoint(LastWord(Trim(title)), [&](UChar32 point) {
        const bool starts = inside(kNameStart, point) && point != 0xFFFD;
        if (!starts && !inside(kNameMore, point))
            return;
        if (name.empty() && !starts)
            name = "_";
        appendPoint(name, point);
    });
    return name.empty() ? "_" : name;
}

std::string LastWord(std::string_view text) {
    const size_t blank = text.rfind(' ');
    return blank == std::string_view::npos ? std::string(text) : Trim(text.substr(blank + 1));
}

bool OpenURL(Shell& shell, std::string_view url) {
    const bool whole = StartsWithNoCase(url, "http");
    return shell.OpenURL((whole ? "" : "http://") + std::string(url)) > kShellSuccess;
}

int32_t HiWord(int32_t tag) { return static_cast<int32_t>(static_cast<uint32_t>(tag) >> 16); }
int32_t LoWord(int32_t tag) { return static_cast<int32_t>(static_cast<uint32_t>(tag) & 0xFFFF); }

} // namespace kr
