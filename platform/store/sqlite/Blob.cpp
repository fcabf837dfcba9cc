#include "platform/store/sqlite/Blob.h"

#include <cstring>

namespace kr::sqlite {

namespace {

constexpr uint8_t kVersion = 1;

/// Size of a fixed type; -1 for a value behind its length, -2 for a list.
int sizeOf(PropType type) {
    switch (type) {
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
    case PropType::StringList:
    case PropType::UnicodeList:
        return -2;
    default:
        return -1;
    }
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

} // namespace

void AppendVarint(std::string& out, uint64_t value) {
    while (value >= 0x80) {
        out += static_cast<char>(value | 0x80);
        value >>= 7;
    }
    out += static_cast<char>(value);
}

BlobReader::BlobReader(std::string_view blob) : m_rest(blob) {
    if (m_rest.empty() || static_cast<uint8_t>(m_rest.front()) != kVersion) {
        m_rest = {};
        return;
    }
    m_rest.remove_prefix(1);
    if (!varint(m_left))
        m_left = 0;
}

bool BlobReader::varint(uint64_t& value) {
    value = 0;
    for (int shift = 0; shift < 64 && !m_rest.empty(); shift += 7) {
        const auto byte = static_cast<uint8_t>(m_rest.front());
        m_rest.remove_prefix(1);
        value |= static_cast<uint64_t>(byte & 0x7F) << shift;
        if ((byte & 0x80) == 0)
            return true;
    }
    return false;
}

bool BlobReader::listPayload(std::string_view& payload) {
    const char* begin = m_rest.data();
    uint64_t count = 0;
    if (!varint(count))
        return false;
    for (; count > 0; --count) {
        uint64_t size = 0;
        if (!varint(size) || size > m_rest.size())
            return false;
        m_rest.remove_prefix(size);
    }
    payload = {begin, static_cast<size_t>(m_rest.data() - begin)};
    return true;
}

bool BlobReader::Next(RawProperty& property) {
    if (m_left == 0 || m_rest.size() < 4)
        return false;
    --m_left;
    const auto tag = from<uint32_t>(m_rest);
    m_rest.remove_prefix(4);
    property.big = (tag & kBigFlag) != 0;
    property.tag = tag & ~kBigFlag;
    property.payload = {};
    if (property.big)
        return varint(property.bigLength);
    const int size = sizeOf(TypeOf(property.tag));
    if (size == -2)
        return listPayload(property.payload);
    uint64_t length = static_cast<uint64_t>(size);
    if ((size < 0 && !varint(length)) || length > m_rest.size())
        return false;
    property.payload = m_rest.substr(0, length);
    m_rest.remove_prefix(length);
    return true;
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
        if (sizeOf(TypeOf(property.tag)) == -1)
            AppendVarint(out, property.payload.size());
        out += property.payload;
    }
    return out;
}

} // namespace kr::sqlite
