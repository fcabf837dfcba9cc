#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "contacts/basADList.h"
#include "contacts/basADSI.h"
#include "tests/support/LdapWorld.h"

/// What stands behind the two browsers of the directory.
namespace {

using namespace kr;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kFilter =
    "(&(objectCategory=person)(objectClass=user)(mailnickname=*)(msExchHomeServerName=*)"
    "(!userAccountControl:1.2.840.113556.1.4.803:=2)(!msExchHideFromAddressLists=True))";

// --- scripted

class AdList : public ::testing::Test {
protected:
    static FakeDirectory::Entry person(const std::string& name, const std::string& mail) {
        return {
            {"name", {name}},
            {"mail", {mail}},
            {"mailNickname", {"nick " + name}},
            {"msExchHomeServerName", {"/cn=EX1"}},
            {"distinguishedName", {"CN=" + name + ",DC=example,DC=test"}},
            {"displayName", {"Display " + name}},
            {"givenName", {"Given"}},
            {"sn", {"Last"}},
            {"company", {"Example"}},
            {"telephoneNumber", {"123"}},
            {"proxyAddresses", {"X400:c=DE", "smtp:old@example.test", "SMTP:new@example.test"}}};
    }
    void load(std::vector<FakeDirectory::Entry> entries) {
        world.directory.answers[kFilter] = std::move(entries);
        people.Load([this] { ++done; });
    }
    std::vector<std::string> names() {
        std::vector<std::string> result;
        for (size_t i = 0; i < list.Count(); ++i)
            result.emplace_back(list.Text(i, 0));
        return result;
    }
    void three() {
        load({person("bert", "z@example.test"), person("Anna", "y@example.test"),
              person("O'Hara", "x@example.test")});
    }

