#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/EntryID.h"
#include "core/PlatformError.h"
#include "core/Value.h"
#include "platform/store/PropTags.h"

/// What all objects of the store have in common.
namespace kr {

class RDOMessage;
class RDOFolder;
class RDOStore;
class AddressEntry;
using RDOMessagePtr = std::shared_ptr<RDOMessage>;
using RDOFolderPtr = std::shared_ptr<RDOFolder>;
using RDOStorePtr = std::shared_ptr<RDOStore>;
using AddressEntryPtr = std::shared_ptr<AddressEntry>;

/// Error numbers of MAPI that callers can meet ([MS-OXCDATA] 2.4).
constexpr long MAPI_E_NOT_FOUND = static_cast<long>(0x8004010F);
constexpr long MAPI_E_LOGON_FAILED = static_cast<long>(0x80040111);
constexpr long MAPI_E_USER_CANCEL = static_cast<long>(0x80040113);
constexpr long MAPI_E_OBJECT_DELETED = static_cast<long>(0x8004010A);
constexpr long MAPI_E_INVALID_ENTRYID = static_cast<long>(0x80040107);
constexpr long MAPI_E_TOO_COMPLEX = static_cast<long>(0x80040117);
constexpr long MAPI_E_CORRUPT_STORE = static_cast<long>(0x80040600);
constexpr long MAPI_E_VERSION = static_cast<long>(0x80040110);
constexpr long MAPI_E_NO_ACCESS = static_cast<long>(0x80070005);
constexpr long MAPI_E_NOT_ENOUGH_DISK = static_cast<long>(0x8004010D);
constexpr long MAPI_E_COLLISION = static_cast<long>(0x80040604);
constexpr long MAPI_E_CALL_FAILED = static_cast<long>(0x80004005);

/// Default folder numbers (OlDefaultFolders).
enum class DefaultFolder {
    DeletedItems = 3,
    Outbox = 4,
    SentMail = 5,
    Inbox = 6,
    Calendar = 9,
    Contacts = 10,
    Journal = 11,
    Notes = 12,
    Tasks = 13,
    Drafts = 16,
    AllPublicFolders = 18
};

/// The name behind a named property: a set and either a number (`lid`) or a text (`name`).
struct PropName {
    std::string guid;
    bool byNumber = false;
    uint32_t lid = 0;
    std::string name;
};

/// Anything that carries properties.
class RDOProperties {
public:
    virtual ~RDOProperties() = default;
    /// The value, empty when the property isn't set. A tag with id 0 reads as empty.
    virtual Value Fields(PropTag tag) const = 0;
    /// Keeps the value in the object until Save; an empty value removes the property. Writing
    /// another type replaces the old value. Throws for a tag with id 0.
    virtual void SetFields(PropTag tag, const Value& value) = 0;
    /// The id of a named property in the upper word, created when missing. A name of the form
    /// "0x8051" stands for that number within the set. 0 when the store can't be written.
    virtual PropTag GetIDsFromNames(std::string_view guid, std::string_view name) = 0;
    /// All tags that have a value, ascending.
    virtual std::vector<PropTag> PropList() const = 0;
    /// The name of an id from 0x8000 on in this object's store; nothing for other ids.
    virtual std::optional<PropName> NameOf(PropTag tag) const = 0;
};

} // namespace kr
