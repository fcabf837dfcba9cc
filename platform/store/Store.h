#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/EntryID.h"
#include "core/PlatformError.h"
#include "core/Value.h"
#include "platform/store/PropTags.h"

/// The session library: a MAPI-like message store. Every operation may throw PlatformError; an
/// opened object is a snapshot of its record until the next open, and a write is kept in the object
/// until Save. Objects are used from one thread.
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

/// Fuzzy levels of a content restriction ([MS-OXCDATA] 2.12.4.1).
constexpr uint32_t FL_FULLSTRING = 0;
constexpr uint32_t FL_SUBSTRING = 1;
constexpr uint32_t FL_PREFIX = 2;
constexpr uint32_t FL_IGNORECASE = 0x10000;

/// What a table's rows must match. `And` with `parts`, or `Content` with tag, level and value. On a
/// property that is no text the content restriction means equality.
struct Restriction {
    enum Kind { And = 0, Content = 3 };
    Kind kind = Content;
    std::vector<Restriction> parts;
    PropTag tag = 0;
    uint32_t fuzzyLevel = FL_FULLSTRING;
    Value value;
};
/// CreateRestriction(kind): 0 and, 3 content.
inline Restriction CreateRestriction(Restriction::Kind kind) {
    Restriction r;
    r.kind = kind;
    return r;
}

/// One cell of a table row, a view into the batch it came with; decoding to a Value copies.
struct TableCell {
    /// Unspecified: the property has no value in this row.
    PropType type = PropType::Unspecified;
    /// Short, long, Boolean, currency (x 10000), and time as seconds since 1970 UTC.
    int64_t integer = 0;
    double real = 0;
    /// Text; or bytes of a binary; or for a list of texts its encoded form.
    std::string_view bytes;

    bool empty() const { return type == PropType::Unspecified; }
    bool isText() const { return type == PropType::String || type == PropType::Unicode; }
    Value value() const;
};

/// A batch of rows: `rows` times as many cells as there are columns, row by row.
struct TableRows {
    size_t rows = 0;
    size_t columns = 0;
    const TableCell* cells = nullptr;
    bool empty() const { return rows == 0; }
    const TableCell& at(size_t row, size_t column) const { return cells[row * columns + column]; }
};

/// The raw table of a folder's contents.
class MAPITable {
public:
    virtual ~MAPITable() = default;
    /// Sets the columns and goes to the first row.
    virtual void Columns(std::vector<PropTag> tags) = 0;
    /// Sets the restriction and goes to the first row; nothing removes it.
    virtual void Restrict(std::optional<Restriction> restriction) = 0;
    /// The next rows, at most `count`; no rows at the end. The batch is valid until the next call.
    /// A row that is deleted between two calls is simply missing; no lock is held in between.
    virtual TableRows GetRows(size_t count = 500) = 0;
};
using MAPITablePtr = std::shared_ptr<MAPITable>;

/// Normal or hidden contents of a folder. Indexes count from 1 and follow the order of creation.
class RDOItems {
public:
    virtual ~RDOItems() = default;
    virtual int Count() const = 0;
    virtual RDOMessagePtr Item(int index) const = 0;
    /// A new message of that class; there is no record before its first Save.
    virtual RDOMessagePtr Add(std::string_view messageClass) = 0;
    virtual MAPITablePtr Table() const = 0;
};
using RDOItemsPtr = std::shared_ptr<RDOItems>;

class RDOFolders {
public:
    virtual ~RDOFolders() = default;
    virtual int Count() const = 0;
    virtual RDOFolderPtr Item(int index) const = 0;
    /// By name, ignoring case; nullptr when there is none.
    virtual RDOFolderPtr Item(std::string_view name) const = 0;
    /// A new sub-folder; when the name exists already, that folder.
    virtual RDOFolderPtr Add(std::string_view name, std::string_view containerClass = {}) = 0;
};
using RDOFoldersPtr = std::shared_ptr<RDOFolders>;

class RDOFolder : public RDOProperties {
public:
    virtual std::string Name() const = 0;
    virtual void SetName(std::string_view name) = 0;
    virtual EntryID ID() const = 0;
    /// The id of the store that holds it, for opening it again.
    virtual EntryID StoreID() const = 0;
    /// "IPF.Contact" and so on, "" when the folder has none.
    virtual std::string DefaultItemClass() const = 0;
    virtual RDOItemsPtr Items() const = 0;
    virtual RDOItemsPtr HiddenItems() const = 0;
    virtual RDOFoldersPtr Folders() const = 0;
    /// nullptr for a root folder.
    virtual RDOFolderPtr Parent() const = 0;
    virtual RDOStorePtr Store() const = 0;
    /// Writes changed properties; name and class are written at once.
    virtual void Save() = 0;
    /// Removes the folder with all below it.
    virtual void Delete() = 0;
};

