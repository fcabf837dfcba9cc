#include <gtest/gtest.h>

#include "core/Keys.h"
#include "core/Text.h"
#include "core/basEntryID.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class StoreLayer : public ::testing::Test {
protected:
    void SetUp() override { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr add(RDOFolder& folder, std::string_view messageClass, std::string_view subject) {
        auto message = folder.Items()->Add(messageClass);
        message->SetSubject(subject);
        message->Save();
        return message;
    }
    std::string idsOf(std::initializer_list<std::string_view> names) {
        Strings ids;
        for (const auto name : names)
            ids.push_back(world.Entry(name)->ID().text());
        return Join(ids, ";");
    }
    World world;
};

TEST_F(StoreLayer, APublicMessageOpensAtTheSecondTry) {
    auto shared = session().rdo->Stores().AllPublicFolders()->Folders()->Item("Shared");
    auto message = add(*shared, "IPM.Contact", "public");
    session().publicStoreID = {};
    auto opened = GetMessage(session(), message->ID());
    ASSERT_NE(nullptr, opened);
    EXPECT_EQ("public", opened->Subject());
    EXPECT_FALSE(session().publicStoreID.empty());
    ASSERT_NE(nullptr, GetFolder(session(), shared->ID()));
    EXPECT_EQ("Shared", GetFolder(session(), shared->ID())->Name());
}

TEST_F(StoreLayer, WhatIsNotThereGivesNothing) {
    auto message = add(*session().agentInfo, "X", "x");
    const EntryID id = message->ID();
    message->Delete();
    EXPECT_EQ(nullptr, GetMessage(session(), id));
    EXPECT_EQ(nullptr, GetMessage(session(), EntryID()));
    EXPECT_EQ(nullptr, GetMessage(session(), EntryID("no id at all")));
    EXPECT_EQ(nullptr, GetFolder(session(), id));
    session().rdo.reset();
    EXPECT_EQ(nullptr, GetMessage(session(), session().AgentMsgID));
}

/// A session that opens another message than the one asked for, as a foreign store can.
class WrongSession : public RDOSession {
public:
    WrongSession(RDOSessionPtr real, EntryID always) : m_real(std::move(real)), m_always(always) {}
    int tries = 0;
    void Logon(std::string_view, std::string_view, bool, bool, int) override {}
    void LogonExchangeMailbox(std::string_view, std::string_view) override {}
    bool LoggedOn() const override { return true; }
    void Logoff() override {}
    RDOStores& Stores() override { return m_real->Stores(); }
    RDOFolderPtr GetDefaultFolder(int n) override { return m_real->GetDefaultFolder(n); }
    AddressBookPtr GetAddressBook() override { return m_real->GetAddressBook(); }
    RDOMessagePtr GetMessageFromID(const EntryID&, const EntryID&) override {
        ++tries;
        return m_real->GetMessageFromID(m_always, {});
    }
    RDOFolderPtr GetFolderFromID(const EntryID& a, const EntryID& b) override {
        return m_real->GetFolderFromID(a, b);
    }
    RDOStorePtr GetStoreFromID(const EntryID& a) override { return m_real->GetStoreFromID(a); }
    RDOStorePtr GetSharedMailbox(std::string_view a) override {
        return m_real->GetSharedMailbox(a);
    }
    AddressEntryPtr CurrentUser() override { return m_real->CurrentUser(); }
    std::string Version() const override { return "wrong"; }
    StoreChanges PollChanges() override { return {}; }
    bool StillThere() override { return true; }

private:
    RDOSessionPtr m_real;
    EntryID m_always;
};

TEST_F(StoreLayer, AMessageOfAnotherIdIsNotHandedOn) {
    auto wanted = add(*session().agentInfo, "X", "wanted");
    auto other = add(*session().agentInfo, "X", "other");
    auto wrong = std::make_shared<WrongSession>(session().rdo, other->ID());
    session().rdo = wrong;
    EXPECT_EQ(nullptr, GetMessage(session(), wanted->ID()));
    EXPECT_EQ(2, wrong->tries);
    EXPECT_NE(nullptr, GetMessage(session(), other->ID()));
}

