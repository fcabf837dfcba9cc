#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/PlatformError.h"
#include "platform/registry/regfile/RegTree.h"

/// A registry file is refused, or what is written of it reads back as the same.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const auto tree = kr::RegTree::FromText({reinterpret_cast<const char*>(data), size});
        const std::string text = tree.Text();
        if (kr::RegTree::FromText(text).Text() != text)
            std::abort();
    } catch (const kr::PlatformError&) {
        return 0;
    }
    return 0;
}
