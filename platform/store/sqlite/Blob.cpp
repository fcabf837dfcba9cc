#include "platform/store/sqlite/Blob.h"

#include <array>
#include <cstring>

namespace kr::sqlite {

namespace {

constexpr uint8_t kVersion = 1;

constexpr int kBehindLength = -1;
constexpr int kList = -2;

constexpr auto kSizes = [] {
    std::array<int8_t, 256> sizes{};
    sizes.fill(kBehindLength);
    const auto set = [&](PropType type, int8_t size) { sizes[static_cast<size_t>(type)] = size; };
    set(PropType::Boolean, 1);
    set(PropType::Short, 2);
    set(PropType::Long, 4);
    for (const PropType type :
         {PropType::Double, PropType::Double5, PropType::Currency, PropType::Time})
        set(type, 8);
    return sizes;
}();

/// Size of a fixed type, or one of the two above.
inline int sizeOf(PropType type) {
    const auto number = static_cast<uint16_t>(type);
    if (number < kSizes.size())
        return kSizes[number];
    return type == PropType::StringList || type == PropType::UnicodeList ? kList : kBehindLength;
}

template <class T>
std::string raw(T value) {
    std::string out(sizeof value, '\0');
    std::memcpy(out.data(), &value, sizeof value);
    return out;
}

template <class T>
T from(std::string_view payload) {
    T value{};
    std::memcpy(&value, payload.data(), std::min(sizeof value, payload.size()));
    return value;
}

std::string encodeList(const Strings& list) {
    std::string out;
    AppendVarint(out, list.size());
    for (const std::string& text : list) {
        AppendVarint(out, text.size());
        out += text;
    }
    return out;
}

[[gnu::always_inline]] inline bool readVarint(const char*& at, const char* end, uint64_t& value) {
    if (at != end && static_cast<int8_t>(*at) >= 0) { // one byte is the rule
        value = static_cast<uint8_t>(*at++);
        return true;
    }
    value = 0;
    for (int shift = 0; shift < 64 && at != end; shift += 7) {
        const auto byte = static_cast<uint8_t>(*at++);
        value |= static_cast<uint64_t>(byte & 0x7F) << shift;
        if ((byte & 0x80) == 0)
            return true;
    }
    return false;
}

/// The number of properties; 0 for what is no blob.
uint64_t readCount(const char*& at, const char* end) {
    uint64_t count = 0;
    if (at == end || static_cast<uint8_t>(*at) != kVersion)
        return 0;
    ++at;
    return readVarint(at, end, count) ? count : 0;
}

/// A list stands without a length of its own: its end is where its last text ends.
bool listEnd(const char*& at, const char* end) {
    uint64_t count = 0;
    if (!readVarint(at, end, count))
        return false;
    for (; count > 0; --count) {
        uint64_t size = 0;
        if (!readVarint(at, end, size) || size > static_cast<uint64_t>(end - at))
            return false;
        at += size;
    }
    return true;
}

[[gnu::always_inline]] inline bool nextProperty(const char*& at, const char* end,
                                                RawProperty& property) {
    if (end - at < 4)
        return false;
    uint32_t tag = 0;
    std::memcpy(&tag, at, sizeof tag);
    at += sizeof tag;
    property.big = (tag & kBigFlag) != 0;
    property.tag = tag & ~kBigFlag;
    property.payload = {};
    if (property.big)
        return readVarint(at, end, property.bigLength);
    const int size = sizeOf(TypeOf(property.tag));
    const char* begin = at;
    if (size == kList) {
        if (!listEnd(at, end))
            return false;
        property.payload = {begin, static_cast<size_t>(at - begin)};
        return true;
    }
    auto length = static_cast<uint64_t>(size);
    if ((size < 0 && !readVarint(at, end, length)) || length > static_cast<uint64_t>(end - at))
        return false;
    property.payload = {at, length};
    at += length;
    return true;
}

[[gnu::always_inline]] inline void decode(PropType type, std::string_view payload,
                                          TableCell& cell) {
    cell.type = type;
    switch (type) {
    case PropType::Short:
        cell.integer = from<int16_t>(payload);
        break;
    case PropType::Long:
        cell.integer = from<int32_t>(payload);
        break;
    case PropType::Boolean:
        cell.integer = from<uint8_t>(payload);
        break;
    case PropType::Currency:
        cell.integer = from<int64_t>(payload);
        break;
    case PropType::Time: {
        const auto ticks = from<int64_t>(payload);
        cell.integer = ticks / kTicksPerSecond - kFileTimeEpoch;
        break;
    }
    case PropType::Double:
    case PropType::Double5:
        cell.real = from<double>(payload);
        break;
    default:
        cell.bytes = payload;
        break;
    }
}

} // namespace

void AppendVarint(std::string& out, uint64_t value) {
    while (value >= 0x80) {
        out += static_cast<char>(value | 0x80);
        value >>= 7;
    }
    out += static_cast<char>(value);
}

BlobReader::BlobReader(std::string_view blob)
    : m_at(blob.data()), m_end(blob.data() + blob.size()), m_left(readCount(m_at, m_end)) {}

bool BlobReader::Next(RawProperty& property) {
    if (m_left == 0)
        return false;
    --m_left;
    if (nextProperty(m_at, m_end, property))
        return true;
    m_left = 0;
    return false;
}

bool FillCells(std::string_view blob, std::span<const BlobColumn> columns, TableCell* cells) {
    const char* at = blob.data();
    const char* const end = at + blob.size();
    const BlobColumn* column = columns.data();
    const BlobColumn* const last = column + columns.size();
    bool outside = false;
    RawProperty p;
    for (uint64_t left = readCount(at, end); left > 0 && column != last; --left) {
        if (!nextProperty(at, end, p))
            break;
        const uint16_t id = PropId(p.tag);
        for (; column != last && column->id < id; ++column)
            cells[column->place] = {};
        for (; column != last && column->id == id; ++column) {
            TableCell& cell = cells[column->place];
            cell = {};
            outside |= p.big;
            if (p.big) {
                cell.type = TypeOf(p.tag);
                cell.integer = kKeptOutside;
            } else {
                decode(TypeOf(p.tag), p.payload, cell);
            }
        }
    }
    for (; column != last; ++column)
        cells[column->place] = {};
    return outside;
}

PropType TypeOfValue(const Value& value) {
    static constexpr PropType kTypes[] = {
        PropType::Unspecified, PropType::Short,     PropType::Long,   PropType::Currency,
        PropType::Double,      PropType::Boolean,   PropType::String, PropType::Time,
        PropType::Binary,      PropType::StringList};
    return kTypes[value.variant().index()];
}

std::string EncodePayload(PropType, const Value& value) {
    struct Encode {
        std::string operator()(std::monostate) const { return {}; }
        std::string operator()(int16_t v) const { return raw(v); }
        std::string operator()(int32_t v) const { return raw(v); }
        std::string operator()(Currency v) const { return raw(v.scaled); }
        std::string operator()(double v) const { return raw(v); }
        std::string operator()(bool v) const { return raw(static_cast<uint8_t>(v)); }
        std::string operator()(const std::string& v) const { return v; }
        std::string operator()(Time v) const {
            return raw((v.time_since_epoch().count() + kFileTimeEpoch) * kTicksPerSecond);
        }
        std::string operator()(const Bytes& v) const { return {v.begin(), v.end()}; }
        std::string operator()(const Strings& v) const { return encodeList(v); }
    };
    return std::visit(Encode{}, value.variant());
}

void DecodeCell(PropType type, std::string_view payload, TableCell& cell) {
    decode(type, payload, cell);
}

Value DecodePayload(PropType type, std::string_view payload) {
    TableCell cell;
    DecodeCell(type, payload, cell);
    return cell.value();
}

std::string WriteBlob(const std::vector<RawProperty>& properties) {
    std::string out(1, static_cast<char>(kVersion));
    AppendVarint(out, properties.size());
    for (const RawProperty& property : properties) {
        const uint32_t tag = property.tag | (property.big ? kBigFlag : 0);
        out += raw(tag);
        if (property.big) {
            AppendVarint(out, property.bigLength);
            continue;
        }
        if (sizeOf(TypeOf(property.tag)) == kBehindLength)
            AppendVarint(out, property.payload.size());
        out += property.payload;
    }
    return out;
}

} // namespace kr::sqlite
