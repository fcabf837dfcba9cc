#include "platform/store/sqlite/Organisation.h"

#include "core/Text.h"
#include "platform/store/sqlite/Check.h"
#include "platform/store/sqlite/PropertyBag.h"
#include "platform/store/sqlite/Random.h"
#include "platform/store/sqlite/Schema.h"
#include "platform/store/sqlite/Session.h"

namespace kr {

namespace {

using namespace sqlite;

constexpr const char* kSource = "Organisation";
constexpr int64_t kNobody = 0; // origin of changes that no session made

struct DefaultFolderRow {
    DefaultFolder number;
    std::string_view name;
    std::string_view containerClass;
};
constexpr DefaultFolderRow kMailboxFolders[] = {
    {DefaultFolder::DeletedItems, "Deleted Items", "IPF.Note"},
    {DefaultFolder::Outbox, "Outbox", "IPF.Note"},
    {DefaultFolder::SentMail, "Sent Items", "IPF.Note"},
    {DefaultFolder::Inbox, "Inbox", "IPF.Note"},
    {DefaultFolder::Calendar, "Calendar", "IPF.Appointment"},
    {DefaultFolder::Contacts, "Contacts", "IPF.Contact"},
    {DefaultFolder::Journal, "Journal", "IPF.Journal"},
    {DefaultFolder::Notes, "Notes", "IPF.StickyNote"},
    {DefaultFolder::Tasks, "Tasks", "IPF.Task"},
    {DefaultFolder::Drafts, "Drafts", "IPF.Note"},
};

std::optional<std::string> keyOf(std::string_view text) {
    return text.empty() ? std::nullopt : std::optional(Fold(text));
}

int64_t addStore(StoreFile& file, bool isPublic, std::string_view name, std::string_view address,
                 std::string_view alias) {
    file.Run("INSERT INTO store(guid,kind,owner_name,address,address_key,alias_key,root,ipm_root,"
             "props) VALUES(?,?,?,?,?,?,0,0,?)",
             Blob{RandomBytes(16)}, isPublic ? 1 : 0, name, address, keyOf(address), keyOf(alias),
             Blob{kEmptyBlob});
    const int64_t store = sqlite3_last_insert_rowid(file.db());
    const int64_t root = AddRootFolder(file, store, isPublic ? "Public Root" : "Root");
    const int64_t ipm = AddFolder(file, kNobody, store, root,
                                  isPublic ? "All Public Folders" : "Top of Information Store", "",
                                  isPublic ? static_cast<int>(DefaultFolder::AllPublicFolders) : 0);
    file.Run("UPDATE store SET root=?,ipm_root=? WHERE id=?", root, ipm, store);
    if (!isPublic)
        for (const DefaultFolderRow& row : kMailboxFolders)
            AddFolder(file, kNobody, store, ipm, row.name, row.containerClass,
                      static_cast<int>(row.number));
    return store;
}

std::string propsOf(const NewAddressEntry& entry, const Strings& proxies) {
    PropertyBag bag;
    if (!proxies.empty())
        bag.Set(PR_EMS_PROXY_ADDRESSES, proxies);
    if (!entry.alias.empty())
        bag.Set(PR_ACCOUNT, entry.alias);
    for (const auto& [tag, value] : entry.properties)
        bag.Set(tag, value);
    return MergeChanges(kEmptyBlob, bag.Changes(), false);
}

void addEntry(StoreFile& file, const NewAddressEntry& entry) {
    const std::string dnKey = Fold(entry.dn);
    if (entry.dn.empty() || file.Number(0, "SELECT 1 FROM ab_entry WHERE dn_key=?", dnKey) != 0)
        Refuse(MAPI_E_COLLISION, "There is an address entry " + entry.dn + " already.", kSource);
    Strings proxies;
    if (!entry.smtp.empty())
        proxies.push_back("SMTP:" + entry.smtp); // upper-case marks the primary address
    proxies.insert(proxies.end(), entry.proxies.begin(), entry.proxies.end());
    file.Run("INSERT INTO ab_entry(dn,dn_key,display_type,name,name_key,alias_key,addrtype,address,"
             "props) VALUES(?,?,?,?,?,?,'EX',?,?)",
             entry.dn, dnKey, entry.displayType, entry.name, Fold(entry.name), Fold(entry.alias),
             entry.smtp, Blob{propsOf(entry, proxies)});
    const int64_t id = sqlite3_last_insert_rowid(file.db());
    for (const std::string& proxy : proxies)
        file.Run("INSERT OR IGNORE INTO ab_proxy(key,entry) VALUES(?,?)", Fold(Trim(proxy)), id);
}

int64_t entryOf(StoreFile& file, std::string_view dn) {
    const int64_t id = file.Number(0, "SELECT id FROM ab_entry WHERE dn_key=?", Fold(dn));
    if (id == 0)
        Refuse(MAPI_E_NOT_FOUND, "There is no address entry " + std::string(dn) + ".", kSource);
    return id;
}

} // namespace

struct Organisation::Impl {
    explicit Impl(const std::string& path) : file(std::make_shared<StoreFile>(path)) {}
    /// What was begun and not committed is undone, also when sessions live on.
    ~Impl() { file->Rollback(); }
    std::shared_ptr<StoreFile> file;
};

void Organisation::Create(const std::string& path) { CreateStoreFile(path); }

Organisation::Organisation(const std::string& path) : m_impl(std::make_unique<Impl>(path)) {}

Organisation::~Organisation() = default;

void Organisation::AddMailbox(const NewAddressEntry& owner) {
    StoreFile& file = *m_impl->file;
    file.Write([&] {
        if (file.Number(0, "SELECT 1 FROM store WHERE alias_key=?1 OR address_key=?2",
                        Fold(owner.alias), Fold(owner.smtp)) != 0)
            Refuse(MAPI_E_COLLISION,
                   "There is a mailbox " + owner.alias + " <" + owner.smtp + "> already.", kSource);
        addStore(file, false, owner.name, owner.smtp, owner.alias);
        addEntry(file, owner);
    });
}

void Organisation::AddPublicStore(std::string_view name) {
    StoreFile& file = *m_impl->file;
    file.Write([&] {
        if (file.PublicStore())
            Refuse(MAPI_E_COLLISION, "The organisation has public folders already.", kSource);
        addStore(file, true, name, "", "");
    });
}

void Organisation::AddEntry(const NewAddressEntry& entry) {
    m_impl->file->Write([&] { addEntry(*m_impl->file, entry); });
}

void Organisation::AddMember(std::string_view listDn, std::string_view memberDn) {
    StoreFile& file = *m_impl->file;
    file.Write([&] {
        const int64_t list = entryOf(file, listDn);
        file.Run("INSERT INTO ab_member(list,n,member) VALUES(?,?,?)", list,
                 file.Number(0, "SELECT max(n) FROM ab_member WHERE list=?", list) + 1,
                 entryOf(file, memberDn));
    });
}

void Organisation::Begin() { m_impl->file->Begin(); }
void Organisation::Commit() { m_impl->file->Commit(); }

RDOSessionPtr Organisation::OpenSession(std::string_view alias) {
    return SessionOn(m_impl->file, alias);
}

std::vector<std::string> Organisation::Check() { return CheckStore(*m_impl->file); }

} // namespace kr
