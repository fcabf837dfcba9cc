#include "tests/support/World.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/Text.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/store/sqlite/SqliteStore.h"

namespace kr {

namespace {

constexpr std::string_view kPeopleDn = "/o=Example/ou=First/cn=Recipients/cn=";

NewAddressEntry person(std::string_view alias, std::string_view name) {
    NewAddressEntry entry;
    entry.dn = std::string(kPeopleDn) + std::string(alias);
    entry.name = name;
    entry.alias = alias;
    entry.smtp = std::string(alias) + "@example.test";
    entry.proxies = {"smtp:" + std::string(alias) + "@old.test"};
    return entry;
}

NewAddressEntry list(std::string_view name, int displayType) {
    NewAddressEntry entry = person(ToLower(name), name);
    entry.displayType = displayType;
    return entry;
}

} // namespace

World::World() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kr-world-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    registry = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
    makeOrganisation();
    store = MakeSqliteStore(*registry);
    events = MakeEpollEvents();
    shell.tempFolder = m_folder;
    platform =
        std::make_unique<Platform>(Platform{*store, *registry, ui, *events, services, directory,
                                            shell, database, http, secrets, clock});
    session = std::make_unique<AgentSession>(*platform, logPath());
}

World::~World() {
    session.reset();
    platform.reset();
    store.reset();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

void World::makeOrganisation() {
    Organisation::Create(storePath());
    Organisation org(storePath());
    org.Begin();
    org.AddMailbox(person("agentbox", "Agent Mailbox"));
    org.AddMailbox(person("alice", "Alice Adams"));
    org.AddMailbox(person("obrien", "Séan O'Brien"));
    org.AddMailbox(person("bob", "Bob Baker"));
    org.AddPublicStore("Public Folders");
    NewAddressEntry carol = person("carol", "Carol Contact");
    carol.displayType = 6;
    carol.smtp = "carol@partner.test";
    org.AddEntry(carol);
    org.AddEntry(list("Sales", 1));
    org.AddEntry(list("Nested", 1));
    org.AddEntry(list("Everybody", 3));
    const auto dn = [](std::string_view alias) {
        return std::string(kPeopleDn) + std::string(alias);
    };
    org.AddMember(dn("sales"), dn("alice"));
    org.AddMember(dn("sales"), dn("bob"));
    org.AddMember(dn("sales"), dn("nested"));
    org.AddMember(dn("nested"), dn("obrien"));
    org.AddMember(dn("nested"), dn("sales"));
    org.Commit();
    auto builder = org.OpenSession("agentbox");
    auto shared = builder->Stores().AllPublicFolders()->Folders()->Add("Shared", "IPF.Contact");
    shared->Folders()->Add("R & D", "IPF.Contact");

    RegValue path;
    path.type = RegType::Sz;
    path.text = storePath();
    registry->Write(Hive::LocalMachine, kStoresKey, "MAIL01", path);
    auto profile = MakeSqliteStore(*registry)->CreateProfiles()->Add("Agent Profile", true);
    profile->AddService("MSEMS", "Microsoft Exchange");
    profile->ConfigureService({{0x6607001E, "agentbox"}, {0x6608001E, "MAIL01"}});
}

std::string World::log() const {
    std::ifstream in(logPath());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void World::LogOn() {
    session->rdo = OtherSession();
    session->ExAlias = "agentbox";
    session->ExServer = "MAIL01";
    session->agentSMTP = "agentbox@example.test";
    session->publicStoreID = session->rdo->Stores().PublicStore()->ID();
}

void World::LogOnConfigured() {
    LogOn();
    auto root = session->rdo->Stores().DefaultStore()->RootFolder();
    session->agentInfo = root->Folders()->Add("zandrelAgentInfo");
    session->userInfo = session->agentInfo->Folders()->Add("zandrelUserInfo");
    auto message = session->agentInfo->Items()->Add("zandrel.Agent");
    message->SetSubject("zandrelAgent");
    message->Save();
    session->AgentMsgID = message->ID();
}

RDOSessionPtr World::OtherSession(std::string_view alias) {
    auto other = store->CreateSession();
    other->LogonExchangeMailbox(alias, "MAIL01");
    return other;
}

EntryID World::AddUserRecord(std::string_view email, std::string_view displayName) {
    auto record = session->userInfo->Items()->Add("zandrel.UserInfo");
    record->SetSubject(email);
    const auto tag = [&](std::string_view key, PropType type) {
        return record->GetIDsFromNames(PS_PUBLIC_STRINGS, key) | static_cast<PropTag>(type);
    };
    record->SetFields(tag("Email", PropType::String), email);
    record->SetFields(tag("DisplayName", PropType::String), displayName);
    record->SetFields(tag("TotalRequests", PropType::Long), Value(int32_t{0}));
    record->Save();
    return record->ID();
}

AddressEntryPtr World::Entry(std::string_view name) {
    auto book = session->rdo->GetAddressBook();
    for (const AddressRow& row : book->Search(name, 1))
        return book->GetAddressEntryFromID(row.id);
    return nullptr;
}

} // namespace kr
