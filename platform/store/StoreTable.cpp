#include "platform/store/Store.h"

namespace kr {

namespace {

/// A list of texts in its encoded form: a varint count, then length and bytes of each.
Strings decodeList(std::string_view bytes) {
    size_t at = 0;
    auto varint = [&]() -> uint64_t {
        uint64_t v = 0;
        for (int shift = 0; at < bytes.size() && shift < 64; shift += 7) {
            const auto b = static_cast<uint8_t>(bytes[at++]);
            v |= static_cast<uint64_t>(b & 0x7F) << shift;
            if ((b & 0x80) == 0)
                break;
        }
        return v;
    };
    Strings list;
    for (uint64_t n = varint(); n > 0 && at < bytes.size(); --n) {
        const uint64_t size = std::min<uint64_t>(varint(), bytes.size() - at);
        list.emplace_back(bytes.substr(at, size));
        at += size;
    }
    return list;
}

} // namespace

Value TableCell::value() const {
    switch (type) {
    case PropType::Unspecified:
        return {};
    case PropType::Short:
        return static_cast<int16_t>(integer);
    case PropType::Long:
        return static_cast<int32_t>(integer);
    case PropType::Double:
    case PropType::Double5:
        return real;
    case PropType::Currency:
        return Currency{integer};
    case PropType::Boolean:
        return integer != 0;
    case PropType::String:
    case PropType::Unicode:
        return bytes;
    case PropType::Time:
        return Time(std::chrono::seconds(integer));
    case PropType::Binary:
        return Bytes(bytes.begin(), bytes.end());
    case PropType::StringList:
    case PropType::UnicodeList:
        return decodeList(bytes);
    }
    return {};
}

} // namespace kr
