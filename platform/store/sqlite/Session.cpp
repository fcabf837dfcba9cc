#include "platform/store/sqlite/Session.h"

#include <random>

#include "core/Text.h"
#include "platform/store/sqlite/SqliteStore.h"
#include "platform/store/sqlite/TestSwitches.h"

namespace kr::sqlite {

namespace {

[[noreturn]] void refuse(const std::string& why) {
    throw PlatformError(MAPI_E_LOGON_FAILED, why, "RDOSession");
}

[[noreturn]] void notFound(const char* what) {
    throw PlatformError(MAPI_E_NOT_FOUND, what, "RDOSession");
}

/// The mailbox of an alias, an address (with or without "SMTP:") or a distinguished name.
int64_t findMailbox(StoreFile& file, std::string_view name) {
    std::string key = Fold(name);
    if (key.starts_with("smtp:"))
        key = key.substr(5);
    if (const size_t cn = key.rfind("/cn="); cn != std::string::npos)
        key = key.substr(cn + 4);
    Use row(file.Sql("SELECT id FROM store WHERE kind=0 AND (address_key=?1 OR alias_key=?1)"));
    row->Bind(1, key);
    return row->Step() ? row->Integer(0) : 0;
}

class Stores : public RDOStores {
public:
    explicit Stores(SessionPtr session) : m_session(std::move(session)) {}
    RDOStorePtr DefaultStore() const override { return OpenStore(m_session, m_session->mailbox); }
    RDOStorePtr PublicStore() const override {
        for (const StoreRow& row : m_session->file->Stores())
            if (row.isPublic)
                return OpenStore(m_session, row.id);
        notFound("The organisation has no public folders.");
    }
    RDOFolderPtr AllPublicFolders() const override { return PublicStore()->IPMRootFolder(); }
    std::vector<RDOStorePtr> All() const override {
        std::vector<RDOStorePtr> all{DefaultStore()};
        for (const StoreRow& row : m_session->file->Stores())
            if (row.isPublic)
                all.push_back(OpenStore(m_session, row.id));
        return all;
    }

private:
    SessionPtr m_session;
};

class Session : public RDOSession {
public:
    explicit Session(Registry* registry) : m_registry(registry) {}

    void Open(std::shared_ptr<StoreFile> file, std::string_view mailbox) {
        const int64_t store = findMailbox(*file, mailbox);
        if (store == 0)
            refuse("There is no mailbox named " + std::string(mailbox) + " on this server.");
        auto state = std::make_shared<SessionState>();
        std::random_device random;
        state->number = static_cast<uint64_t>(random()) << 32 | random();
        state->mailbox = store;
        state->address = file->StoreById(store)->address;
        state->file = std::move(file);
        m_state = state;
        m_stores = std::make_unique<sqlite::Stores>(m_state);
    }

    void Logon(std::string_view profile, std::string_view, bool, bool, int) override {
        const auto logon = ReadProfile(*m_registry, profile);
        if (!logon)
            refuse("There is no mail profile named " + std::string(profile) + ".");
        if (logon->mailbox.empty() || logon->server.empty())
            refuse("The mail profile " + std::string(profile) + " names no mailbox and server.");
        LogonExchangeMailbox(logon->mailbox, logon->server);
    }

    void LogonExchangeMailbox(std::string_view alias, std::string_view server) override {
        Logoff();
        const auto path = m_registry->Read(Hive::LocalMachine, kStoresKey, server);
        if (!path || path->text.empty())
            refuse("The server " + std::string(server) +
                   " is not known. The name could not be resolved.");
        try {
            Open(StoreFile::Open(path->text), alias);
        } catch (const PlatformError& e) {
            if (e.number() == MAPI_E_LOGON_FAILED)
                throw;
            refuse("The server " + std::string(server) + " is not available. " + e.description());
        }
    }

    bool LoggedOn() const override { return m_state != nullptr; }
    void Logoff() override {
        m_stores.reset();
        m_state.reset();
    }
    RDOStores& Stores() override {
        state();
        return *m_stores;
    }

    RDOFolderPtr GetDefaultFolder(int number) override {
        state();
        if (number == static_cast<int>(DefaultFolder::AllPublicFolders))
            return m_stores->AllPublicFolders();
        return m_stores->DefaultStore()->GetDefaultFolder(number);
    }
    AddressBookPtr GetAddressBook() override { return OpenAddressBook(state()); }

