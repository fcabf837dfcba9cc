#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Value.h"

/// Rows name their images ("imgUser"). A record that brings a picture of its own has it in the
/// name.
namespace kr {

/// The name of a PNG picture; `otherwise` is the image where the bytes turn out to be none, and the
/// whole name without bytes.
std::string ImageName(std::string_view otherwise, const Bytes& png);

struct OwnImage {
    std::string otherwise;
    Bytes png;
};
/// What such a name holds; nothing for a plain one.
std::optional<OwnImage> OwnImageOf(std::string_view name);

} // namespace kr
