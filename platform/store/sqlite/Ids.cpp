#include "platform/store/sqlite/Ids.h"

#include <cstring>

#include "core/Text.h"
#include "platform/store/sqlite/StoreFile.h"

namespace kr::sqlite {

namespace {

constexpr std::string_view
    kProvider("\x4B\x52\xA7\x3E\x51\x0D\x4C\x9B\x8E\x62\xF4\x17\x2A\xC0\x6D\x35", 16);
constexpr std::string_view kLongTerm("\0\0\0\0", 4);
constexpr std::string_view kShortTerm("\x80\0\0\0", 4);
constexpr std::string_view kExchange(
    "\0\0\0\0\xDC\xA7\x40\xC8\xC0\x42\x10\x1A\xB4\xB9\x08\0\x2B\x2F\xE1\x82\x01\0\0\0\0\0\0\0", 28);
constexpr std::string_view
    kOneOff("\0\0\0\0\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E\0\xDD\x01\x0F\x54\x02\0\0\x01\x10",
            24);

/// Object types in a long-term id, private and public.
enum IdType : uint16_t {
    kFolderPrivate = 1,
    kFolderPublic = 3,
    kMessagePrivate = 7,
    kMessagePublic = 9,
    kStorePrivate = 0xC,
    kStorePublic = 6
};

std::string little(uint64_t value, size_t size) {
    std::string out;
    for (size_t i = 0; i < size; ++i)
        out += static_cast<char>(value >> (8 * i));
    return out;
}

std::string counter(uint64_t value) {
    std::string out;
    for (int i = 5; i >= 0; --i)
        out += static_cast<char>(value >> (8 * i));
    return out;
}

uint64_t readLittle(std::string_view bytes) {
    uint64_t value = 0;
    for (size_t i = bytes.size(); i > 0; --i)
        value = value << 8 | static_cast<uint8_t>(bytes[i - 1]);
    return value;
}

uint64_t readCounter(std::string_view bytes) {
    uint64_t value = 0;
    for (const char c : bytes)
        value = value << 8 | static_cast<uint8_t>(c);
    return value;
}

EntryID hexId(const std::string& bytes) { return EntryID(HexOf(bytes.data(), bytes.size())); }

constexpr uint64_t kAssociatedTop = uint64_t{1} << 47;

uint64_t messageNumber(int64_t message) {
    return static_cast<uint64_t>(message & kSequenceMask) |
           ((message & kAssociatedBit) ? kAssociatedTop : 0);
}

std::string folderPart(std::string_view guid, uint16_t type, int64_t folder) {
    return std::string(kLongTerm) + std::string(kProvider) + little(type, 2) + std::string(guid) +
           counter(static_cast<uint64_t>(folder)) + std::string(2, '\0');
}

} // namespace

std::optional<std::string> UnHex(std::string_view text) {
    if (text.size() % 2 != 0)
        return std::nullopt;
    const auto digit = [](char c) {
        return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
    };
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        const int high = digit(text[i]);
        const int low = digit(text[i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes += static_cast<char>(high << 4 | low);
    }
    return bytes;
}

std::string StoreIdBytes(std::string_view guid, bool isPublic) {
    return std::string(kLongTerm) + std::string(kProvider) +
           little(isPublic ? kStorePublic : kStorePrivate, 2) + std::string(guid);
}

std::string FolderIdBytes(std::string_view guid, bool isPublic, int64_t folder) {
    return folderPart(guid, isPublic ? kFolderPublic : kFolderPrivate, folder);
}

std::string MessageIdBytes(std::string_view guid, bool isPublic, int64_t message) {
    return folderPart(guid, isPublic ? kMessagePublic : kMessagePrivate, MessageFolder(message)) +
           std::string(guid) + counter(messageNumber(message)) + std::string(2, '\0');
}

std::string ShortTermIdBytes(uint64_t session, ObjectId::Kind kind, int64_t object) {
    return std::string(kShortTerm) + little(session, 8) + little(static_cast<uint64_t>(kind), 4) +
           little(static_cast<uint64_t>(object), 8);
}

EntryID StoreId(std::string_view guid, bool isPublic) {
    return hexId(StoreIdBytes(guid, isPublic));
}

EntryID FolderId(std::string_view guid, bool isPublic, int64_t folder) {
    return hexId(FolderIdBytes(guid, isPublic, folder));
}

EntryID MessageId(std::string_view guid, bool isPublic, int64_t message) {
    return hexId(MessageIdBytes(guid, isPublic, message));
}

EntryID ShortTermId(uint64_t session, ObjectId::Kind kind, int64_t object) {
    return hexId(ShortTermIdBytes(session, kind, object));
}

void PutMessage(char* id, int64_t message) {
    const std::string bytes = counter(messageNumber(message));
    std::memcpy(id + 62, bytes.data(), bytes.size());
}

void PutShortTerm(char* id, int64_t object) {
    for (int i = 0; i < 8; ++i)
        id[16 + i] = static_cast<char>(object >> (8 * i));
}

std::optional<ObjectId> ReadId(const EntryID& id, uint64_t session) {
    const auto bytes = UnHex(id.text());
    if (!bytes || bytes->size() < 24)
        return std::nullopt;
    const std::string_view b(*bytes);
    ObjectId object;
    if (b.starts_with(kShortTerm)) {
        if (b.size() != 24 || readLittle(b.substr(4, 8)) != session)
            return std::nullopt;
        object.kind = static_cast<ObjectId::Kind>(readLittle(b.substr(12, 4)));
        object.object = static_cast<int64_t>(readLittle(b.substr(16, 8)));
        return object;
    }
    if (b.size() < 38 || !b.starts_with(kLongTerm) || b.substr(4, 16) != kProvider)
        return std::nullopt;
    const auto type = static_cast<IdType>(readLittle(b.substr(20, 2)));
    object.guid = b.substr(22, 16);
    if ((type == kStorePrivate || type == kStorePublic) && b.size() == 38) {
        object.kind = ObjectId::Store;
        return object;
    }
    if (b.size() < 46)
        return std::nullopt;
    const auto folder = static_cast<int64_t>(readCounter(b.substr(38, 6)));
    if ((type == kFolderPrivate || type == kFolderPublic) && b.size() == 46) {
        object.kind = ObjectId::Folder;
        object.object = folder;
        return object;
    }
    if ((type != kMessagePrivate && type != kMessagePublic) || b.size() != 70 ||
        b.substr(46, 16) != object.guid)
        return std::nullopt;
    const uint64_t number = readCounter(b.substr(62, 6));
    object.object = folder << kFolderShift | static_cast<int64_t>(number & kSequenceMask) |
                    ((number & kAssociatedTop) ? kAssociatedBit : 0);
    return object;
}

EntryID ExchangeId(std::string_view dn) {
    return hexId(std::string(kExchange) + std::string(dn) + std::string(1, '\0'));
}

EntryID OneOffId(std::string_view name, std::string_view address) {
    return hexId(std::string(kOneOff) + std::string(name) + std::string(1, '\0') + "SMTP" +
                 std::string(1, '\0') + std::string(address) + std::string(1, '\0'));
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

} // namespace kr::sqlite
