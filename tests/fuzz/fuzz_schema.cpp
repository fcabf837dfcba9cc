#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/PlatformError.h"
#include "platform/database/local/Delimited.h"
#include "platform/database/local/Schema.h"

/// Any text as a Schema.ini, and as a file that it describes: every field lies within the record,
/// and each record moves on.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const kr::Schema schema(text);
    for (const char* format : {"", "Delimited", "Fixed"}) {
        try {
            const kr::TextLayout layout = schema.LayoutOf("people.txt", true, format);
            if (layout.fixed)
                continue;
            kr::Delimited records(text, layout.delimiter, layout.quote);
            std::vector<kr::Delimited::Field> fields;
            for (size_t count = 0; records.Next(fields); ++count)
                if (fields.empty() || count > size)
                    std::abort();
        } catch (const kr::PlatformError&) {
            // a file of fixed width without its columns
        }
    }
    return 0;
}
