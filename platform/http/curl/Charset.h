#pragma once

#include <string>
#include <string_view>

namespace kr {

/// A body as UTF-8: by its byte order mark, else by the charset of its Content-Type, else as UTF-8
/// where it is, else as windows-1252. What can't be decoded becomes U+FFFD.
std::string DecodeBody(std::string_view body, std::string_view contentType);

} // namespace kr
