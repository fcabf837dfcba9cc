#include "platform/store/sqlite/Organisation.h"

#include <sys/random.h>

#include "core/Text.h"
#include "platform/store/sqlite/Schema.h"
#include "platform/store/sqlite/Session.h"

namespace kr {

namespace {

using namespace sqlite;

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

std::string newGuid() {
    std::string guid(16, '\0');
    if (getrandom(guid.data(), guid.size(), 0) != static_cast<ssize_t>(guid.size()))
        throw PlatformError(MAPI_E_CALL_FAILED, "The system gives no random numbers.",
                            "Organisation");
    return guid;
}

} // namespace

struct Organisation::Impl {
    std::shared_ptr<StoreFile> file;

    int64_t addStore(bool isPublic, std::string_view name, std::string_view address,
                     std::string_view alias) {
        file->Sql("INSERT INTO store(guid,kind,owner_name,address,address_key,alias_key,root,"
                  "ipm_root) VALUES(?,?,?,?,?,?,0,0)")
            .BindBlob(1, newGuid())
            .Bind(2, isPublic ? 1 : 0)
            .Bind(3, name)
            .Bind(4, address)
            .Bind(5, Fold(address))
            .Bind(6, Fold(alias))
            .Run();
        const int64_t store = sqlite3_last_insert_rowid(file->db());
        const int64_t root = AddFolder(*file, store, 0, isPublic ? "Root" : "", "");
        const int64_t ipm = AddFolder(
            *file, store, root, isPublic ? "All Public Folders" : "Top of Information Store", "",
            isPublic ? static_cast<int>(DefaultFolder::AllPublicFolders) : 0);
        file->Sql("UPDATE store SET root=?,ipm_root=? WHERE id=?")
            .Bind(1, root)
            .Bind(2, ipm)
            .Bind(3, store)
            .Run();
        if (!isPublic)
            for (const DefaultFolderRow& row : kMailboxFolders)
                AddFolder(*file, store, ipm, row.name, row.containerClass,
                          static_cast<int>(row.number));
        file->ForgetStores();
        return store;
    }

    void addProxy(std::string_view proxy, int64_t entry) {
        file->Sql("INSERT OR IGNORE INTO ab_proxy VALUES(?,?)")
            .Bind(1, Fold(proxy))
            .Bind(2, entry)
            .Run();
    }

    std::string propsOf(const NewAddressEntry& entry, const Strings& proxies) {
        std::map<uint16_t, std::pair<PropTag, std::string>> sorted;
        const auto put = [&](PropTag tag, const Value& value) {
            sorted[PropId(tag)] = {MakeTag(PropId(tag), TypeOfValue(value)),
                                   EncodePayload(TypeOf(tag), value)};
        };
        if (!proxies.empty())
            put(PR_EMS_PROXY_ADDRESSES, proxies);
        if (!entry.alias.empty())
            put(PR_ACCOUNT, entry.alias);
        for (const auto& [tag, value] : entry.properties)
            put(tag, value);
        std::vector<RawProperty> raw;
        for (const auto& [id, property] : sorted)
            raw.push_back({property.first, property.second, false, 0});
        return WriteBlob(raw);
    }

    void addEntry(const NewAddressEntry& entry) {
        Strings proxies;
        if (!entry.smtp.empty())
            proxies.push_back("SMTP:" + entry.smtp);
        proxies.insert(proxies.end(), entry.proxies.begin(), entry.proxies.end());
        file->Sql("INSERT INTO ab_entry(dn,dn_key,display_type,name,name_key,alias_key,addrtype,"
                  "address,props) VALUES(?,?,?,?,?,?,'EX',?,?)")
            .Bind(1, entry.dn)
            .Bind(2, Fold(entry.dn))
            .Bind(3, entry.displayType)
            .Bind(4, entry.name)
            .Bind(5, Fold(entry.name))
            .Bind(6, Fold(entry.alias))
            .Bind(7, entry.smtp)
            .BindBlob(8, propsOf(entry, proxies))
            .Run();
        const int64_t id = sqlite3_last_insert_rowid(file->db());
        for (const std::string& proxy : proxies)
            addProxy(proxy, id);
    }

    int64_t entryOf(std::string_view dn) {
        Use row(file->Sql("SELECT id FROM ab_entry WHERE dn_key=?"));
        row->Bind(1, Fold(dn));
        if (!row->Step())
            throw PlatformError(MAPI_E_NOT_FOUND, "There is no address entry " + std::string(dn),
                                "Organisation");
        return row->Integer(0);
    }
};

void Organisation::Create(const std::string& path) { StoreFile::Create(path); }

Organisation::Organisation(const std::string& path) : m_impl(std::make_unique<Impl>()) {
    m_impl->file = StoreFile::Open(path);
}

Organisation::~Organisation() = default;

void Organisation::AddMailbox(const NewAddressEntry& owner) {
    m_impl->file->Write([&] {
        m_impl->addStore(false, owner.name, owner.smtp, owner.alias);
        m_impl->addEntry(owner);
    });
}

void Organisation::AddPublicStore(std::string_view name) {
    m_impl->file->Write([&] { m_impl->addStore(true, name, "", ""); });
}

void Organisation::AddEntry(const NewAddressEntry& entry) {
    m_impl->file->Write([&] { m_impl->addEntry(entry); });
}

void Organisation::AddMember(std::string_view listDn, std::string_view memberDn) {
    m_impl->file->Write([&] {
        m_impl->file
            ->Sql("INSERT INTO ab_member SELECT ?1, coalesce(max(n),0)+1, ?2 FROM ab_member "
                  "WHERE list=?1")
            .Bind(1, m_impl->entryOf(listDn))
            .Bind(2, m_impl->entryOf(memberDn))
            .Run();
    });
}

void Organisation::Begin() { m_impl->file->Begin(); }
void Organisation::Commit() { m_impl->file->Commit(); }

RDOSessionPtr Organisation::OpenSession(std::string_view alias) {
    return SessionOn(m_impl->file, alias);
}

std::vector<std::string> Organisation::Check() { return CheckStore(m_impl->file->db()); }

} // namespace kr
