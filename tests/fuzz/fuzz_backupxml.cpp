#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "backup/RecordValues.h"
#include "backup/RecordXml.h"

namespace {

constexpr size_t kLargest = 1 << 16;

/// A value that was read is of its type, and its text says the same value.
void check(const kr::BackupProperty& property) {
    if (property.value.empty() || property.name.find('_') != std::string::npos)
        std::abort();
    if (property.type == kr::PropType::StringList) {
        if (!property.value.is<kr::Strings>())
            std::abort();
        return;
    }
    const int type = kr::PropertyToVariantType(property.type);
    if (type != kr::kNoVariant &&
        kr::CoerceValue(kr::RecordText(property.value), type) != property.value)
        std::abort();
}

void read(const kr::XmlDocument& document, kr::RecordIcons icons) {
    kr::RecordReader reader(icons);
    for (const kr::XmlNode list : document.FindAll("list"))
        try {
            const kr::BackupRecord record = reader.Read(list);
            std::ranges::for_each(record.properties, check);
            if (icons == kr::RecordIcons::Left && !record.icons.empty())
                std::abort();
        } catch (const kr::PlatformError&) {
            continue; // refused
        }
}

} // namespace

/// Any bytes as a backup file: refused, or read to values that their texts say again. The bytes
/// themselves as the text of a value of each type, too.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), std::min(size, kLargest));
    for (const int type : {2, 3, 4, 5, 6, 7, 8, 11, 30, 64})
        if (const auto value = kr::CoerceValue(text, type))
            check({"name", *kr::VariantTypeToProperty(type), *value});
    const auto document = kr::XmlDocument::Parse(text);
    if (!document)
        return 0;
    read(*document, kr::RecordIcons::Taken);
    read(*document, kr::RecordIcons::Left);
    return 0;
}
