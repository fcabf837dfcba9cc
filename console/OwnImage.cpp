#include "console/OwnImage.h"

#include "core/CBase64.h"

namespace kr {

namespace {

constexpr char kBehind = '|'; // stands in no plain name

} // namespace

std::string ImageName(std::string_view otherwise, const Bytes& png) {
    std::string name(otherwise);
    if (png.empty())
        return name;
    std::string text;
    CBase64().BASE64_EncodeEx(png, text);
    return name + kBehind + text;
}

std::optional<OwnImage> OwnImageOf(std::string_view name) {
    const size_t at = name.find(kBehind);
    if (at == std::string_view::npos)
        return std::nullopt;
    OwnImage image{std::string(name.substr(0, at)), {}};
    if (!CBase64().BASE64_DecodeEx(name.substr(at + 1), image.png))
        image.png.clear();
    return image;
}

} // namespace kr
