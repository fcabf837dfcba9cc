#include "platform/http/curl/Charset.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// Bytes of the character above U+10FFFF that begins there, which the converter makes as well; 0
/// for any other.
size_t beyondAt(const std::string& text, size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0xF4 || (byte == 0xF4 && static_cast<unsigned char>(text[at + 1]) < 0x90))
        return 0;
    return byte < 0xF8 ? 4 : byte < 0xFC ? 5 : 6;
}

/// False when there were any.
bool replaceWhatIsBeyond(std::string& text) {
    std::string replaced;
    size_t from = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        const size_t length = beyondAt(text, at);
        if (length == 0)
            continue;
        replaced.append(text, from, at - from).append(kReplacement);
        from = at + length;
        at = from - 1;
    }
    if (from == 0)
        return true;
    text = replaced.append(text, from);
    return false;
}

class Converter {
public:
    explicit Converter(const std::string& charset)
        : m_iconv(iconv_open("UTF-8", charset.c_str())) {}
    ~Converter() {
        if (*this)
            iconv_close(m_iconv);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    explicit operator bool() const { return m_iconv != iconv_t(-1); }

    /// `clean`: nothing had to be replaced. `unit`: bytes to go on behind when something had.
    std::string Decode(std::string_view bytes, bool& clean, size_t unit = 1) const {
        std::string text;
        clean = true;
        text.reserve(bytes.size());
        std::string copy(bytes); // iconv wants a pointer to what may be changed
        char* in = copy.data();
        size_t left = copy.size();
        while (left > 0) {
            const size_t before = left;
            const bool full = convert(&in, &left, text);
            if (left == 0 || (full && left < before))
                continue;
            clean = false;
            text += kReplacement;
            const size_t skipped = std::min(unit, left);
            in += skipped;
            left -= skipped;
        }
        convert(nullptr, nullptr, text); // a character that waited for one to combine with
        clean = replaceWhatIsBeyond(text) && clean;
        return text;
    }

private:
    /// One round; true when there was no room for more.
    bool convert(char** in, size_t* left, std::string& text) const {
        std::array<char, 8192> buffer;
        char* out = buffer.data();
        size_t room = buffer.size();
        const size_t result = iconv(m_iconv, in, left, &out, &room);
        const bool full = result == static_cast<size_t>(-1) && errno == E2BIG;
        text.append(buffer.data(), buffer.size() - room);
        return full;
    }

    iconv_t m_iconv;
};

struct Mark {
    std::string_view bytes;
    const char* charset;
};
constexpr Mark kMarks[] = {{"\xEF\xBB\xBF", "UTF-8"},
                           {std::string_view("\xFF\xFE", 2), "UTF-16LE"},
                           {std::string_view("\xFE\xFF", 2), "UTF-16BE"}};

/// The charset of a Content-Type, "" without one.
std::string charsetOf(std::string_view contentType) {
    const std::string lower = ToLower(contentType);
    const size_t at = lower.find("charset=");
    if (at == std::string::npos)
        return {};
    std::string name = lower.substr(at + 8);
    name = name.substr(0, name.find(';'));
    std::erase_if(name, [](char c) { return c == '"' || c == '\'' || c == ' ' || c == '\t'; });
    // the converter takes orders behind a "/", and leaves odd bytes out: a name of such bytes alone
    // would be the locale's own charset
    const auto isNamed = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    if (name.empty() || !isNamed(name[0]) || !std::ranges::all_of(name, [&](char c) {
            return isNamed(c) || std::string_view("-_.:+()").find(c) != std::string_view::npos;
        }))
        return {};
    return name == "x-sjis" ? "shift_jis" : name;
}

bool isAscii(std::string_view text) {
    unsigned bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

/// A lone half of a pair must not shift all that follows it.
size_t unitOf(std::string_view charset) {
    return charset.starts_with("utf-16") || charset.starts_with("ucs-2")   ? 2
           : charset.starts_with("utf-32") || charset.starts_with("ucs-4") ? 4
                                                                           : 1;
}

} // namespace

std::string DecodeBody(std::string_view body, std::string_view contentType) {
    bool clean = true;
    for (const Mark& mark : kMarks)
        if (body.starts_with(mark.bytes))
            return Converter(mark.charset)
                .Decode(body.substr(mark.bytes.size()), clean, unitOf(ToLower(mark.charset)));
    const std::string charset = charsetOf(contentType);
    if ((charset.empty() || charset == "utf-8") && isAscii(body))
        return std::string(body); // as most pages are
    if (!charset.empty())
        if (const Converter converter(charset); converter)
            return converter.Decode(body, clean, unitOf(charset));
    std::string text = Converter("UTF-8").Decode(body, clean);
    return clean ? text : Converter("WINDOWS-1252").Decode(body, clean);
}

} // namespace kr