TEST_F(StoreLayer, AFailedComparisonIsLogged) {
    auto message = add(*session().agentInfo, "X", "x");
    session().rdo = std::make_shared<WrongSession>(session().rdo, message->ID());
    EXPECT_EQ(nullptr, GetMessage(session(), EntryID("0011")));
    EXPECT_TRUE(world.logHas("GetMessage CompareEntryIDs error:"));
}

TEST_F(StoreLayer, PropTagsCarryTheTypeAndTheId) {
    const PropTag tag = GetPropTag(*session().agentInfo, "Some Key", PropType::Boolean);
    EXPECT_EQ(PropType::Boolean, TypeOf(tag));
    EXPECT_GE(PropId(tag), 0x8000);
    EXPECT_EQ(PropId(tag), PropId(GetPropTag(*session().agentInfo, "Some Key", PropType::String)));
    // the address book gives no ids: the type alone
    auto entry = world.Entry("Alice Adams");
    EXPECT_EQ(0x1Eu, GetPropTag(*entry, "Some Key", PropType::String));
}

TEST_F(StoreLayer, CoercionConvertsNothing) {
    const auto tag = [](PropType type) { return static_cast<PropTag>(type); };
    EXPECT_EQ(Value("a b"), CoerceToPropType(Value("  a b "), tag(PropType::String)));
    EXPECT_EQ(Value(""), CoerceToPropType(Value(int32_t{5}), tag(PropType::String)));
    EXPECT_EQ(Value(int32_t{5}), CoerceToPropType(Value(int32_t{5}), tag(PropType::Long)));
    EXPECT_EQ(Value(int32_t{0}), CoerceToPropType(Value("5"), tag(PropType::Long)));
    EXPECT_EQ(Value(int16_t{5}), CoerceToPropType(Value(int16_t{5}), tag(PropType::Short)));
    EXPECT_EQ(Value(int32_t{5}), CoerceToPropType(Value(int32_t{5}), tag(PropType::Short)));
    EXPECT_EQ(Value(int16_t{0}), CoerceToPropType(Value(true), tag(PropType::Short)));
    EXPECT_EQ(Value(true), CoerceToPropType(Value(true), tag(PropType::Boolean)));
    EXPECT_EQ(Value(false), CoerceToPropType(Value(int32_t{1}), tag(PropType::Boolean)));
    EXPECT_EQ(Value(Time{}), CoerceToPropType(Value("2026-01-01"), tag(PropType::Time)));
    EXPECT_EQ(Value("00FF0A"), CoerceToPropType(Value(Bytes{0, 255, 10}), tag(PropType::Binary)));
    EXPECT_EQ(Value(""), CoerceToPropType(Value(), tag(PropType::Binary)));
    EXPECT_EQ(Value("x"), CoerceToFieldKind(Value("x "), FieldKind::String));
    EXPECT_EQ(Value(int32_t{0}), CoerceToFieldKind(Value("x"), FieldKind::Long));
    EXPECT_EQ(Value("0A"), CoerceToFieldKind(Value(Bytes{10}), FieldKind::Binary));
    EXPECT_EQ(Value(false), CoerceToFieldKind(Value(), FieldKind::Boolean));
}

TEST_F(StoreLayer, IdsByClassAndSubjectInTableOrder) {
    auto& folder = *session().agentInfo;
    auto a = add(folder, "zandrel.Host", "SERVER1");
    auto b = add(folder, "zandrel.Host", "server2");
    add(folder, "zandrel.Host.Other", "SERVER1");
    add(folder, "X", "SERVER1");
    EXPECT_EQ((std::vector<EntryID>{a->ID(), b->ID()}),
              GetMessageIDs(session(), folder, "zandrel.Host", ""));
    EXPECT_EQ((std::vector<EntryID>{b->ID()}),
              GetMessageIDs(session(), folder, "ZANDREL.HOST", "SERVER2"));
    EXPECT_EQ(3u, GetMessageIDs(session(), folder, "", "server1").size());
    EXPECT_TRUE(GetMessageIDs(session(), folder, "zandrel.Host", "SERVER").empty());
}

