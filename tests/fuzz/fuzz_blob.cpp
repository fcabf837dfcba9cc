#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/sqlite/PropertyBag.h"

namespace {

using namespace kr;
using namespace kr::sqlite;

void require(bool good) {
    if (!good)
        std::abort();
}

/// Properties up to the end or to what is wrong; false for a blob that is none.
bool read(std::string_view blob, std::vector<RawProperty>& properties) {
    BlobReader reader(blob);
    for (RawProperty p; reader.Next(p);)
        properties.push_back(p);
    return !reader.Bad();
}

std::string write(const std::vector<RawProperty>& properties) {
    BlobWriter writer;
    for (const RawProperty& p : properties)
        writer.Add(p);
    return writer.Take();
}

bool same(const RawProperty& a, const RawProperty& b) {
    return a.tag == b.tag && a.isLong == b.isLong && a.payload == b.payload &&
           (!a.isLong || a.length == b.length);
}

void checkValues(const std::vector<RawProperty>& properties) {
    for (const RawProperty& p : properties) {
        const Value value = DecodePayload(TypeOf(p.tag), p.payload);
        if (value.is<std::string>() || value.is<Bytes>() || value.is<int32_t>())
            require(EncodePayload(value) == p.payload || p.isLong);
    }
}

/// Passing over finds what reading one by one finds.
void checkFinding(std::string_view blob, const std::vector<RawProperty>& properties) {
    for (const RawProperty& p : properties) {
        RawProperty found;
        require(FindProperty(blob, PropId(p.tag), found) && same(found, p));
    }
}

void checkMerging(std::string_view blob, const std::vector<RawProperty>& properties) {
    if (properties.empty())
        return;
    std::vector<PropertyChange> changes(1);
    changes[0].tag = properties[properties.size() / 2].tag;
    changes[0].removed = true;
    std::vector<RawProperty> left;
    const std::string merged = MergeChanges(blob, changes, true);
    require(read(merged, left) && left.size() + 1 == properties.size());
    require(MergeChanges(blob, {}, true) == write(properties));
}

} // namespace

/// Any bytes may stand where a property blob is expected: nothing is read behind their end, and
/// what is a blob comes back the same after it was written anew.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view blob(reinterpret_cast<const char*>(data), size);
    std::vector<RawProperty> properties;
    const bool good = read(blob, properties);
    checkValues(properties);
    checkFinding(blob, properties);
    const std::string written = write(properties);
    std::vector<RawProperty> again;
    require(read(written, again) && again.size() == properties.size());
    for (size_t i = 0; i < again.size(); ++i)
        require(same(properties[i], again[i]));
    if (good)
        checkMerging(blob, properties);
    return 0;
}
