#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/store/Store.h"
#include "platform/store/sqlite/Connection.h"
#include "platform/store/sqlite/Ids.h"
#include "platform/store/sqlite/Names.h"

namespace kr::sqlite {

/// One store (mailbox or public folders) of the file.
struct StoreRow {
    int64_t id = 0;
    std::string guid; // 16 bytes
    bool isPublic = false;
    std::string ownerName;
    std::string address;
    int64_t root = 0;
    int64_t ipmRoot = 0;

    EntryID ID() const { return IdOf(StoreIdBytes(guid, isPublic)); }
    EntryID FolderID(int64_t folder) const { return IdOf(FolderIdBytes(guid, isPublic, folder)); }
    EntryID MessageID(int64_t message) const {
        return IdOf(MessageIdBytes(guid, isPublic, message));
    }
};
using StoreRef = std::shared_ptr<const StoreRow>;

/// An open store file: the connection, and in memory what rarely or never changes in it.
class StoreFile : public Connection {
public:
    /// Brings an older layout to the present one. Throws as Connection and CheckLayout do.
    explicit StoreFile(const std::string& path);

    /// All stores of the file, those first that were made first.
    std::vector<StoreRef> Stores();
    StoreRef StoreById(int64_t id);
    StoreRef StoreByGuid(std::string_view guid);
    /// The store that holds a folder; nullptr when there is no such folder.
    StoreRef StoreOfFolder(int64_t folder);
    StoreRef PublicStore();
    /// The mailbox of an alias, an address (with or without "SMTP:") or a distinguished name.
    StoreRef FindMailbox(std::string_view name);
    /// The mailbox of an address, also of a further one.
    StoreRef MailboxOfAddress(std::string_view address);

    /// The number of a message class, made when missing.
    int64_t ClassId(std::string_view name);
    const std::string& ClassName(int64_t id);

    Names& names() { return m_names; }

    /// The number that the next change gets; only within Write.
    int64_t NextChange();
    /// Adds a row to the log of changes and gives its number. `origin` tells sessions apart.
    int64_t LogChange(int64_t origin, StoreChange::Kind kind, int64_t object, int64_t folder);
    void KeepChanges(int64_t count) { m_kept = count; }
    /// Counts the changes made through this connection.
    uint64_t Logged() const { return m_logged; }

private:
    void forget();
    StoreRef find(const std::function<bool(const StoreRow&)>& wanted);
    void readStores();

    std::vector<StoreRef> m_stores;
    std::unordered_map<int64_t, StoreRef> m_folderStores;
    std::map<std::string, int64_t, std::less<>> m_classIds;
    std::unordered_map<int64_t, std::string> m_classNames;
    Names m_names{*this};
    uint64_t m_logged = 0;
    int64_t m_kept = 100'000; // rows of the log of changes
};

/// The default folder of that number in a store; 0 when it has none.
int64_t DefaultFolderId(StoreFile& file, int64_t store, int number);
/// A sub-folder; when the name exists, that one. `number` marks a default folder. Only within
/// Write. Throws MAPI_E_OBJECT_DELETED when the parent is gone.
int64_t AddFolder(StoreFile& file, int64_t origin, int64_t store, int64_t parent,
                  std::string_view name, std::string_view containerClass, int number = 0);
/// A folder without a parent.
int64_t AddRootFolder(StoreFile& file, int64_t store, std::string_view name);

} // namespace kr::sqlite
