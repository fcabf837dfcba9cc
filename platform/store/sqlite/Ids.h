#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/EntryID.h"
#include "core/Value.h"

/// Entry ids of the embedded store. Long-term ids follow [MS-OXCDATA] 2.2.4: a folder's has 46
/// bytes, a message's 70. Short-term ids live for one session and stand in table rows.
namespace kr::sqlite {

/// A message's row id: folder << 41 | associated << 40 | number of the change that made it.
constexpr int kFolderShift = 41;
constexpr int64_t kAssociatedBit = int64_t{1} << 40;
constexpr int64_t kSequenceMask = kAssociatedBit - 1;
constexpr int64_t kMostFolders = int64_t{1} << 22;
constexpr int64_t MessageFolder(int64_t id) { return id >> kFolderShift; }
constexpr bool IsAssociated(int64_t id) { return (id & kAssociatedBit) != 0; }
constexpr int64_t MessageRowId(int64_t folder, bool associated, int64_t sequence) {
    return folder << kFolderShift | (associated ? kAssociatedBit : 0) | sequence;
}
/// First and last row id of one side of a folder.
struct IdRange {
    int64_t first = 0;
    int64_t last = 0;
};
constexpr IdRange ContentsRange(int64_t folder, bool associated) {
    return {MessageRowId(folder, associated, 0), MessageRowId(folder, associated, kSequenceMask)};
}

struct ObjectId {
    enum Kind { Store, Folder, Message } kind = Message;
    std::string guid;     // of the store, 16 bytes; empty for a short-term id
    int64_t object = 0;   // folder number, or the message's row id
    uint64_t session = 0; // of a short-term id
    bool operator==(const ObjectId&) const = default;
};

constexpr size_t kMessageIdSize = 70, kShortIdSize = 42;
std::string StoreIdBytes(std::string_view guid, bool isPublic);
std::string FolderIdBytes(std::string_view guid, bool isPublic, int64_t folder);
std::string MessageIdBytes(std::string_view guid, bool isPublic, int64_t message);
std::string ShortIdBytes(uint64_t session, ObjectId::Kind kind, int64_t object);
/// Writes a row's number into an id of another row of the same folder.
void PutMessage(char* longTermId, int64_t message);
void PutShort(char* shortTermId, int64_t object);

EntryID IdOf(std::string_view bytes);
/// An id as the value of a binary property.
Value BinaryOf(std::string_view bytes);
/// Nothing for what is no id of this store's kinds; it may name something that isn't there.
std::optional<ObjectId> ReadId(const EntryID& id);
/// Bytes of a text of hexadecimal digit pairs; nothing when it isn't one.
std::optional<std::string> UnHex(std::string_view text);

/// Exchange address entry ids and one-off ids ([MS-OXCDATA] 2.2.5.2, 2.2.5.1).
EntryID ExchangeId(std::string_view dn);
EntryID OneOffId(std::string_view name, std::string_view address);
struct AddressId {
    std::string dn;            // of an Exchange address entry
    std::string name, address; // of a one-off
};
std::optional<AddressId> ReadAddressId(const EntryID& id);

/// A property set's GUID, 16 bytes in wire order, from "{00020329-0000-0000-C000-000000000046}"
/// with or without braces; nothing for another text.
std::optional<std::string> GuidBytes(std::string_view text);
/// The same as text, upper-case in braces.
std::string GuidText(std::string_view bytes);

} // namespace kr::sqlite
