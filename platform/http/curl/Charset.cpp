#include "platform/http/curl/Charset.h"

#include <iconv.h>

#include <array>
#include <cerrno>

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

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

    /// `clean`: nothing had to be replaced.
    std::string Decode(std::string_view bytes, bool& clean) const {
        std::string text;
        clean = true;
        text.reserve(bytes.size());
        std::string copy(bytes); // iconv wants a pointer to what may be changed
        char* in = copy.data();
        size_t left = copy.size();
        while (left > 0) {
            std::array<char, 8192> buffer;
            char* out = buffer.data();
            size_t room = buffer.size();
            const size_t result = iconv(m_iconv, &in, &left, &out, &room);
            text.append(buffer.data(), buffer.size() - room);
            if (result != static_cast<size_t>(-1) || errno == E2BIG)
                continue;
            clean = false;
            text += kReplacement;
            ++in;
            --left;
        }
        return text;
    }

private:
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
    return name == "x-sjis" ? "shift_jis" : name;
}

} // namespace

std::string DecodeBody(std::string_view body, std::string_view contentType) {
    bool clean = true;
    for (const Mark& mark : kMarks)
        if (body.starts_with(mark.bytes))
            return Converter(mark.charset).Decode(body.substr(mark.bytes.size()), clean);
    if (const std::string charset = charsetOf(contentType); !charset.empty())
        if (const Converter converter(charset); converter)
            return converter.Decode(body, clean);
    std::string text = Converter("UTF-8").Decode(body, clean);
    return clean ? text : Converter("WINDOWS-1252").Decode(body, clean);
}

} // namespace kr
