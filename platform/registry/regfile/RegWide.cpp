#include "platform/registry/regfile/RegWide.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace kr {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

void appendPoint(std::string& out, UChar32 point) {
    char buffer[U8_MAX_LENGTH];
    int32_t n = 0;
    U8_APPEND_UNSAFE(buffer, n, point);
    out.append(buffer, static_cast<size_t>(n));
}

void appendUnit(Bytes& out, unsigned unit) {
    out.push_back(static_cast<uint8_t>(unit & 0xFF));
    out.push_back(static_cast<uint8_t>(unit >> 8));
}

} // namespace

std::string Utf8FromUtf16(std::string_view bytes, bool bigEndian) {
    const size_t units = bytes.size() / 2;
    const auto unit = [&](size_t i) {
        const auto low = static_cast<uint8_t>(bytes[2 * i + (bigEndian ? 1 : 0)]);
        const auto high = static_cast<uint8_t>(bytes[2 * i + (bigEndian ? 0 : 1)]);
        return static_cast<UChar32>(low | high << 8);
    };
    std::string out;
    out.reserve(units);
    for (size_t i = 0; i < units; ++i) {
        const UChar32 first = unit(i);
        if (!U16_IS_SURROGATE(first)) {
            appendPoint(out, first);
        } else if (U16_IS_SURROGATE_LEAD(first) && i + 1 < units && U16_IS_TRAIL(unit(i + 1))) {
            appendPoint(out, U16_GET_SUPPLEMENTARY(first, unit(i + 1)));
            ++i;
        } else {
            appendPoint(out, kReplacement);
        }
    }
    return out;
}

Bytes Utf16FromUtf8(std::string_view text) {
    Bytes out;
    out.reserve(text.size() * 2);
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 point = 0;
        U8_NEXT_OR_FFFD(text.data(), i, length, point);
        if (point > 0xFFFF) {
            appendUnit(out, static_cast<unsigned>(U16_LEAD(point)));
            appendUnit(out, static_cast<unsigned>(U16_TRAIL(point)));
        } else {
            appendUnit(out, static_cast<unsigned>(point));
        }
    }
    return out;
}

} // namespace kr
