#include <gtest/gtest.h>

#include <set>

#include "core/Keys.h"
#include "core/basProfiles.h"
#include "core/basRegistry.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

TEST(KeyCatalogueTest, NamesAreUniqueOnEachRecord) {
    std::set<std::pair<KeyRecord, std::string_view>> seen;
    for (const Key& key : KeyCatalogue())
        EXPECT_TRUE(seen.emplace(key.record, key.name).second) << key.name;
    EXPECT_GT(seen.size(), 300u);
}

TEST(KeyCatalogueTest, AKeyThatStandsOnTwoRecordsHasOneType) {
    std::map<std::string_view, PropType> types;
    for (const Key& key : KeyCatalogue()) {
        if (key.type != PropType::Unspecified) {
            EXPECT_EQ(key.type, types.emplace(key.name, key.type).first->second) << key.name;
        }
    }
}

TEST(KeyCatalogueTest, TypesAsReadersAndWritersUseThem) {
    EXPECT_EQ(PropType::Boolean, TypeOfKey("EPS.EmailUpdate"));
    EXPECT_EQ(PropType::Long, TypeOfKey("PollingInterval"));
    EXPECT_EQ(PropType::Short, TypeOfKey("LogLevel"));
    EXPECT_EQ(PropType::Time, TypeOfKey("NextClientUpdate"));
    EXPECT_EQ(PropType::StringList, TypeOfKey("EPS.DataFields"));
    EXPECT_EQ(PropType::String, TypeOfKey("Email"));
    EXPECT_EQ(PropType::String, TypeOfKey("a name of nobody"));
    ASSERT_NE(nullptr, FindKey(KeyRecord::Host, "Reporting"));
    EXPECT_EQ(nullptr, FindKey(KeyRecord::User, "Reporting"));
}

class Keys : public ::testing::Test {
protected:
    void SetUp() override { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr agent() { return GetMessage(session(), session().AgentMsgID); }
    World world;
};

TEST_F(Keys, AKeyThatNobodySetTakesTheReadersDefault) {
    auto message = agent();
    EXPECT_TRUE(GetKey(*message, "DeleteDelay").empty());
    EXPECT_EQ(60, KeyNumber(*message, "DeleteDelay", 60));
    EXPECT_TRUE(KeyFlag(*message, "CleanSender", true));
    EXPECT_EQ("", KeyText(*message, "AdminNames"));
}

TEST_F(Keys, AWrongTypeReadsAsZeroAndIsNotRepaired) {
    auto message = agent();
    message->SetFields(GetPropTag(*message, "DeleteDelay", PropType::String), "90");
    message->Save();
    message = agent();
    message->SetFields(GetPropTag(*message, "CleanSender", PropType::Long), Value(int32_t{1}));
    EXPECT_EQ(0, KeyNumber(*message, "DeleteDelay", 60));
    EXPECT_FALSE(KeyFlag(*message, "CleanSender", true));
    const PropTag tag = GetPropTag(*message, "DeleteDelay", PropType::Long);
    EXPECT_EQ(Value(int32_t{0}), CoerceToPropType(message->Fields(tag), tag));
    EXPECT_EQ(Value("90"), message->Fields(tag));
}

TEST_F(Keys, EachRecordsValueStandsByItself) {
    auto host = session().agentInfo->Items()->Add("zandrel.Host");
    SetKey(*host, "Reporting", true);
    host->Save();
    auto message = agent();
    SetKey(*message, "Reporting", false);
    message->Save();
    EXPECT_TRUE(KeyFlag(*GetMessage(session(), host->ID()), "Reporting"));
    EXPECT_FALSE(KeyFlag(*agent(), "Reporting", true));
}

TEST_F(Keys, MissingDefaultsAreSetOnce) {
    auto message = agent();
    SetKey(*message, "EPS.Purge", false);
    SetKey(*message, "EPS.PurgeInterval", int32_t{7});
    message->Save();
    InitEPS(session());
    message = agent();
    EXPECT_TRUE(KeyFlag(*message, "EPS.EmailUpdate"));
    EXPECT_TRUE(KeyFlag(*message, "EPS.SaveToBackups"));
    EXPECT_FALSE(KeyFlag(*message, "EPS.Purge", true));
    EXPECT_EQ(7, KeyNumber(*message, "EPS.PurgeInterval", 0));
    // all set: nothing is written, which another session would hear of
    auto other = world.OtherSession();
    other->PollChanges();
    InitEPS(session());
    EXPECT_TRUE(other->PollChanges().empty());
}

class Profiles : public Keys {};

TEST_F(Profiles, NamesAreInLowerCase) {
    EXPECT_EQ((std::vector<std::string>{"agent profile"}), ListProfiles(*world.registry));
}

TEST_F(Profiles, ANewProfileLeadsToItsMailbox) {
    EXPECT_TRUE(
        CreateExProfile(session(), "eps_alice", "MAIL01", "SMTP:alice@example.test", false));
    for (const char* line : {"modProfiles::CreateExProfile:creating new profile named eps_alice",
                             "adding Exchange service"})
        EXPECT_TRUE(world.logHas(line)) << line;
    auto rdo = world.store->CreateSession();
    rdo->Logon("eps_alice", "", false, true, 0);
    EXPECT_EQ("Alice Adams", rdo->CurrentUser()->Name());
    auto profile = world.store->CreateProfiles()->Item("EPS_ALICE");
    ASSERT_NE(nullptr, profile);
    EXPECT_EQ(16384, profile->SectionField(0x66060003).integerOr(0));
    EXPECT_EQ(9, profile->SectionField(0x66190003).integerOr(0));
    EXPECT_EQ(3000, profile->SectionField(0x661B0003).integerOr(0));
    EXPECT_EQ(0, profile->SectionField(0x66040003).integerOr(-1) & 32);
    EXPECT_TRUE(CreateExProfile(session(), "eps_alice", "MAIL01", "x", false));
    EXPECT_TRUE(world.logHas("found existing profile named eps_alice"));
    EXPECT_TRUE(world.logHas("found existing Exchange service"));
}

TEST_F(Profiles, OnlyUsersWithoutOneGetAProfileAndOnlyWhenAsked) {
    session().users = std::make_shared<Recordset>(
        std::vector<Field>{{"Email"}, {"EX_Server"}, {"PushSelected", FieldType::Boolean}});
    for (const char* email : {"Alice@example.test", "bob@example.test"}) {
        session().users->AddNew();
        session().users->Set("Email", email);
        session().users->Set("EX_Server", "MAIL01");
    }
    CreateExProfile(session(), "EPS_alice@EXAMPLE.test", "MAIL01", "alice", false);
    const auto before = ListProfiles(*world.registry).size();
    const std::string filter = "[PushSelected]=True AND [Email]<>''";
    CheckMbxProfiles(session(), filter);
    EXPECT_EQ(before, ListProfiles(*world.registry).size());
    RegWrite(*world.registry, Hive::LocalMachine, "Software\\zandrel\\zandrelAgent",
             "EPS.CreateMbxProfiles", int32_t{1});
    CheckMbxProfiles(session(), filter);
    EXPECT_EQ(before + 1, ListProfiles(*world.registry).size());
    EXPECT_TRUE(world.logHas("CheckMbxProfiles:calling CreateExProfile for bob@example.test"));
    EXPECT_FALSE(world.logHas("CreateExProfile for Alice"));
    EXPECT_TRUE(world.logHas("CheckMbxProfiles:retrieving profile list"));
}

} // namespace
