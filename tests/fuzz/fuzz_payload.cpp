#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/xml/Xml.h"
#include "push/Payload.h"

namespace {

/// What is refused stays as it was typed. What is accepted is XML, and stays as it is.
void check(std::string_view namespaceUri, std::string_view typed) {
    std::string text(typed);
    if (!kr::ValidatePayload(namespaceUri, text).empty()) {
        if (text != typed)
            std::abort();
        return;
    }
    if (!kr::XmlDocument::Parse(text))
        std::abort();
    const std::string whole = text;
    if (!kr::ValidatePayload(namespaceUri, text).empty() || text != whole)
        std::abort();
}

} // namespace

/// A line with the namespace of payloads ("" for the default), and what a person typed.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    check("http://zandrel.org/IPL", text);
    const size_t line = text.find('\n');
    if (line != std::string_view::npos)
        check(text.substr(0, line), text.substr(line + 1));
    return 0;
}
