#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/database/ConnectionString.h"

/// Any text as a connection string: each key once, and each found by its own name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const kr::ConnectionString parsed(text);
    for (const auto& [key, value] : parsed.Parts())
        if (!parsed.Has(key) || parsed.Get(key) != value)
            std::abort();
    const kr::DbTarget target = kr::ResolveConnection(text, "Oracle");
    if (target.kind != kr::DbTarget::Odbc && !target.odbc.empty())
        std::abort();
    return 0;
}
