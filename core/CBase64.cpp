#include "core/CBase64.h"

namespace kr {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kOutside = 0xFF;

uint8_t shiftLeft(unsigned value, int bits) { return static_cast<uint8_t>(value << bits & 0xFF); }
uint8_t shiftRight(unsigned value, int bits) { return static_cast<uint8_t>(value >> bits); }

} // namespace

CBase64::CBase64() {
    m_values.fill(kOutside);
    for (size_t i = 0; i < kAlphabet.size(); ++i)
        m_values[static_cast<uint8_t>(kAlphabet[i])] = static_cast<uint8_t>(i);
}

void CBase64::BASE64_EncodeEx(std::span<const uint8_t> data, std::string& result) const {
    result.clear();
    result.reserve((data.size() + 2) / 3 * 4);
    for (size_t i = 0; i < data.size(); i += 3) {
        const size_t left = data.size() - i;
        const unsigned a = data[i];
        const unsigned b = left > 1 ? data[i + 1] : 0U;
        const unsigned c = left > 2 ? data[i + 2] : 0U;
        result += kAlphabet[shiftRight(a, 2)];
        result += kAlphabet[shiftRight(shiftLeft(a, 6), 2) | shiftRight(b, 4)];
        result += left > 1 ? kAlphabet[shiftRight(shiftLeft(b, 4), 2) | shiftRight(c, 6)] : '=';
        result += left > 2 ? kAlphabet[c & 0x3F] : '=';
    }
}

void CBase64::BASE64_Encode(std::string_view text, std::string& result) const {
    BASE64_EncodeEx({reinterpret_cast<const uint8_t*>(text.data()), text.size()}, result);
}

bool CBase64::BASE64_DecodeEx(std::string_view text, Bytes& result) const {
    result.clear();
    if (text.size() % 4 != 0)
        return false;
    const size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    const size_t characters = text.size() - padding;
    const size_t length = text.size() / 4 * 3 - padding;
    result.reserve(length + padding);
    bool good = true;
    const auto bits = [&](size_t at) -> unsigned {
        if (at >= characters)
            return 0;
        const uint8_t value = m_values[static_cast<uint8_t>(text[at])];
        good = good && value != kOutside;
        return value == kOutside ? 0 : value;
    };
    for (size_t i = 0; i < text.size(); i += 4) {
        const unsigned b = bits(i + 1);
        const unsigned c = bits(i + 2);
        result.push_back(shiftLeft(bits(i), 2) | shiftRight(b, 4));
        result.push_back(shiftLeft(b, 4) | shiftRight(c, 2));
        result.push_back(shiftLeft(c, 6) | static_cast<uint8_t>(bits(i + 3)));
    }
    result.resize(length);
    return good;
}

bool CBase64::BASE64_Decode(std::string_view text, std::string& result) const {
    Bytes bytes;
    const bool good = BASE64_DecodeEx(text, bytes);
    result.assign(bytes.begin(), bytes.end());
    return good;
}

} // namespace kr
