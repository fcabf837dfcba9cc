#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/EntryID.h"

/// Entry ids of the embedded store. Long-term ids follow [MS-OXCDATA] 2.2.4: a folder's has 46
/// bytes, a message's 70. Short-term ids live for one session and stand in table rows.
namespace kr::sqlite {

struct ObjectId {
    enum Kind { Store, Folder, Message } kind = Message;
    std::string guid;   // of the store, 16 bytes; empty for a short-term id
    int64_t object = 0; // folder number, or the message's row id
};

/// As bytes and as an id.
std::string StoreIdBytes(std::string_view guid, bool isPublic);
std::string FolderIdBytes(std::string_view guid, bool isPublic, int64_t folder);
std::string MessageIdBytes(std::string_view guid, bool isPublic, int64_t message);
std::string ShortTermIdBytes(uint64_t session, ObjectId::Kind kind, int64_t object);
EntryID StoreId(std::string_view guid, bool isPublic);
EntryID FolderId(std::string_view guid, bool isPublic, int64_t folder);
EntryID MessageId(std::string_view guid, bool isPublic, int64_t message);
EntryID ShortTermId(uint64_t session, ObjectId::Kind kind, int64_t object);
/// Sizes of these two.
constexpr size_t kMessageIdSize = 70;
constexpr size_t kShortTermIdSize = 24;
/// Puts another message's numbers into the bytes of a message id of the same folder.
void PutMessage(char* id, int64_t message);
/// The same for a short-term id.
void PutShortTerm(char* id, int64_t object);
/// Nothing for a text that is no id of this store's kinds, or a short-term id of another session.
std::optional<ObjectId> ReadId(const EntryID& id, uint64_t session);
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

} // namespace kr::sqlite
