#include "platform/store/sqlite/StoreFile.h"

#include <algorithm>

#include "core/Text.h"
#include "platform/store/sqlite/Blob.h"
#include "platform/store/sqlite/Index.h"
#include "platform/store/sqlite/Schema.h"

namespace kr::sqlite {

namespace {

/// So many times the log is pruned while it is written anew once.
constexpr int64_t kPrunings = 100;

} // namespace

StoreFile::StoreFile(const std::string& path) : Connection(path) {
    OnRollback([this] { forget(); });
    CheckLayout(db(), path);
    if (!IndexIsCurrent(*this))
        RebuildIndex(*this);
}

void StoreFile::forget() {
    m_stores.clear();
    m_folderStores.clear();
    m_classIds.clear();
    m_classNames.clear();
    m_names.Forget();
}

void StoreFile::readStores() {
    m_stores.clear();
    Use rows = Query("SELECT id,guid,kind,owner_name,address,root,ipm_root FROM store ORDER BY id");
    while (rows->Step())
        m_stores.push_back(std::make_shared<StoreRow>(
            StoreRow{rows->Integer(0), std::string(rows->Text(1)), rows->Integer(2) == 1,
                     std::string(rows->Text(3)), std::string(rows->Text(4)), rows->Integer(5),
                     rows->Integer(6)}));
}

std::vector<StoreRef> StoreFile::Stores() {
    readStores();
    return m_stores;
}

/// Stores don't change once they are there; what isn't known may have been added meanwhile.
StoreRef StoreFile::find(const std::function<bool(const StoreRow&)>& wanted) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto it = std::ranges::find_if(m_stores, [&](const auto& s) { return wanted(*s); });
        if (it != m_stores.end())
            return *it;
        if (attempt == 0)
            readStores();
    }
    return nullptr;
}

StoreRef StoreFile::StoreById(int64_t id) {
    const auto it = std::ranges::lower_bound(m_stores, id, {}, [](const auto& s) { return s->id; });
    if (it != m_stores.end() && (*it)->id == id)
        return *it;
    return find([&](const StoreRow& store) { return store.id == id; });
}

StoreRef StoreFile::StoreByGuid(std::string_view guid) {
    return find([&](const StoreRow& store) { return store.guid == guid; });
}

StoreRef StoreFile::PublicStore() {
    return find([](const StoreRow& store) { return store.isPublic; });
}

StoreRef StoreFile::StoreOfFolder(int64_t folder) {
    if (const auto it = m_folderStores.find(folder); it != m_folderStores.end())
        return it->second;
    const int64_t id = Number(0, "SELECT store FROM folder WHERE id=?", folder);
    return id == 0 ? nullptr : m_folderStores[folder] = StoreById(id);
}

StoreRef StoreFile::MailboxOfAddress(std::string_view address) {
    const std::string key = Fold(address);
    int64_t id = Number(0, "SELECT id FROM store WHERE address_key=? AND kind=0", key);
    if (id == 0)
        id = Number(0,
                    "SELECT s.id FROM ab_proxy p JOIN ab_entry e ON e.id=p.entry "
                    "JOIN store s ON s.alias_key=e.alias_key WHERE p.key=? AND e.display_type=0",
                    "smtp:" + key);
    return id == 0 ? nullptr : StoreById(id);
}

StoreRef StoreFile::FindMailbox(std::string_view name) {
    std::string key = Fold(name);
    if (key.starts_with("smtp:"))
        return MailboxOfAddress(key.substr(5));
    int64_t id = Number(0, "SELECT id FROM store WHERE alias_key=?", key);
    if (id == 0)
        id = Number(0,
                    "SELECT s.id FROM ab_entry e JOIN store s ON s.alias_key=e.alias_key "
                    "WHERE e.dn_key=?",
                    key);
    return id == 0 ? MailboxOfAddress(key) : StoreById(id);
}

int64_t StoreFile::ClassId(std::string_view name) {
    if (const auto it = m_classIds.find(name); it != m_classIds.end())
        return it->second;
    Run("INSERT OR IGNORE INTO msg_class(name) VALUES(?)", name);
    const int64_t id = Number(0, "SELECT id FROM msg_class WHERE name=?", name);
    m_classIds.emplace(name, id);
    return id;
}

const std::string& StoreFile::ClassName(int64_t id) {
    if (const auto it = m_classNames.find(id); it != m_classNames.end())
        return it->second;
    std::string name;
    {
        Use row = Query("SELECT name FROM msg_class WHERE id=?", id);
        if (row->Step())
            name = row->Text(0);
    }
    return m_classNames[id] = std::move(name);
}

int64_t StoreFile::NextChange() { return Number(0, "SELECT max(cn) FROM change") + 1; }

int64_t StoreFile::LogChange(int64_t origin, StoreChange::Kind kind, int64_t object,
                             int64_t folder) {
    Run("INSERT INTO change(kind,object,folder,origin) VALUES(?,?,?,?)", static_cast<int>(kind),
        object, folder, origin);
    ++m_logged;
    const int64_t cn = sqlite3_last_insert_rowid(db());
    if (cn % std::max<int64_t>(m_kept / kPrunings, 1) == 0)
        Run("DELETE FROM change WHERE cn<=?", cn - m_kept);
    return cn;
}

int64_t DefaultFolderId(StoreFile& file, int64_t store, int number) {
    return number == 0
               ? 0
               : file.Number(0, "SELECT id FROM folder WHERE store=? AND number=?", store, number);
}

namespace {

int64_t insertFolder(StoreFile& file, int64_t store, int64_t parent, std::string_view name,
                     std::string_view key, std::string_view containerClass, int number) {
    file.Run("INSERT INTO folder(store,parent,name,name_key,class,number,cn,props) "
             "VALUES(?,?,?,?,?,?,?,?)",
             store, parent, name, key, containerClass, number, file.NextChange(), Blob{kEmptyBlob});
    const int64_t id = sqlite3_last_insert_rowid(file.db());
    if (id >= kMostFolders)
        throw PlatformError(MAPI_E_NO_ACCESS, "The store file has no room for another folder.",
                            "MessageStore");
    return id;
}

} // namespace

int64_t AddFolder(StoreFile& file, int64_t origin, int64_t store, int64_t parent,
                  std::string_view name, std::string_view containerClass, int number) {
    const std::string key = Fold(name);
    if (const int64_t id =
            file.Number(0, "SELECT id FROM folder WHERE parent=? AND name_key=?", parent, key))
        return id;
    if (file.Number(0, "SELECT 1 FROM folder WHERE id=?", parent) == 0)
        throw PlatformError(MAPI_E_OBJECT_DELETED, "The folder has been deleted.", "RDOFolders");
    const int64_t id = insertFolder(file, store, parent, name, key, containerClass, number);
    file.LogChange(origin, StoreChange::Folder, id, parent);
    return id;
}

int64_t AddRootFolder(StoreFile& file, int64_t store, std::string_view name) {
    // roots have no siblings: the store tells them apart
    return insertFolder(file, store, 0, name, std::to_string(store), "", 0);
}

} // namespace kr::sqlite
