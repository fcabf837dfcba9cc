#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/PlatformError.h"
#include "core/RecordsetXml.h"

/// Any bytes as a persisted recordset: refused, or read, and then written and read to the same.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string first;
    try {
        const auto rows =
            kr::ReadRecordsetXml(std::string_view(reinterpret_cast<const char*>(data), size));
        first = kr::RecordsetXml(*rows);
    } catch (const kr::PlatformError&) {
        return 0;
    }
    // what was written must always be read, and be stable from then on
    if (kr::RecordsetXml(*kr::ReadRecordsetXml(first)) != first)
        std::abort();
    return 0;
}
