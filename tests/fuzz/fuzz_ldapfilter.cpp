#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/directory/Directory.h"

/// Whatever the reader accepts must be accepted once more and stay as it is: its own form is a
/// fixed point. A value that was escaped must be readable in any filter.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string first;
    std::string second;
    if (kr::NormalizeFilter(text, first) &&
        (!kr::NormalizeFilter(first, second) || second != first))
        std::abort();
    if (!kr::NormalizeFilter("(cn=" + kr::EscapeFilterValue(text) + ")", second))
        std::abort();
    return 0;
}
