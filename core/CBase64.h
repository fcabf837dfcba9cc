#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/Value.h"

namespace kr {

/// Base64 with the standard alphabet of RFC 4648 and "=" padding. The decoder skips nothing, not
/// even line breaks: callers take those out before.
class CBase64 {
public:
    CBase64();

    void BASE64_EncodeEx(std::span<const uint8_t> data, std::string& result) const;
    /// The bytes of the text as it stands, UTF-8.
    void BASE64_Encode(std::string_view text, std::string& result) const;

    /// False when the text is no Base64: a length that isn't a multiple of four (the result is then
    /// empty), or characters outside the alphabet, which count as the bits of "A".
    bool BASE64_DecodeEx(std::string_view text, Bytes& result) const;
    bool BASE64_Decode(std::string_view text, std::string& result) const;

private:
    std::array<uint8_t, 256> m_values{};
};

} // namespace kr
