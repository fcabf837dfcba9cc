#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/AddressBook.h"
#include "platform/store/Folders.h"
#include "platform/store/Messages.h"

namespace kr {

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

} // namespace kr
