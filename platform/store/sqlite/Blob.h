#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/Value.h"
#include "platform/store/Store.h"

/// The property blob of a record: a version byte, a varint count, then in ascending order of the
/// property id the tag (four bytes, little-endian) and its value. Fixed types stand in their size,
/// the others behind a varint length; a list of texts is a varint count and each text behind its
/// length. A tag with kBigFlag in its type stands for a value kept outside, with its length only.
namespace kr::sqlite {

constexpr uint32_t kBigFlag = 0x4000;
/// Larger values are kept outside, so that a scan of a folder never drags them along.
constexpr size_t kBigSize = 1024;

/// One property in a blob; `payload` is a view into it, without the length prefix.
struct RawProperty {
    PropTag tag = 0;
    std::string_view payload;
    bool big = false;
    uint64_t bigLength = 0;
};

/// Reads a blob from front to end; anything that runs over its end stops the reading.
class BlobReader {
public:
    explicit BlobReader(std::string_view blob);
    bool Next(RawProperty& property);

private:
    const char* m_at = nullptr;
    const char* m_end = nullptr;
    uint64_t m_left = 0;
};

/// A property's value in the form that a blob holds it. Text of the types 0x1E and 0x1F is one.
std::string EncodePayload(PropType type, const Value& value);
Value DecodePayload(PropType type, std::string_view payload);
/// The same as a view; list texts stay encoded.
void DecodeCell(PropType type, std::string_view payload, TableCell& cell);

/// A column of a table row that the blob answers.
struct BlobColumn {
    uint16_t id = 0;
    size_t place = 0; // of its cell in the row
};
/// Stands in the integer of a cell whose value is kept outside.
constexpr int64_t kKeptOutside = -1;
/// Fills the cells of all columns, which come in ascending order of their ids, in one pass; missing
/// ones become empty. True when a value is kept outside.
bool FillCells(std::string_view blob, std::span<const BlobColumn> columns, TableCell* cells);

/// Writes a whole blob; properties must come in ascending order of their ids.
std::string WriteBlob(const std::vector<RawProperty>& properties);

void AppendVarint(std::string& out, uint64_t value);
/// The type that a value is stored under when its tag leaves that open.
PropType TypeOfValue(const Value& value);

constexpr int64_t kFileTimeEpoch = 11644473600; // seconds from 1601 to 1970
constexpr int64_t kTicksPerSecond = 10'000'000;

} // namespace kr::sqlite
