#pragma once

#include <charconv>
#include <cmath>
#include <string_view>

namespace kr {

/// Reads a text that is a finite number as a whole, whatever the desktop's language; false when it
/// isn't one.
inline bool ReadNumber(std::string_view text, double& number) {
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && std::isfinite(number);
}

} // namespace kr
