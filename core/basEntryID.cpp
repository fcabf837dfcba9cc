#include "core/basEntryID.h"

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kExchangeHead =
    "00000000DCA740C8C042101AB4B908002B2FE1820100000000000000";
constexpr std::string_view kOneOffHead = "00000000812B1FA4BEA310199D6E00DD010F540200000110";

int digit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : 0;
}

std::string hexText(std::string_view text) { return HexOf(text.data(), text.size()) + "00"; }

} // namespace

std::string ToHex(const Bytes& bytes) { return HexOf(bytes.data(), bytes.size()); }

Bytes FromHex(std::string_view text) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
    return bytes;
}

Bytes MakeExEntryID(std::string_view dn) {
    return FromHex(std::string(kExchangeHead) + hexText(dn));
}

Bytes MakeOneOffEntryID(std::string_view name, std::string_view address) {
    return FromHex(std::string(kOneOffHead) + hexText(name) + hexText("SMTP") + hexText(address));
}

} // namespace kr