/// A folder whose table must not be asked for.
class NoTableFolder : public RDOFolder {
public:
    [[noreturn]] static void fail() { throw std::logic_error("table call"); }
    Value Fields(PropTag) const override { return {}; }
    void SetFields(PropTag, const Value&) override {}
    PropTag GetIDsFromNames(std::string_view, std::string_view) override { return 0; }
    std::vector<PropTag> PropList() const override { return {}; }
    std::optional<PropName> NameOf(PropTag) const override { return std::nullopt; }
    std::string Name() const override { return {}; }
    void SetName(std::string_view) override {}
    EntryID ID() const override { return {}; }
    EntryID StoreID() const override { return {}; }
    std::string DefaultItemClass() const override { return {}; }
    RDOItemsPtr Items() const override {
        called = true;
        fail();
    }
    RDOItemsPtr HiddenItems() const override { fail(); }
    RDOFoldersPtr Folders() const override { fail(); }
    RDOFolderPtr Parent() const override { return nullptr; }
    RDOStorePtr Store() const override { return nullptr; }
    void Save() override {}
    void Delete() override {}
    mutable bool called = false;
};

TEST_F(StoreLayer, NoClassAndNoSubjectMakeNoTableCall) {
    NoTableFolder folder;
    EXPECT_TRUE(GetMessageIDs(session(), folder, "", "").empty());
    EXPECT_FALSE(folder.called);
    EXPECT_TRUE(GetMessageIDs(session(), folder, "X", "").empty());
    EXPECT_TRUE(folder.called);
    EXPECT_TRUE(world.logHas("GetMessageIDs: 0 table call"));
}

TEST_F(StoreLayer, FiltersByNameByTagAndOnTheHiddenSide) {
    auto& folder = *session().agentInfo;
    auto a = add(folder, "X", "one");
    SetKey(*a, "PIN", "12AB34CD");
    SetKey(*a, "PercentComplete", int32_t{7});
    a->Save();
    auto hidden = folder.HiddenItems()->Add("X");
    hidden->SetSubject("one");
    hidden->Save();
    // type 0 counts as text
    EXPECT_EQ((std::vector<EntryID>{a->ID()}),
              GetFilteredIDs(session(), folder,
                             {{"PIN", PropType::Unspecified, 0, Value("12ab34cd")}}, false));
    EXPECT_EQ((std::vector<EntryID>{a->ID()}),
              GetFilteredIDs(session(), folder,
                             {{"PIN", PropType::String, 0, Value("12AB34CD")},
                              {"PercentComplete", PropType::Long, 0, Value(int32_t{7})}},
                             false));
    EXPECT_EQ((std::vector<EntryID>{hidden->ID()}),
              GetFilteredIDs(session(), folder,
                             {{"not looked at", PropType::Long, PR_SUBJECT, Value("ONE")}}, true));
    EXPECT_TRUE(
        GetFilteredIDs(session(), folder, {{"PIN", PropType::String, 0, Value("12AB")}}, false)
            .empty());
}

TEST_F(StoreLayer, FoldersByDisplayPath) {
    auto find = [&](std::string_view path) { return GetRDOFolder(session(), path); };
    EXPECT_EQ("R & D", find("\\\\Public Folders\\All Public Folders\\shared\\ r & d \\")->Name());
    EXPECT_EQ("All Public Folders", find("\\\\PUBLIC FOLDERS\\All Public Folders")->Name());
    EXPECT_EQ("Inbox", find("\\\\Mailbox - Agent Mailbox\\INBOX")->Name());
    world.ui.Expect("Error: unable to identify root folder!");
    EXPECT_EQ(nullptr, find("\\\\Somewhere\\Inbox"));
    world.ui.Expect("Error: nowhere folder could not be found in specified location!");
    EXPECT_EQ(nullptr, find("\\\\Public Folders\\All Public Folders\\nowhere\\deeper"));
    world.ui.Expect("Error: unable to locate missing in specified location.");
    EXPECT_EQ(nullptr, find("\\\\Public Folders\\All Public Folders\\Shared\\missing"));
}

