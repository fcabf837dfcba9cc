#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "net/basWeb.h"
#include "platform/http/curl/Charset.h"

namespace {

/// Bytes of the character that begins there; 0 where none does.
size_t characterAt(std::string_view text, size_t place) {
    const auto byte = [&](size_t i) {
        return place + i < text.size() ? static_cast<unsigned char>(text[place + i]) : 0U;
    };
    const unsigned lead = byte(0);
    const size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0U) != 0x80U)
            return 0;
    const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool surrogate = lead == 0xED && byte(1) > 0x9F;
    const bool beyond = lead > 0xF4 || (lead == 0xF4 && byte(1) > 0x8F);
    return overlong || surrogate || beyond ? 0 : length;
}

} // namespace

/// A line with a Content-Type, and a body: the text is UTF-8 whatever they say, and no longer than
/// a few bytes for each one of the body.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const size_t line = std::min(text.find('\n'), text.size());
    const std::string_view body = text.substr(std::min(line + 1, text.size()));
    const std::string decoded = kr::DecodeBody(body, text.substr(0, line));
    if (decoded.size() > 12 * body.size() + 12)
        std::abort();
    for (size_t place = 0; place < decoded.size();) {
        const size_t length = characterAt(decoded, place);
        if (length == 0)
            std::abort();
        place += length;
    }
    if (kr::StringToBytes(text).size() > size || kr::StringToBytes(decoded).size() > decoded.size())
        std::abort();
    return 0;
}
