#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/sqlite/Blob.h"

namespace {

using namespace kr;
using namespace kr::sqlite;

std::vector<RawProperty> read(std::string_view blob) {
    std::vector<RawProperty> properties;
    BlobReader reader(blob);
    for (RawProperty p; reader.Next(p);)
        properties.push_back(p);
    return properties;
}

void require(bool good) {
    if (!good)
        std::abort();
}

bool same(const RawProperty& a, const RawProperty& b) {
    return a.tag == b.tag && a.big == b.big && a.payload == b.payload &&
           (!a.big || a.bigLength == b.bigLength);
}

/// The one pass of a table finds what the reader finds, when the ids ascend.
void checkCells(std::string_view blob, const std::vector<RawProperty>& properties) {
    std::vector<BlobColumn> columns;
    for (const RawProperty& p : properties) {
        if (!columns.empty() && columns.back().id >= PropId(p.tag))
            return;
        columns.push_back({PropId(p.tag), columns.size()});
    }
    std::vector<TableCell> cells(columns.size());
    FillCells(blob, columns, cells.data());
    for (size_t i = 0; i < cells.size(); ++i) {
        require(cells[i].type == TypeOf(properties[i].tag));
        if (properties[i].big)
            require(cells[i].integer == kKeptOutside);
        else if (cells[i].type != PropType::Double && cells[i].type != PropType::Double5)
            require(cells[i].value() == DecodePayload(cells[i].type, properties[i].payload));
    }
}

} // namespace

/// Any bytes may stand where a property blob is expected: what can be read of them comes back the
/// same after it was written anew.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view blob(reinterpret_cast<const char*>(data), size);
    const std::vector<RawProperty> properties = read(blob);
    for (const RawProperty& p : properties) {
        const Value value = DecodePayload(TypeOf(p.tag), p.payload);
        if (value.is<std::string>() || value.is<Bytes>() || value.is<int32_t>())
            require(EncodePayload(TypeOf(p.tag), value) == p.payload || p.big);
    }
    const std::string written = WriteBlob(properties);
    const std::vector<RawProperty> again = read(written);
    require(again.size() == properties.size());
    for (size_t i = 0; i < again.size(); ++i)
        require(same(properties[i], again[i]));
    checkCells(blob, properties);
    return 0;
}