TEST_F(StoreLayer, ExpandingEntersEachListOnce) {
    const auto people = ExpandRecipients(session(), idsOf({"Sales", "Carol Contact"}) + ";;zz");
    ASSERT_EQ(4u, people.size());
    EXPECT_EQ("alice@example.test", people[0].address);
    EXPECT_EQ("bob@example.test", people[1].address);
    EXPECT_EQ("S\xC3\xA9"
              "an O'Brien",
              people[2].name);
    EXPECT_EQ("carol@partner.test", people[3].address);
}

TEST_F(StoreLayer, AQueryBasedListAsksTheDirectory) {
    const std::string dn = world.Entry("Everybody")->Address();
    world.directory.answers["(legacyExchangeDN=" + dn + ")"] = {
        {{"msExchDynamicDLFilter", {"(mailNickname=*)"}},
         {"msExchDynamicDLBaseDN", {"OU=People,DC=example,DC=test"}}}};
    world.directory.answers["(mailNickname=*)"] = {
        {{"displayName", {"Alice Adams"}},
         {"proxyAddresses", {"smtp:x@y", "SMTP:alice@example.test"}}},
        {{"name", {"Dan"}}, {"mail", {"dan@example.test"}}}};
    const auto people = ExpandRecipients(session(), idsOf({"Everybody"}));
    ASSERT_EQ(2u, people.size());
    EXPECT_EQ("alice@example.test", people[0].address);
    EXPECT_EQ("Dan", people[1].name);
    EXPECT_EQ("OU=People,DC=example,DC=test", world.directory.queries.back().base);
    world.directory.failOpen = true;
    EXPECT_TRUE(ExpandRecipients(session(), idsOf({"Everybody"})).empty());
    EXPECT_TRUE(world.logHas("ExpandRecipients: query of Everybody"));
}

TEST_F(StoreLayer, ThePrimaryAddressIsTheOneInCapitals) {
    auto entry = world.Entry("Alice Adams");
    EXPECT_EQ("alice@example.test", GetPrimarySMTP(*entry));
    EXPECT_EQ("alice@example.test", SmtpOfEntry(*entry));
    auto oneOff = session().rdo->GetAddressBook()->GetAddressEntryFromID(
        EntryID(ToHex(MakeOneOffEntryID("X Y", "x@y.test"))));
    EXPECT_EQ("", GetPrimarySMTP(*oneOff));
    EXPECT_EQ("x@y.test", SmtpOfEntry(*oneOff));
    EXPECT_EQ("X Y", oneOff->Name());
}

TEST_F(StoreLayer, EntryIdsOfAddresses) {
    EXPECT_EQ("00000000DCA740C8C042101AB4B908002B2FE18201000000000000002F6F3D4100",
              ToHex(MakeExEntryID("/o=A")));
    EXPECT_EQ("00000000812B1FA4BEA310199D6E00DD010F5402000001104E00534D545000614062"
              "00",
              ToHex(MakeOneOffEntryID("N", "a@b")));
    EXPECT_EQ((Bytes{0x0A, 0xFF}), FromHex("0Aff"));
    EXPECT_EQ((Bytes{}), FromHex(""));
    const std::string dn = world.Entry("Bob Baker")->Address();
    EXPECT_EQ("Bob Baker", session()
                               .rdo->GetAddressBook()
                               ->GetAddressEntryFromID(EntryID(ToHex(MakeExEntryID(dn))))
                               ->Name());
}

} // namespace
