#include "platform/store/sqlite/Blob.h"

#include <bit>
#include <chrono>
#include <cstring>
#include <utility>

namespace kr::sqlite {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they stand");

template <class T>
std::string raw(T value) {
    std::string out(sizeof value, '\0');
    std::memcpy(out.data(), &value, sizeof value);
    return out;
}

void appendVarint(std::string& out, uint64_t value) {
    for (; value >= 0x80; value >>= 7)
        out += static_cast<char>(value | 0x80);
    out += static_cast<char>(value);
}

std::string encodeList(const Strings& list) {
    std::string out;
    appendVarint(out, list.size());
    for (const std::string& text : list) {
        appendVarint(out, text.size());
        out += text;
    }
    return out;
}

} // namespace

bool BlobReader::list(std::string_view& payload) {
    const char* begin = m_at;
    uint64_t count = 0;
    if (!varint(count))
        return false;
    std::string_view text;
    for (uint64_t size = 0; count > 0; --count)
        if (!varint(size) || !take(size, text))
            return false;
    payload = {begin, static_cast<size_t>(m_at - begin)};
    return true;
}

void BlobWriter::Add(const RawProperty& property) {
    ++m_count;
    m_properties += raw(property.tag | (property.isLong ? kLongFlag : 0));
    if (property.isLong)
        return appendVarint(m_properties, property.length);
    if (PayloadSize(property.tag & 0xFFFF) == kVariableSize)
        appendVarint(m_properties, property.payload.size());
    m_properties += property.payload;
}

std::string BlobWriter::Take() {
    std::string blob(1, kBlobVersion);
    blob.reserve(m_properties.size() + 4);
    appendVarint(blob, std::exchange(m_count, 0));
    return blob += std::exchange(m_properties, {});
}

std::string EncodePayload(const Value& value) {
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

Value DecodePayload(PropType type, std::string_view payload) {
    TableCell cell;
    DecodeCell(type, payload, cell);
    return cell.value();
}

PropType StoredType(PropType type) {
    switch (type) {
    case PropType::Unicode:
        return PropType::String;
    case PropType::UnicodeList:
        return PropType::StringList;
    default:
        return type;
    }
}

bool SameType(PropType a, PropType b) {
    const auto plain = [](PropType type) {
        return type == PropType::Double5 ? PropType::Double : StoredType(type);
    };
    return plain(a) == plain(b) || a == PropType::Unspecified || b == PropType::Unspecified;
}

PropType TypeOfValue(const Value& value) {
    static constexpr PropType kTypes[] = {
        PropType::Unspecified, PropType::Short,     PropType::Long,   PropType::Currency,
        PropType::Double,      PropType::Boolean,   PropType::String, PropType::Time,
        PropType::Binary,      PropType::StringList};
    return kTypes[value.variant().index()];
}

std::optional<Value> ToType(const Value& value, PropType type) {
    if (SameType(TypeOfValue(value), type))
        return value;
    const auto* number = value.get<int32_t>();
    if (!number && !value.is<int16_t>())
        return std::nullopt;
    const int32_t n = value.integerOr(0);
    switch (type) {
    case PropType::Short:
        return n == static_cast<int16_t>(n) ? std::optional<Value>(static_cast<int16_t>(n))
                                            : std::nullopt;
    case PropType::Long:
        return Value(n);
    case PropType::Double:
    case PropType::Double5:
        return Value(static_cast<double>(n));
    case PropType::Currency:
        return Value(Currency{int64_t{n} * 10000});
    default:
        return std::nullopt;
    }
}

int64_t NowTicks() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100 +
           kFileTimeEpoch * kTicksPerSecond;
}

Time TimeOfTicks(int64_t ticks) { return Time(std::chrono::seconds(blob::SecondsOf(ticks))); }

} // namespace kr::sqlite
