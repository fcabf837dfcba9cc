#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "contacts/basACDSCxn.h"

/// Any text as a connection string in the dialog: what it takes out holds none of the signs at
/// which it cuts, and what it builds has no blanks at its ends.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto fields =
        kr::LoadConnectionString(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!fields)
        return 0;
    for (const std::string* value : {&fields->dataSource, &fields->catalog, &fields->userID,
                                     &fields->password, &fields->format})
        if (value->find_first_of(";=") != std::string::npos)
            std::abort();
    const std::string built = kr::BuildConnectionString(*fields);
    if (built.starts_with(' ') || built.ends_with(' '))
        std::abort();
    return 0;
}
