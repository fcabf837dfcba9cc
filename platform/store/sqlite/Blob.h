#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Value.h"
#include "platform/store/Store.h"

/// The property blob of a record: a version byte, a varint count, then in ascending order of the
/// property id the tag (four bytes, little-endian) and its value. Fixed types stand in their size,
/// the others behind a varint length; a list of texts is a varint count and each text behind its
/// length. A tag with kLongFlag in its type stands for a value kept outside, with its length only.
namespace kr::sqlite {

constexpr uint32_t kLongFlag = 0x4000;
/// Larger values are kept outside, so that a scan of a folder never drags them along.
constexpr size_t kLongSize = 1024;
constexpr std::string_view kEmptyBlob("\x01\0", 2);

/// One property of a blob; `payload` is a view into it, without the length prefix.
struct RawProperty {
    PropTag tag = 0;
    std::string_view payload;
    bool isLong = false; // kept outside; `length` says how much
    uint64_t length = 0;
};

constexpr int64_t kFileTimeEpoch = 11644473600; // seconds from 1601 to 1970
constexpr int64_t kTicksPerSecond = 10'000'000;

constexpr char kBlobVersion = 1;
constexpr uint64_t kVariableSize = UINT64_MAX;
namespace blob {
constexpr uint64_t SizeOfType(uint32_t type) {
    switch (static_cast<PropType>(type)) {
    case PropType::String:
    case PropType::Binary:
        return kVariableSize;
    case PropType::Short:
        return 2;
    case PropType::Long:
        return 4;
    case PropType::Boolean:
        return 1;
    case PropType::Double:
    case PropType::Double5:
    case PropType::Currency:
    case PropType::Time:
        return 8;
    default:
        return 0;
    }
}
/// All types of a blob lie below this, but for the lists, which have no size.
constexpr uint32_t kTypes = 0x103;
constexpr auto kSizes = [] {
    std::array<uint64_t, kTypes> sizes{};
    for (uint32_t type = 0; type < kTypes; ++type)
        sizes[type] = SizeOfType(type);
    return sizes;
}();

/// A number as it stands in a blob; a payload that is too short gives its first bytes.
template <class T>
T NumberOf(std::string_view payload) {
    T value{};
    if (payload.size() >= sizeof value)
        std::memcpy(&value, payload.data(), sizeof value); // one move, not a call
    else
        std::memcpy(&value, payload.data(), payload.size());
    return value;
}
constexpr int64_t SecondsOf(int64_t ticks) {
    // floor, so that times before 1601 do not jump
    return (ticks >= 0 ? ticks / kTicksPerSecond : -((-(ticks + 1)) / kTicksPerSecond) - 1) -
           kFileTimeEpoch;
}
} // namespace blob

/// Size of a fixed type; kVariableSize for a value behind its length; 0 for a list, which says by
/// itself where it ends, and for a type that no blob has.
constexpr uint64_t PayloadSize(uint32_t type) {
    return type < blob::kTypes ? blob::kSizes[type] : 0;
}

/// Reads a blob from front to end, and never behind it. Anything wrong ends the reading. Inline,
/// since a table reads millions of properties.
class BlobReader {
public:
    explicit BlobReader(std::string_view blob) : m_at(blob.data()), m_end(m_at + blob.size()) {
        m_bad = blob.empty() || *m_at++ != kBlobVersion || !varint(m_left);
    }
    bool Next(RawProperty& property) {
        if (m_left == 0 || m_bad) {
            m_bad = m_bad || m_at != m_end;
            return false;
        }
        --m_left;
        m_bad = !read(property);
        return !m_bad;
    }
    /// The next property whose id is at least this; what lies before is passed over unread.
    bool NextFrom(uint16_t id, RawProperty& property) {
        while (!m_bad && m_left > 0 && m_end - m_at >= 4) {
            uint32_t tag = 0;
            std::memcpy(&tag, m_at, sizeof tag);
            uint64_t size = PayloadSize(tag & 0xFFFF); // 0 for long values and lists: read them
            if (PropId(tag) >= id || size == 0) {
                if (!Next(property) || PropId(property.tag) >= id)
                    return !m_bad;
                continue;
            }
            m_at += sizeof tag;
            m_bad = (size == kVariableSize && !varint(size)) ||
                    size > static_cast<uint64_t>(m_end - m_at);
            if (m_bad)
                return false;
            m_at += size;
            --m_left;
        }
        return Next(property);
    }
    /// The blob is none: wrong version, count, order, type or length, or something left over.
    bool Bad() const { return m_bad; }

private:
    bool varint(uint64_t& value) {
        if (m_at < m_end && (*m_at & 0x80) == 0) { // nearly always
            value = static_cast<uint8_t>(*m_at++);
            return true;
        }
        value = 0;
        for (int shift = 0; shift < 64 && m_at < m_end; shift += 7) {
            const auto byte = static_cast<uint8_t>(*m_at++);
            value |= static_cast<uint64_t>(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0)
                return true;
        }
        return false;
    }
    bool take(uint64_t size, std::string_view& payload) {
        if (size > static_cast<uint64_t>(m_end - m_at))
            return false;
        payload = {m_at, static_cast<size_t>(size)};
        m_at += size;
        return true;
    }
    bool list(std::string_view& payload);
    bool read(RawProperty& property) {
        if (m_end - m_at < 4)
            return false;
        uint32_t tag = 0;
        std::memcpy(&tag, m_at, sizeof tag);
        m_at += sizeof tag;
        property.isLong = (tag & kLongFlag) != 0;
        property.tag = tag & ~kLongFlag;
        if (PropId(tag) <= m_lastId)
            return false;
        m_lastId = PropId(tag);
        uint64_t size = PayloadSize(property.tag & 0xFFFF);
        const bool isList = TypeOf(property.tag) == PropType::StringList;
        if (property.isLong) {
            property.payload = {};
            return (isList || size == kVariableSize) && varint(property.length);
        }
        if (size == 0)
            return isList && list(property.payload);
        return (size != kVariableSize || varint(size)) && take(size, property.payload);
    }

