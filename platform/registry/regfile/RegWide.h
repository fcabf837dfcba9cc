#pragma once

#include <string>
#include <string_view>

#include "core/Value.h"

namespace kr {

/// UTF-16 as registry files carry it: little-endian bytes. A lone surrogate and a byte that is no
/// UTF-8 become U+FFFD; an odd byte at the end is left out.
std::string Utf8FromUtf16(std::string_view bytes, bool bigEndian = false);
Bytes Utf16FromUtf8(std::string_view text);

} // namespace kr