    World world;
    ListModel list;
    ADList people{*world.session, list};
    int done = 0;
};

TEST_F(AdList, IsSortedByNameWhenAllIsThere) {
    three();
    EXPECT_EQ(done, 1);
    EXPECT_FALSE(people.Loading());
    EXPECT_THAT(names(), ElementsAre("Anna", "bert", "O'Hara"));
    EXPECT_EQ(list.Columns()[0].title, "Name");
    EXPECT_EQ(list.Columns()[1].title, "Email");
    EXPECT_EQ(list.Text(0, 1), "y@example.test");
    const DirectoryQuery& query = world.directory.queries.back();
    EXPECT_EQ(query.base, "DC=example,DC=test");
    EXPECT_EQ(query.pageSize, 100);
    EXPECT_THAT(query.attributes,
                ElementsAre("name", "mail", "msExchHomeServerName", "displayName",
                            "distinguishedName", "mailNickname", "givenName", "sn",
                            "telephoneNumber", "company", "proxyAddresses"));
    EXPECT_THAT(world.log(), HasSubstr("recordset.State=1 for query <GC://DC=example,DC=test>;" +
                                       std::string(kFilter) + ";name,mail,msExchHomeServerName,"));
}

TEST_F(AdList, AColumnSortsUpFirstThenTheOtherWayRound) {
    three();
    people.ColumnClick(1);
    EXPECT_THAT(names(), ElementsAre("O'Hara", "Anna", "bert"));
    people.ColumnClick(1);
    EXPECT_THAT(names(), ElementsAre("bert", "Anna", "O'Hara"));
    people.ColumnClick(0);
    EXPECT_THAT(names(), ElementsAre("Anna", "bert", "O'Hara"));
    people.ColumnClick(0);
    EXPECT_THAT(names(), ElementsAre("O'Hara", "bert", "Anna"));
    people.ColumnClick(7);
    EXPECT_EQ(people.SortColumn(), 0);
}

TEST_F(AdList, FindsByTheBeginningOfAColumn) {
    three();
    people.Find(ADList::Column::Name, "BE");
    EXPECT_THAT(names(), ElementsAre("bert"));
    EXPECT_EQ(people.PersonAt(0).mail, "z@example.test");
    people.Find(ADList::Column::Mail, "x@");
    EXPECT_THAT(names(), ElementsAre("O'Hara"));
    people.Find(ADList::Column::Name, "xyz");
    EXPECT_THAT(names(), IsEmpty());
    people.Find(ADList::Column::Name, "");
    EXPECT_EQ(list.Count(), 3U);
}

TEST_F(AdList, AnApostropheBreaksTheFilter) {
    three();
    people.Find(ADList::Column::Name, "O'H");
    EXPECT_THAT(names(), IsEmpty());
    people.Find(ADList::Column::Name, "O");
    EXPECT_THAT(names(), ElementsAre("O'Hara"));
}

TEST_F(AdList, ALetterJumpsToTheFirstNameInTheOrderShown) {
    load({person("bob", "1"), person("Bert", "2"), person("anna", "3")});
    EXPECT_EQ(people.JumpTo('B'), 1U);
    people.ColumnClick(1);
    EXPECT_EQ(people.JumpTo('B'), 0U);
    EXPECT_EQ(people.JumpTo('a'), 2U);
    EXPECT_EQ(people.JumpTo('Z'), ListModel::npos);
}

TEST_F(AdList, GivesAllOfAPerson) {
    three();
    const ADPerson anna = people.PersonAt(0);
    EXPECT_EQ(anna.mail, "y@example.test");
    EXPECT_EQ(anna.mailNickname, "nick Anna");
    EXPECT_EQ(anna.msExchHomeServerName, "/cn=EX1");
    EXPECT_EQ(anna.distinguishedName, "CN=Anna,DC=example,DC=test");
    EXPECT_EQ(anna.displayName, "Display Anna");
    EXPECT_EQ(anna.givenName, "Given");
    EXPECT_EQ(anna.sn, "Last");
    EXPECT_EQ(anna.company, "Example");
    EXPECT_EQ(anna.telephoneNumber, "123");
    EXPECT_EQ(anna.primaryAddress, "new@example.test");
}

TEST_F(AdList, OddRowsAreShownAsTheyAre) {
    FakeDirectory::Entry plain{{"name", {"plain"}}, {"proxyAddresses", {"smtp:only@example.test"}}};
    FakeDirectory::Entry odd = person(std::string("b\xFFn\0n", 5), std::string(5000, 'm'));
    odd["proxyAddresses"] = {};
    load({plain, odd, {}});
    EXPECT_EQ(list.Count(), 3U);
    EXPECT_EQ(people.PersonAt(2).primaryAddress, "only@example.test");
    EXPECT_EQ(people.PersonAt(2).mail, "");
    EXPECT_EQ(people.PersonAt(0).primaryAddress, "");
}

TEST_F(AdList, ADirectoryThatDoesNotOpenIsTold) {
    world.directory.failOpen = true;
    world.ui.Expect("Unable to open Active Directory connection!");
    load({});
    EXPECT_EQ(done, 1);
    EXPECT_THAT(world.log(), HasSubstr("failed to open AD connection"));
    EXPECT_EQ(list.Count(), 0U);
    people.Find(ADList::Column::Name, "a");
    people.ColumnClick(0);
    EXPECT_EQ(people.JumpTo('A'), ListModel::npos);
}

TEST(AdContainers, NamesAreReadWithoutTheirPrefixes) {
    EXPECT_EQ(ContainerName("DC=example,DC=test"), "example.test");
    EXPECT_EQ(ContainerName("ou=R\\, D\\2B,cn=Users,dc=Test"), "R, D+.Users.Test");
    EXPECT_EQ(ContainerName(""), "");
    EXPECT_EQ(ContainerName("plain\\"), "plain\\");
}

// --- with a server

class AdServer : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        DirectoryFixture::Options options;
        options.people = 1200;
        options.extraEntries = "dn: OU=Deep\\, er,OU=Staff,DC=example,DC=test\n"
                               "objectClass: organizationalUnit\nOU: Deep, er\n\n";
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    AdServer() { ldap.Use(*s_server); }
    void SetUp() override { ASSERT_TRUE(s_server->running()) << s_server->problem(); }

    bool until(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (!condition() && std::chrono::steady_clock::now() < end)
            ldap.world.events->Run(5ms);
        return condition();
    }

    inline static std::unique_ptr<DirectoryFixture> s_server;
    LdapWorld ldap;
    ListModel list;
};