    const char* m_at;
    const char* m_end;
    uint64_t m_left = 0;
    int m_lastId = -1;
    bool m_bad = false;
};

/// Writes a blob; properties must come in ascending order of their ids.
class BlobWriter {
public:
    void Add(const RawProperty& property);
    std::string Take();

private:
    std::string m_properties;
    uint64_t m_count = 0;
};

/// A value in the form that a blob holds it.
std::string EncodePayload(const Value& value);
/// A view for a table; list texts stay encoded.
inline void DecodeCell(PropType type, std::string_view payload, TableCell& cell) {
    cell.type = type;
    switch (type) {
    case PropType::Short:
        cell.integer = blob::NumberOf<int16_t>(payload);
        break;
    case PropType::Long:
        cell.integer = blob::NumberOf<int32_t>(payload);
        break;
    case PropType::Boolean:
        cell.integer = blob::NumberOf<uint8_t>(payload);
        break;
    case PropType::Currency:
        cell.integer = blob::NumberOf<int64_t>(payload);
        break;
    case PropType::Time:
        cell.integer = blob::SecondsOf(blob::NumberOf<int64_t>(payload));
        break;
    case PropType::Double:
    case PropType::Double5:
        cell.real = blob::NumberOf<double>(payload);
        break;
    default:
        cell.bytes = payload;
        break;
    }
}
Value DecodePayload(PropType type, std::string_view payload);

/// The type under which a blob holds it: one for both text types, and for both lists.
PropType StoredType(PropType type);
/// Both types name the same property: the two text types, the two of a double; Unspecified any.
bool SameType(PropType a, PropType b);
/// The value in the form of that type when nothing is lost by it; Unspecified takes any.
std::optional<Value> ToType(const Value& value, PropType type);
/// The type that a value has by itself.
PropType TypeOfValue(const Value& value);

/// Ticks of 100 ns since 1601.
int64_t NowTicks();
Time TimeOfTicks(int64_t ticks);

} // namespace kr::sqlite
