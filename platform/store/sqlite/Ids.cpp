#include "platform/store/sqlite/Ids.h"

#include <algorithm>
#include <cstring>

#include "core/Text.h"

namespace kr::sqlite {

namespace {

constexpr std::string_view
    kProvider("\x4B\x52\xA7\x3E\x51\x0D\x4C\x9B\x8E\x62\xF4\x17\x2A\xC0\x6D\x35", 16);
constexpr std::string_view kLongTerm("\0\0\0\0", 4);
// not a recipient, and for this session only
constexpr std::string_view kShortTerm("\xE0\0\0\0", 4);
constexpr std::string_view kExchange(
    "\0\0\0\0\xDC\xA7\x40\xC8\xC0\x42\x10\x1A\xB4\xB9\x08\0\x2B\x2F\xE1\x82\x01\0\0\0\0\0\0\0", 28);
// flags 0x1001: plain text, neither looked up nor asked for rich text
constexpr std::string_view
    kOneOff("\0\0\0\0\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E\0\xDD\x01\x0F\x54\x02\0\0\x01\x10",
            24);

/// Object types in an id, private and public.
enum IdType : uint16_t {
    kFolderPrivate = 1,
    kFolderPublic = 3,
    kStorePublic = 6,
    kMessagePrivate = 7,
    kMessagePublic = 9,
    kStorePrivate = 0xC
};

// Where the parts stand.
constexpr size_t kTypeAt = 20, kGuidAt = 22, kFolderAt = 38, kSecondGuidAt = 46, kMessageAt = 62;
constexpr size_t kStoreIdSize = 38, kFolderIdSize = 46;
constexpr size_t kShortKindAt = 20, kSessionAt = 22, kSessionSize = 8, kShortObjectAt = 30;
constexpr size_t kCounterSize = 6, kShortObjectSize = 12;
constexpr uint64_t kAssociatedTop = uint64_t{1} << 47;

uint64_t readBig(std::string_view bytes) {
    uint64_t value = 0;
    for (const char c : bytes)
        value = value << 8 | static_cast<uint8_t>(c);
    return value;
}

void putBig(char* at, uint64_t value, size_t size) {
    for (size_t i = size; i > 0; --i, value >>= 8)
        at[i - 1] = static_cast<char>(value);
}

std::string start(uint16_t type) {
    std::string id(kLongTerm);
    id += kProvider;
    id += static_cast<char>(type);
    id += '\0';
    return id;
}

std::optional<ObjectId> readShort(std::string_view b) {
    if (b.size() != kShortIdSize || b.substr(4, 16) != kProvider)
        return std::nullopt;
    ObjectId id;
    const auto kind = static_cast<uint8_t>(b[kShortKindAt]);
    if (kind > ObjectId::Message)
        return std::nullopt;
    id.kind = static_cast<ObjectId::Kind>(kind);
    id.session = readBig(b.substr(kSessionAt, kSessionSize));
    id.object = static_cast<int64_t>(readBig(b.substr(kShortObjectAt, kShortObjectSize)));
    return id;
}

int digit(char c) {
    return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// Bytes of a GUID's text in the order in which they stand on the wire.
constexpr std::array<size_t, 16> kGuidOrder{3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

} // namespace

std::optional<std::string> UnHex(std::string_view text) {
    if (text.size() % 2 != 0)
        return std::nullopt;
    std::string bytes(text.size() / 2, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        const int high = digit(text[2 * i]), low = digit(text[2 * i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes[i] = static_cast<char>(high << 4 | low);
    }
    return bytes;
}

EntryID IdOf(std::string_view bytes) { return EntryID(HexOf(bytes.data(), bytes.size())); }

Value BinaryOf(std::string_view bytes) { return Bytes(bytes.begin(), bytes.end()); }

std::string StoreIdBytes(std::string_view guid, bool isPublic) {
    return start(isPublic ? kStorePublic : kStorePrivate) + std::string(guid);
}

std::string FolderIdBytes(std::string_view guid, bool isPublic, int64_t folder) {
    std::string id = start(isPublic ? kFolderPublic : kFolderPrivate) + std::string(guid);
    id.resize(kFolderIdSize);
    putBig(&id[kFolderAt], static_cast<uint64_t>(folder), kCounterSize);
    return id;
}

std::string MessageIdBytes(std::string_view guid, bool isPublic, int64_t message) {
    std::string id = start(isPublic ? kMessagePublic : kMessagePrivate) + std::string(guid);
    id.resize(kMessageIdSize);
    guid.copy(&id[kSecondGuidAt], guid.size());
    PutMessage(id.data(), message);
    return id;
}

void PutMessage(char* longTermId, int64_t message) {
    putBig(longTermId + kFolderAt, static_cast<uint64_t>(MessageFolder(message)), kCounterSize);
    const auto sequence = static_cast<uint64_t>(message & kSequenceMask);
    putBig(longTermId + kMessageAt, sequence | (IsAssociated(message) ? kAssociatedTop : 0),
           kCounterSize);
}

std::string ShortIdBytes(uint64_t session, ObjectId::Kind kind, int64_t object) {
    std::string id(kShortTerm);
    id += kProvider;
    id += static_cast<char>(kind);
    id.resize(kShortIdSize);
    putBig(&id[kSessionAt], session, kSessionSize);
    PutShort(id.data(), object);
    return id;
}

void PutShort(char* shortTermId, int64_t object) {
    putBig(shortTermId + kShortObjectAt, static_cast<uint64_t>(object), kShortObjectSize);
}

std::optional<ObjectId> ReadId(const EntryID& id) {
    const auto bytes = UnHex(id.text());
    if (!bytes || bytes->size() < kStoreIdSize)
        return std::nullopt;
    const std::string_view b(*bytes);
    if (b.starts_with(kShortTerm))
        return readShort(b);
    if (!b.starts_with(kLongTerm) || b.substr(4, 16) != kProvider || b[kTypeAt + 1] != 0)
        return std::nullopt;
    const auto type = static_cast<uint8_t>(b[kTypeAt]);
    ObjectId object;
    object.guid = b.substr(kGuidAt, 16);
    if (type == kStorePrivate || type == kStorePublic) {
        object.kind = ObjectId::Store;
        return b.size() == kStoreIdSize ? std::optional(object) : std::nullopt;
    }
    if (b.size() < kFolderIdSize)
        return std::nullopt;
    const auto folder = static_cast<int64_t>(readBig(b.substr(kFolderAt, kCounterSize)));
    if (folder >= kMostFolders)
        return std::nullopt;
    if (type == kFolderPrivate || type == kFolderPublic) {
        object.kind = ObjectId::Folder;
        object.object = folder;
        return b.size() == kFolderIdSize ? std::optional(object) : std::nullopt;
    }
    if ((type != kMessagePrivate && type != kMessagePublic) || b.size() != kMessageIdSize ||
        b.substr(kSecondGuidAt, 16) != object.guid)
        return std::nullopt;
    const uint64_t number = readBig(b.substr(kMessageAt, kCounterSize));
    object.object = MessageRowId(folder, (number & kAssociatedTop) != 0,
                                 static_cast<int64_t>(number & kSequenceMask));
    return object;
}

EntryID ExchangeId(std::string_view dn) {
    return IdOf(std::string(kExchange) + std::string(dn) + '\0');
}

EntryID OneOffId(std::string_view name, std::string_view address) {
    return IdOf(std::string(kOneOff) + std::string(name) + '\0' + "SMTP" + '\0' +
                std::string(address) + '\0');
}

std::optional<AddressId> ReadAddressId(const EntryID& id) {
    const auto bytes = UnHex(id.text());
    if (!bytes)
        return std::nullopt;
    const std::string_view b(*bytes);
    AddressId address;
    if (b.starts_with(kExchange) && b.size() > kExchange.size() + 1) {
        address.dn = b.substr(kExchange.size(), b.find('\0', kExchange.size()) - kExchange.size());
        return address;
    }
    if (!b.starts_with(kOneOff))
        return std::nullopt;
    const auto parts = Split(b.substr(kOneOff.size()), std::string_view("\0", 1));
    if (parts.size() < 3)
        return std::nullopt;
    address.name = parts[0];
    address.address = parts[2];
    return address;
}

std::optional<std::string> GuidBytes(std::string_view text) {
    if (text.starts_with('{') && text.ends_with('}'))
        text = text.substr(1, text.size() - 2);
    if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' ||
        text[23] != '-')
        return std::nullopt;
    std::string digits = ToUpper(text);
    std::erase(digits, '-');
    const auto plain = UnHex(digits);
    if (!plain || plain->size() != 16)
        return std::nullopt;
    std::string bytes(16, '\0');
    for (size_t i = 0; i < 16; ++i)
        bytes[i] = (*plain)[kGuidOrder[i]];
    return bytes;
}

std::string GuidText(std::string_view bytes) {
    std::string plain(16, '\0');
    for (size_t i = 0; i < 16 && i < bytes.size(); ++i)
        plain[kGuidOrder[i]] = bytes[i];
    std::string text = HexOf(plain.data(), plain.size());
    for (const size_t at : {20u, 16u, 12u, 8u})
        text.insert(at, "-");
    return "{" + text + "}";
}

} // namespace kr::sqlite