    RDOMessagePtr GetMessageFromID(const EntryID& id, const EntryID& storeID) override {
        return OpenMessage(state(), find(id, storeID, ObjectId::Message));
    }
    RDOFolderPtr GetFolderFromID(const EntryID& id, const EntryID& storeID) override {
        return OpenFolder(state(), find(id, storeID, ObjectId::Folder));
    }
    RDOStorePtr GetStoreFromID(const EntryID& id) override {
        const auto object = ReadId(id, state()->number);
        const StoreRow* row = object && object->kind == ObjectId::Store
                                  ? state()->file->StoreByGuid(object->guid)
                                  : nullptr;
        if (!row)
            notFound("The store could not be found.");
        return OpenStore(state(), row->id);
    }
    RDOStorePtr GetSharedMailbox(std::string_view address) override {
        const int64_t store = findMailbox(*state()->file, address);
        if (store == 0)
            notFound("There is no mailbox of that address.");
        return OpenStore(state(), store);
    }
    AddressEntryPtr CurrentUser() override {
        const std::string address = state()->address;
        for (const AddressRow& row : OpenAddressBook(state())->Search(address, 50))
            if (EqualNoCase(row.smtp, address))
                return OpenAddressBook(state())->GetAddressEntryFromID(row.id);
        notFound("The mailbox has no address entry.");
    }
    std::string Version() const override {
        return std::string("embedded store 1 (SQLite ") + sqlite3_libversion() + ")";
    }

    StoreChanges PollChanges() override {
        StoreChanges changes;
        StoreFile& file = *state()->file;
        for (const auto& change : file.PollChanges(changes.reloadAll))
            changes.changes.push_back(describe(file, change));
        return changes;
    }
    bool StillThere() override { return m_state && m_state->file->StillThere(); }

    /// What all objects of the session share; throws before the logon.
    const SessionPtr& State() const { return state(); }

private:
    const SessionPtr& state() const {
        if (!m_state)
            throw PlatformError(MAPI_E_CALL_FAILED, "The session is not logged on.", "RDOSession");
        return m_state;
    }

    /// The object's row; without a store id, that of the logged-on mailbox is meant.
    int64_t find(const EntryID& id, const EntryID& storeID, ObjectId::Kind kind) const {
        const auto object = ReadId(id, state()->number);
        if (!object || object->kind != kind)
            notFound("The item could not be found.");
        StoreFile& file = *m_state->file;
        int64_t wanted = m_state->mailbox;
        if (!storeID.empty()) {
            const auto store = ReadId(storeID, m_state->number);
            const StoreRow* row = store ? file.StoreByGuid(store->guid) : nullptr;
            if (!row)
                notFound("The store could not be found.");
            wanted = row->id;
        }
        const int64_t folder =
            kind == ObjectId::Folder ? object->object : MessageFolder(object->object);
        const int64_t holds = folder == 0 ? wanted : file.StoreOfFolder(folder);
        const StoreRow* row = file.StoreById(holds);
        const bool foreign = row && !object->guid.empty() && row->guid != object->guid;
        if (!row || foreign || holds != wanted)
            notFound("The item could not be found.");
        return object->object;
    }

    static StoreChange describe(StoreFile& file, const StoreFile::RawChange& change) {
        StoreChange out;
        out.kind = change.kind;
        const bool isFolder = change.kind == StoreChange::Folder;
        const StoreRow* store =
            file.StoreById(file.StoreOfFolder(isFolder ? change.object : change.folder));
        if (!store)
            return out;
        out.object = isFolder ? FolderId(store->guid, store->isPublic, change.object)
                              : MessageId(store->guid, store->isPublic, change.object);
        out.folder = FolderId(store->guid, store->isPublic, change.folder);
        return out;
    }

    Registry* m_registry;
    SessionPtr m_state;
    std::unique_ptr<sqlite::Stores> m_stores;
};

class Library : public StoreLibrary {
public:
    explicit Library(Registry& registry) : m_registry(registry) {}
    RDOSessionPtr CreateSession() override { return NewSession(m_registry); }
    std::shared_ptr<MailProfiles> CreateProfiles() override { return OpenProfiles(m_registry); }

private:
    Registry& m_registry;
};

SessionState& stateOf(RDOSession& session) { return *dynamic_cast<Session&>(session).State(); }

} // namespace

void CutTableTexts(RDOSession& session, size_t bytes) { stateOf(session).cutTexts = bytes; }
void KeepChanges(RDOSession& session, int64_t count) { stateOf(session).file->KeepChanges(count); }

RDOSessionPtr SessionOn(std::shared_ptr<StoreFile> file, std::string_view alias) {
    auto session = std::make_shared<Session>(nullptr);
    session->Open(std::move(file), alias);
    return session;
}

RDOSessionPtr NewSession(Registry& registry) { return std::make_shared<Session>(&registry); }

} // namespace kr::sqlite

namespace kr {

std::unique_ptr<StoreLibrary> MakeSqliteStore(Registry& registry) {
    return std::make_unique<sqlite::Library>(registry);
}

} // namespace kr