TEST_F(AdServer, RowsStreamInWithoutWaiting) {
    ADList people(ldap.session(), list);
    bool done = false;
    people.Load([&] { done = true; });
    EXPECT_TRUE(people.Loading());
    EXPECT_EQ(people.Loaded(), 0U);
    ASSERT_TRUE(until([&] { return people.Loaded() > 0; }));
    EXPECT_FALSE(done);
    people.ShowNew();
    EXPECT_EQ(list.Count(), people.Loaded());
    EXPECT_NE(people.PersonAt(0).mail, "");
    // a filter and an order work on what is there already
    people.Find(ADList::Column::Name, "aname");
    people.ColumnClick(1);
    const size_t shown = list.Count();
    EXPECT_LT(shown, people.Loaded());
    ASSERT_TRUE(until([&] { return done; }));
    EXPECT_GT(list.Count(), shown);
    EXPECT_EQ(people.SortColumn(), 1);
    people.Find(ADList::Column::Name, "");
    // 1200 without 24 disabled and 12 hidden ones, and the one with an odd name
    EXPECT_EQ(list.Count(), 1165U);
    EXPECT_EQ(people.Loaded(), 1165U);
    people.Find(ADList::Column::Name, "O");
    bool odd = false;
    for (size_t i = 0; i < list.Count(); ++i)
        odd = odd || people.PersonAt(i).distinguishedName.find("O'Hara") != std::string::npos;
    EXPECT_TRUE(odd);
}

TEST_F(AdServer, TheListMayGoWhileItLoads) {
    bool done = false;
    for (const size_t rows : {0U, 1U, 300U}) {
        auto people = std::make_unique<ADList>(ldap.session(), list);
        people->Load([&] { done = true; });
        ASSERT_TRUE(until([&] { return people->Loaded() >= rows; }));
        people.reset();
        for (int i = 0; i < 20; ++i)
            ldap.world.events->Run(5ms);
    }
    EXPECT_FALSE(done);
}

TEST_F(AdServer, WhatCameBeforeTheServerDiedStays) {
    DirectoryFixture::Options options;
    options.people = 1000;
    DirectoryFixture mortal(options);
    ASSERT_TRUE(mortal.running()) << mortal.problem();
    ldap.Use(mortal);
    ADList people(ldap.session(), list);
    bool done = false;
    people.Load([&] { done = true; });
    ASSERT_TRUE(until([&] { return people.Loaded() > 100; }));
    mortal.Kill();
    ASSERT_TRUE(until([&] { return done; }));
    EXPECT_EQ(list.Count(), people.Loaded());
    EXPECT_LT(list.Count(), 900U);
    EXPECT_THAT(ldap.world.log(), HasSubstr("recordset.State=0 for query "));
    EXPECT_THAT(ldap.world.ui.boxes(), IsEmpty());
    // and the next one can't be opened
    ldap.world.ui.Expect("Unable to open Active Directory connection!");
    ADList next(ldap.session(), list);
    done = false;
    next.Load([&] { done = true; });
    EXPECT_TRUE(until([&] { return done; }));
}

TEST_F(AdServer, ContainersComeByLevel) {
    ContainerBrowser browser(ldap.session());
    EXPECT_FALSE(browser.Children("LDAP://DC=example,DC=test").has_value()); // not open yet
    const auto root = browser.Root();
    ASSERT_TRUE(root);
    EXPECT_EQ(root->path, "LDAP://DC=example,DC=test");
    EXPECT_EQ(root->name, "example.test");
    const auto children = browser.Children(root->path);
    ASSERT_TRUE(children);
    std::vector<std::string> names;
    for (const ADContainer& child : *children)
        names.push_back(child.name);
    EXPECT_THAT(names, ElementsAre("Lists", "Managed", "Staff", "Users"));
    const auto staff = browser.Children((*children)[2].path);
    ASSERT_TRUE(staff);
    ASSERT_EQ(staff->size(), 1U);
    EXPECT_EQ(staff->front().name, "Deep, er");
    EXPECT_EQ(browser.Children(staff->front().path)->size(), 0U);
    EXPECT_FALSE(browser.Children("LDAP://OU=Gone,DC=example,DC=test").has_value());
}

TEST_F(AdServer, WithoutAServerThereIsNoRoot) {
    DirectoryFixture gone;
    ldap.Use(gone);
    gone.Kill();
    ContainerBrowser browser(ldap.session());
    EXPECT_FALSE(browser.Root().has_value());
    EXPECT_THAT(ldap.world.log(), HasSubstr("frmADSI:"));
    EXPECT_THAT(ldap.world.ui.boxes(), IsEmpty());
}

} // namespace