class RDORecipient {
public:
    virtual ~RDORecipient() = default;
    virtual std::string Name() const = 0;
    virtual std::string Address() const = 0;
    virtual EntryID ID() const = 0;
    virtual AddressEntryPtr Entry() const = 0;
};

class RDORecipients {
public:
    virtual ~RDORecipients() = default;
    virtual int Count() const = 0;
    virtual std::shared_ptr<RDORecipient> Item(int index) const = 0;
    /// Adds an SMTP address or a name of the address book.
    virtual std::shared_ptr<RDORecipient> Add(std::string_view nameOrAddress) = 0;
    /// Adds the address entry of that id; throws when it can't be resolved.
    virtual std::shared_ptr<RDORecipient> AddEntry(const EntryID& id) = 0;
    virtual void Remove(int index) = 0;
};

class RDOAttachment {
public:
    virtual ~RDOAttachment() = default;
    virtual std::string DisplayName() const = 0;
    virtual int64_t Size() const = 0;
    /// Writes the content to a file, whole or not at all.
    virtual void SaveAsFile(const std::string& path) const = 0;
    virtual Bytes Content() const = 0;
    /// The message when this is an embedded one, else nullptr.
    virtual RDOMessagePtr EmbeddedMessage() const = 0;
    virtual void Delete() = 0;
};

class RDOAttachments {
public:
    virtual ~RDOAttachments() = default;
    virtual int Count() const = 0;
    virtual std::shared_ptr<RDOAttachment> Item(int index) const = 0;
    /// Attaches a file under its last path component.
    virtual std::shared_ptr<RDOAttachment> Add(const std::string& path) = 0;
    virtual std::shared_ptr<RDOAttachment> AddContent(std::string_view name, const Bytes& data) = 0;
    virtual std::shared_ptr<RDOAttachment> AddMessage(const RDOMessage& message) = 0;
};

class RDOMessage : public RDOProperties {
public:
    virtual EntryID ID() const = 0;
    virtual std::string Subject() const = 0;
    virtual void SetSubject(std::string_view subject) = 0;
    virtual std::string Body() const = 0;
    virtual void SetBody(std::string_view body) = 0;
    virtual std::string MessageClass() const = 0;
    virtual void SetMessageClass(std::string_view messageClass) = 0;
    virtual Time CreationTime() const = 0;
    virtual Time LastModificationTime() const = 0;
    virtual std::shared_ptr<RDORecipients> Recipients() = 0;
    virtual std::shared_ptr<RDOAttachments> Attachments() = 0;
    virtual RDOStorePtr Store() const = 0;
    virtual RDOFolderPtr Parent() const = 0;
    /// Writes all open changes at once, wholly or not at all; durable when it returns. Only what
    /// this object changed is written: the last save wins for each property.
    virtual void Save() = 0;
    virtual void Delete() = 0;
    /// Puts the message into the inboxes of its recipients and itself into the sent items.
    virtual void Send() = 0;
};

class AddressEntry : public RDOProperties {
public:
    virtual std::string Name() const = 0;
    /// The SMTP address for type "SMTP", the legacy distinguished name for "EX".
    virtual std::string Address() const = 0;
    /// "SMTP" or "EX".
    virtual std::string Type() const = 0;
    /// 0 and 6 a mail user, 1 and 4 a distribution list, 3 a query-based list, 2 a folder.
    virtual int DisplayType() const = 0;
    virtual std::string SMTPAddress() const = 0;
    virtual EntryID ID() const = 0;
    /// Members of a list, in their order; none for people and query-based lists.
    virtual std::vector<AddressEntryPtr> Members() const = 0;
};

class AddressEntries {
public:
    virtual ~AddressEntries() = default;
    virtual int Count() const = 0;
    virtual AddressEntryPtr Item(int index) const = 0;
};

class AddressList {
public:
    virtual ~AddressList() = default;
    virtual std::string Name() const = 0;
    virtual std::shared_ptr<AddressEntries> Entries() const = 0;
};

/// One row of the address book for a picker: enough to show and to open the entry.
struct AddressRow {
    EntryID id;
    std::string name;
    std::string smtp;
    int displayType = 0;
};

class AddressBook {
public:
    virtual ~AddressBook() = default;
    virtual std::shared_ptr<AddressList> GAL() const = 0;
    /// Throws MAPI_E_NOT_FOUND for an id that names nothing; one-off ids always open.
    virtual AddressEntryPtr GetAddressEntryFromID(const EntryID& id) const = 0;
    /// Rows whose display name or address begins with the text, by name; at most `limit`.
    virtual std::vector<AddressRow> Search(std::string_view prefix, size_t limit) const = 0;
};
using AddressBookPtr = std::shared_ptr<AddressBook>;

