#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "contacts/basExpand.h"
#include "tests/support/LdapWorld.h"

/// Expansion against a real directory server.
namespace {

using namespace kr;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// A query-based list "q<name>@example.test" of the directory.
std::string listEntry(const std::string& name, const std::string& filter, const std::string& base) {
    std::string text = "dn: CN=" + name +
                       ",OU=Lists,DC=example,DC=test\n"
                       "objectClass: msExchDynamicDistributionList\ncn: " +
                       name + "\nname: " + name +
                       "\nobjectCategory: CN=ms-Exch-Dynamic-Distribution-List,CN=Schema,"
                       "CN=Configuration,DC=example,DC=test\nmail: " +
                       name + "@example.test\nmailNickname: " + name +
                       "\nproxyAddresses: SMTP:" + name + "@example.test\n";
    if (!filter.empty())
        text += "msExchDynamicDLFilter: " + filter + "\n";
    if (!base.empty())
        text += "msExchDynamicDLBaseDN: " + base + "\n";
    return text + "\n";
}

class ExpandDirectory : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        DirectoryFixture::Options options;
        options.people = 400;
        options.extraEntries =
            listEntry("bad", "(&(objectCategory=person)(mailNickname=*", "") +
            listEntry("nobase", "(mailNickname=*)", "OU=Gone,DC=example,DC=test") +
            listEntry("apac", "(mailNickname=*)", "DC=apac,DC=example,DC=test") +
            listEntry("all", "(&(objectCategory=person)(mailNickname=u*))", "") +
            listEntry("everyone", "(objectCategory=person)", "");
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    ExpandDirectory() { ldap.Use(*s_server); }
    void SetUp() override { ASSERT_TRUE(s_server->running()) << s_server->problem(); }

    AgentSession& session() { return ldap.session(); }
    FoundPeople query(const std::string& address) {
        FoundPeople found;
        SeenLists seen;
        ExpandQueryDL(session(), address, found, seen);
        return found;
    }

    inline static std::unique_ptr<DirectoryFixture> s_server;
    LdapWorld ldap;
};

TEST_F(ExpandDirectory, AStoredFilterRunsBelowItsBase) {
    EXPECT_EQ(GetRootADsPath(session()), "GC://DC=example,DC=test");
    EXPECT_TRUE(IsQueryDL(session(), "Q1@example.test"));
    EXPECT_FALSE(IsQueryDL(session(), "sales@example.test"));
    EXPECT_FALSE(IsQueryDL(session(), "nobody@example.test"));
    // every tenth of 400 lies there, none of them hidden (388 is no tenth)
    const FoundPeople found = query("q1@example.test");
    EXPECT_THAT(found, SizeIs(40));
    EXPECT_TRUE(found.contains("u10@example.test"));
    EXPECT_FALSE(found.contains("u11@example.test"));
}

TEST_F(ExpandDirectory, NestedListsAreFollowedAndTheListItselfIsSkipped) {
    // q2 holds q1, itself and the group of the address book: 40, and alice, bob and obrien
    const FoundPeople found = query("q2@example.test");
    EXPECT_THAT(found, SizeIs(43));
    EXPECT_TRUE(found.contains("obrien@example.test"));
    SeenLists seen;
    int targets = 0;
    ExpandQueryDLPush(
        session(), "q2@example.test", [&](const Member&) { ++targets; }, seen);
    EXPECT_EQ(targets, 43);
    EXPECT_THAT(ldap.world.log(),
                HasSubstr("ExpandQueryDLPush:skipping repeat expansion of Q Self"));
}

TEST_F(ExpandDirectory, SeveralPagesComeWhole) {
    EXPECT_THAT(query("all@example.test"), SizeIs(400));
    // one without a mail attribute and one with an odd name are there as well
    const FoundPeople found = query("everyone@example.test");
    EXPECT_THAT(found, SizeIs(401));
    EXPECT_TRUE(found.contains("ohara@example.test"));
}

TEST_F(ExpandDirectory, APersonOfTheDirectoryHasAllAttributes) {
    std::vector<DirectoryContact> people;
    ExpandQueryDLContacts(session(), "q1@example.test", [&](const DirectoryContact& person) {
        people.push_back(person);
        return true;
    });
    ASSERT_THAT(people, SizeIs(40));
    EXPECT_THAT(people, Contains(::testing::Truly([](const DirectoryContact& person) {
                    return person.at("mail") == "u10@example.test" &&
                           person.at("telephoneNumber") == "100010" &&
                           person.at("department") == "D10" && person.at("sn") == "Last 10";
                })));
}

TEST_F(ExpandDirectory, AWriterThatRefusesEndsTheQuery) {
    int written = 0;
    ExpandQueryDLContacts(session(), "all@example.test",
                          [&](const DirectoryContact&) { return ++written < 3; });
    EXPECT_EQ(written, 3);
    EXPECT_THAT(query("q1@example.test"), SizeIs(40));
}

TEST_F(ExpandDirectory, BrokenListsAreEmpty) {
    EXPECT_THAT(query("bad@example.test"), IsEmpty());
    EXPECT_THAT(query("nobase@example.test"), IsEmpty());
    EXPECT_THAT(query("apac@example.test"), IsEmpty()); // a referral to a server that is gone
    EXPECT_THAT(query("*"), IsEmpty());
    EXPECT_TRUE(IsQueryDL(session(), "bad@example.test"));
    EXPECT_THAT(ldap.world.ui.boxes(), IsEmpty());
}

TEST_F(ExpandDirectory, ASizeLimitKeepsWhatCame) {
    DirectoryFixture::Options options;
    options.people = 300;
    options.extraConfiguration = "sizelimit size.soft=1000 size.hard=1000 size.pr=100 "
                                 "size.prtotal=150\n";
    options.extraEntries = listEntry("all", "(&(objectCategory=person)(mailNickname=u*))", "");
    DirectoryFixture limited(options);
    ASSERT_TRUE(limited.running()) << limited.problem();
    ldap.Use(limited);
    const FoundPeople found = query("all@example.test");
    EXPECT_GE(found.size(), 100U);
    EXPECT_LE(found.size(), 150U);
}

TEST_F(ExpandDirectory, AServerThatDiesLeavesTheResultAsItStands) {
    DirectoryFixture::Options options;
    options.people = 300;
    options.extraEntries = listEntry("all", "(&(objectCategory=person)(mailNickname=u*))", "");
    DirectoryFixture mortal(options);
    ASSERT_TRUE(mortal.running()) << mortal.problem();
    ldap.Use(mortal);
    std::vector<std::string> people;
    const auto begin = std::chrono::steady_clock::now();
    ExpandQueryDLUsers(session(), "all@example.test",
                       [&](const std::string&, const std::string& address) {
                           people.push_back(address);
                           if (people.size() == 20)
                               mortal.Kill();
                       });
    EXPECT_GE(people.size(), 20U);
    EXPECT_LT(people.size(), 300U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_THAT(query("all@example.test"), IsEmpty());
    EXPECT_THAT(ldap.world.log(), HasSubstr("GetRootADsPath:unable to create rootDSE object "));
    EXPECT_THAT(ldap.world.ui.boxes(), IsEmpty());
}

} // namespace
