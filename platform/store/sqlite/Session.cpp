#include "platform/store/sqlite/Session.h"

#include "core/Text.h"
#include "platform/store/sqlite/AddressEntries.h"
#include "platform/store/sqlite/ChangeListener.h"
#include "platform/store/sqlite/SqliteStore.h"
#include "platform/store/sqlite/TestSwitches.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOSession";

class Stores : public RDOStores {
public:
    explicit Stores(SessionPtr session) : m_session(std::move(session)) {}
    RDOStorePtr DefaultStore() const override { return OpenStore(m_session, m_session->mailbox()); }
    RDOStorePtr PublicStore() const override {
        const StoreRef store = m_session->file().PublicStore();
        if (!store)
            Refuse(MAPI_E_NOT_FOUND, "The organisation has no public folders.", kSource);
        return OpenStore(m_session, store);
    }
    RDOFolderPtr AllPublicFolders() const override { return PublicStore()->IPMRootFolder(); }
    std::vector<RDOStorePtr> All() const override {
        std::vector<RDOStorePtr> all{DefaultStore()};
        if (const StoreRef store = m_session->file().PublicStore())
            all.push_back(OpenStore(m_session, store));
        return all;
    }

private:
    SessionPtr m_session;
};

class Session : public RDOSession {
public:
    explicit Session(Registry* registry) : m_registry(registry) {}

    void Open(std::shared_ptr<StoreFile> file, std::string_view mailbox);

    void Logon(std::string_view profile, std::string_view password, bool showDialog,
               bool newSession, int parentWindow) override;
    void LogonExchangeMailbox(std::string_view alias, std::string_view server) override;
    bool LoggedOn() const override { return m_state != nullptr; }
    void Logoff() override {
        if (m_state)
            m_state->Close();
        m_listener.reset();
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
        return OpenStore(state(), storeOf(id));
    }
    RDOStorePtr GetSharedMailbox(std::string_view address) override {
        const std::string plain(StartsWithNoCase(address, "smtp:") ? address.substr(5) : address);
        const StoreRef store = state()->file().MailboxOfAddress(plain);
        if (!store)
            Refuse(MAPI_E_NOT_FOUND, "There is no mailbox with the address " + plain + ".",
                   kSource);
        return OpenStore(state(), store);
    }
    AddressEntryPtr CurrentUser() override;
    std::string Version() const override {
        return std::string("Embedded store 1 (SQLite ") + sqlite3_libversion() + ")";
    }
    StoreChanges PollChanges() override {
        state();
        return m_listener->Poll();
    }
    /// Throws before the logon.
    const SessionPtr& State() const { return state(); }
    bool StillThere() override { return m_state && m_state->file().StillThere(); }

private:
    const SessionPtr& state() const {
        if (!m_state)
            Refuse(MAPI_E_CALL_FAILED, "The session is not logged on.", kSource);
        return m_state;
    }
    StoreRef storeOf(const EntryID& id) const;
    int64_t find(const EntryID& id, const EntryID& storeID, ObjectId::Kind kind) const;

    Registry* m_registry;
    SessionPtr m_state;
    std::unique_ptr<sqlite::Stores> m_stores;
    std::unique_ptr<ChangeListener> m_listener;
};

[[noreturn]] void refuseLogon(const std::string& why) { Refuse(MAPI_E_LOGON_FAILED, why, kSource); }

void Session::Open(std::shared_ptr<StoreFile> file, std::string_view mailbox) {
    const StoreRef store = file->FindMailbox(mailbox);
    if (!store || store->isPublic)
        refuseLogon("There is no mailbox named " + std::string(mailbox) + " on this server.");
    m_state = std::make_shared<SessionState>(std::move(file), store);
    m_stores = std::make_unique<sqlite::Stores>(m_state);
    m_listener = std::make_unique<ChangeListener>(m_state);
}

void Session::Logon(std::string_view profile, std::string_view, bool, bool, int) {
    const auto logon = ReadProfile(*m_registry, profile);
    if (!logon)
        refuseLogon("There is no mail profile named " + std::string(profile) + ".");
    if (logon->mailbox.empty() || logon->server.empty())
        refuseLogon("The mail profile " + std::string(profile) + " names no mailbox or no server.");
    LogonExchangeMailbox(logon->mailbox, logon->server);
}

void Session::LogonExchangeMailbox(std::string_view alias, std::string_view server) {
    Logoff();
    if (!m_registry)
        refuseLogon("This session knows no servers.");
    if (alias.empty() || server.empty())
        refuseLogon("A logon needs the alias of a mailbox and the name of a server.");
    const auto path = m_registry->Read(Hive::LocalMachine, kStoresKey, server);
    if (!path || path->text.empty())
        refuseLogon("The server " + std::string(server) +
                    " is not known. The name could not be resolved.");
    try {
        Open(std::make_shared<StoreFile>(path->text), alias);
    } catch (const PlatformError& e) {
        if (e.number() == MAPI_E_LOGON_FAILED)
            throw;
        refuseLogon("The server " + std::string(server) + " is not available. " + e.description());
    }
}

AddressEntryPtr Session::CurrentUser() {
    StoreFile& file = state()->file();
    const StoreRef mailbox = m_state->mailbox();
    const int64_t entry = file.Number(
        0,
        "SELECT e.id FROM store s JOIN ab_entry e ON e.alias_key=s.alias_key WHERE s.id=? "
        "ORDER BY e.display_type,e.id LIMIT 1",
        mailbox->id);
    if (entry == 0)
        Refuse(MAPI_E_NOT_FOUND, "The mailbox has no address entry.", kSource);
    return OpenEntry(m_state, entry);
}

StoreRef Session::storeOf(const EntryID& id) const {
    const auto object = ReadId(id);
    const StoreRef store = object && object->kind == ObjectId::Store
                               ? state()->file().StoreByGuid(object->guid)
                               : nullptr;
    if (!store)
        Refuse(MAPI_E_NOT_FOUND, "The store could not be found.", kSource);
    return store;
}

/// The row that an id names; an id of another store than the one asked is not found in it.
int64_t Session::find(const EntryID& id, const EntryID& storeID, ObjectId::Kind kind) const {
    const auto object = state()->Read(id);
    const StoreRef wanted = storeID.empty() ? m_state->mailbox() : storeOf(storeID);
    if (!object || object->kind != kind || object->guid != wanted->guid)
        Refuse(MAPI_E_NOT_FOUND,
               std::string("The ") + (kind == ObjectId::Folder ? "folder" : "message") +
                   " could not be found.",
               kSource);
    const int64_t folder =
        kind == ObjectId::Folder ? object->object : MessageFolder(object->object);
    const StoreRef holder = m_state->file().StoreOfFolder(folder);
    if (!holder || holder->id != wanted->id)
        Refuse(MAPI_E_NOT_FOUND, "The folder could not be found.", kSource);
    return object->object;
}

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

void CutTableTexts(RDOSession& session, size_t count) { stateOf(session).cutTexts = count; }
void KeepChanges(RDOSession& session, int64_t count) { stateOf(session).file().KeepChanges(count); }

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