class RDOStore : public RDOProperties {
public:
    virtual EntryID ID() const = 0;
    virtual std::string Name() const = 0;
    virtual RDOFolderPtr RootFolder() const = 0;
    virtual RDOFolderPtr IPMRootFolder() const = 0;
    virtual RDOFolderPtr GetDefaultFolder(int number) const = 0;
    /// True when both ids name the same object; throws for a text that is no entry id.
    virtual bool CompareEntryIDs(const EntryID& a, const EntryID& b) const = 0;
};

class RDOStores {
public:
    virtual ~RDOStores() = default;
    virtual RDOStorePtr DefaultStore() const = 0;
    /// Throws MAPI_E_NOT_FOUND when the organisation has no public folders.
    virtual RDOStorePtr PublicStore() const = 0;
    virtual RDOFolderPtr AllPublicFolders() const = 0;
    virtual std::vector<RDOStorePtr> All() const = 0;
};

/// What another process (or another session) changed.
struct StoreChange {
    enum Kind { New = 1, Changed = 2, Deleted = 3, Folder = 4 };
    Kind kind = Changed;
    EntryID object;
    EntryID folder;
};
struct StoreChanges {
    /// Too much was missed to name it: read everything anew.
    bool reloadAll = false;
    std::vector<StoreChange> changes;
    bool empty() const { return !reloadAll && changes.empty(); }
};

class RDOSession {
public:
    virtual ~RDOSession() = default;
    /// Logs on through a named profile; throws MAPI_E_LOGON_FAILED with the reason.
    virtual void Logon(std::string_view profile, std::string_view password, bool showDialog,
                       bool newSession, int parentWindow) = 0;
    /// Logs on to the mailbox of that alias on that server, without a stored profile.
    virtual void LogonExchangeMailbox(std::string_view alias, std::string_view server) = 0;
    virtual bool LoggedOn() const = 0;
    virtual void Logoff() = 0;
    virtual RDOStores& Stores() = 0;
    virtual RDOFolderPtr GetDefaultFolder(int number) = 0;
    virtual AddressBookPtr GetAddressBook() = 0;
    /// `storeID` may be empty: the logged-on mailbox's store. Throws MAPI_E_NOT_FOUND.
    virtual RDOMessagePtr GetMessageFromID(const EntryID& id, const EntryID& storeID) = 0;
    virtual RDOFolderPtr GetFolderFromID(const EntryID& id, const EntryID& storeID) = 0;
    virtual RDOStorePtr GetStoreFromID(const EntryID& id) = 0;
    /// Another mailbox by address, with the prefix "SMTP:".
    virtual RDOStorePtr GetSharedMailbox(std::string_view address) = 0;
    /// The address entry of the logged-on mailbox.
    virtual AddressEntryPtr CurrentUser() = 0;
    /// The library's version, for diagnostics.
    virtual std::string Version() const = 0;
    /// What others changed since the last call; cheap when nothing did (a few microseconds).
    virtual StoreChanges PollChanges() = 0;
    /// What the session listens to has gone (file removed, folder unmounted): false.
    virtual bool StillThere() = 0;
};
using RDOSessionPtr = std::shared_ptr<RDOSession>;

/// Profile administration (`ProfMan.Profiles`).
class MailProfile {
public:
    virtual ~MailProfile() = default;
    virtual std::string Name() const = 0;
    virtual bool HasService(std::string_view displayName) const = 0;
    virtual void AddService(std::string_view service, std::string_view displayName) = 0;
    /// Configures the last added service silently with a bag of properties.
    virtual void ConfigureService(const std::vector<std::pair<PropTag, Value>>& bag) = 0;
    /// The service's own profile section.
    virtual Value SectionField(PropTag tag) const = 0;
    virtual void SetSectionField(PropTag tag, const Value& value) = 0;
};
using MailProfilePtr = std::shared_ptr<MailProfile>;

class MailProfiles {
public:
    virtual ~MailProfiles() = default;
    /// nullptr when there is no such profile, ignoring case.
    virtual MailProfilePtr Item(std::string_view name) = 0;
    virtual MailProfilePtr Add(std::string_view name, bool isDefault) = 0;
};

/// Makes the library's objects by their names.
class StoreLibrary {
public:
    virtual ~StoreLibrary() = default;
    /// `KRHelper.RDOSession`; throws when the library can't be had.
    virtual RDOSessionPtr CreateSession() = 0;
    /// `ProfMan.Profiles`.
    virtual std::shared_ptr<MailProfiles> CreateProfiles() = 0;
};

} // namespace kr
