#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contacts/basExpand.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

std::string filterOf(const std::string& address) {
    return "((proxyAddresses=SMTP:" + address + "))";
}

FakeDirectory::Entry rowOf(const char* category, const std::string& name, const std::string& mail) {
    FakeDirectory::Entry row{
        {"name", {name}},
        {"objectCategory",
         {"CN=" + std::string(category) + ",CN=Schema,CN=Configuration,DC=example,DC=test"}}};
    if (!mail.empty())
        row["mail"] = {mail};
    return row;
}

class Expand : public ::testing::Test {
protected:
    Expand() { world.LogOn(); }

    AgentSession& session() { return *world.session; }
    /// A query-based list of the directory.
    void queryList(const std::string& address, const std::string& filter,
                   const std::vector<FakeDirectory::Entry>& members, const std::string& base = {}) {
        FakeDirectory::Entry list{{"msExchDynamicDLFilter", {filter}}};
        if (!base.empty())
            list["msExchDynamicDLBaseDN"] = {base};
        world.directory.answers[filterOf(address)] = {list};
        world.directory.answers[filter] = members;
    }
    /// A list of the address book, its members by alias.
    void list(const std::string& alias, int displayType, const std::vector<std::string>& members,
              bool address = true) {
        Organisation org(world.storePath());
        NewAddressEntry entry;
        entry.dn = dn(alias);
        entry.name = alias;
        entry.alias = alias;
        entry.displayType = displayType;
        if (address)
            entry.smtp = alias + "@example.test";
        org.AddEntry(entry);
        for (const std::string& member : members)
            org.AddMember(dn(alias), dn(member));
    }
    static std::string dn(const std::string& alias) {
        return "/o=Example/ou=First/cn=Recipients/cn=" + alias;
    }
    std::vector<std::string> members(const std::string& addresses) {
        std::vector<std::string> found;
        ExpandMembers(session(), addresses, [&](const Member& member) {
            found.push_back(member.name + "=" + member.address);
        });
        return found;
    }
    int asked(const std::string& filter) {
        return static_cast<int>(
            std::ranges::count_if(world.directory.queries, [&](const DirectoryQuery& query) {
                return query.filter == filter;
            }));
    }

    World world;
};

// --- ordinary lists

TEST_F(Expand, AListThatHoldsItselfIsWalkedOnce) {
    EXPECT_EQ(CountRecipients(session(), "sales@example.test"), 3);
    EXPECT_EQ(CountRecipients(session(), "nested@example.test"), 3);
    list("loop", 1, {"loop", "alice"});
    EXPECT_EQ(CountRecipients(session(), "loop@example.test"), 1);
}

TEST_F(Expand, APersonBehindTwoListsCountsOnce) {
    list("one", 1, {"alice", "bob"});
    list("two", 4, {"bob", "carol"});
    EXPECT_EQ(CountRecipients(session(), "one@example.test;two@example.test"), 3);
    EXPECT_EQ(
        CountRecipients(session(), "alice@example.test;ALICE@example.test ; bob@example.test"), 2);
}

TEST_F(Expand, WhatNoEntryResolvesAddsNothing) {
    EXPECT_EQ(CountRecipients(session(), ""), 0);
    EXPECT_EQ(CountRecipients(session(), ";;nobody@example.test;alice;*"), 0);
    EXPECT_EQ(CountRecipients(session(), "nobody@example.test;carol@partner.test"), 1);
}

TEST_F(Expand, AFurtherAddressFindsItsEntry) {
    EXPECT_EQ(CountRecipients(session(), "alice@old.test;alice@example.test"), 1);
    ASSERT_NE(GetAddressEntry(session(), "Bob@Old.test"), nullptr);
    EXPECT_EQ(GetAddressEntry(session(), "Bob@Old.test")->Name(), "Bob Baker");
    // an address that another one begins with
    EXPECT_EQ(GetAddressEntry(session(), "bob@old.tes"), nullptr);
}

TEST_F(Expand, OtherKindsOfEntriesAreIgnored) {
    list("folder", 2, {});
    list("organisation", 5, {"alice"});
    list("holder", 1, {"folder", "organisation", "bob"});
    EXPECT_EQ(CountRecipients(session(),
                              "folder@example.test;organisation@example.test;holder@example.test"),
              1);
}

TEST_F(Expand, APersonWithoutAnAddressCountsNowhere) {
    list("silent", 0, {}, false);
    list("holder", 1, {"silent", "bob"});
    EXPECT_EQ(CountRecipients(session(), "holder@example.test"), 1);
    EXPECT_THAT(members("holder@example.test"), ElementsAre("Bob Baker=bob@example.test"));
}

TEST_F(Expand, AListWithoutAnAddressIsWalkedOnceToo) {
    list("hidden", 1, {"alice"}, false);
    list("outer", 1, {"hidden", "hidden", "bob"});
    {
        Organisation org(world.storePath());
        org.AddMember(dn("hidden"), dn("outer"));
        org.AddMember(dn("hidden"), dn("hidden"));
    }
    EXPECT_EQ(CountRecipients(session(), "outer@example.test"), 2);
}

TEST_F(Expand, VeryDeepListsAreWalked) {
    constexpr int kDepth = 3000;
    {
        Organisation org(world.storePath());
        org.Begin();
        for (int i = 0; i < kDepth; ++i) {
            NewAddressEntry entry;
            entry.dn = dn("deep" + std::to_string(i));
            entry.name = entry.alias = "deep" + std::to_string(i);
            entry.smtp = entry.alias + "@example.test";
            entry.displayType = 1;
            org.AddEntry(entry);
            if (i > 0)
                org.AddMember(dn("deep" + std::to_string(i - 1)), entry.dn);
        }
        org.AddMember(dn("deep" + std::to_string(kDepth - 1)), dn("alice"));
        org.Commit();
    }
    EXPECT_EQ(CountRecipients(session(), "deep0@example.test"), 1);
}

TEST_F(Expand, FoundAndSeenGoOnFromWalkToWalk) {
    FoundPeople found;
    SeenLists seen;
    ExpandAddressEntry(session(), *world.Entry("Nested"), found, seen);
    EXPECT_THAT(seen, UnorderedElementsAre("nested@example.test", "sales@example.test"));
    EXPECT_EQ(found.size(), 3U);
    EXPECT_EQ(found["alice@example.test"], "Alice Adams");
    found.clear();
    ExpandAddressEntry(session(), *world.Entry("Sales"), found, seen);
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(Expand, MembersComeInOrderWithLoweredAddresses) {
    {
        Organisation org(world.storePath());
        NewAddressEntry mixed;
        mixed.dn = dn("mixed");
        mixed.name = "Mixed Case";
        mixed.alias = "mixed";
        mixed.smtp = "Mixed@Example.TEST";
        org.AddEntry(mixed);
    }
    EXPECT_THAT(members("mixed@example.test;sales@example.test;alice@example.test"),
                ElementsAre("Mixed Case=mixed@example.test", "Alice Adams=alice@example.test",
                            "Bob Baker=bob@example.test", "Séan O'Brien=obrien@example.test"));
    EXPECT_EQ(world.ui.boxes().size(), 0U);
}

TEST_F(Expand, AnExpansionStopsWhenAsked) {
    int people = 0;
    ExpandMembers(
        session(), "sales@example.test;carol@partner.test", [&](const Member&) { ++people; },
        [&] { return people == 1; });
    EXPECT_EQ(people, 1);
}

TEST_F(Expand, EventsRunBetweenTheMembers) {
    const int before = world.ui.doEventsCalls();
    CountRecipients(session(), "sales@example.test");
    EXPECT_GE(world.ui.doEventsCalls() - before, 5); // three people and two lists
}

TEST_F(Expand, WithoutASessionThereIsNobody) {
    session().rdo.reset();
    EXPECT_EQ(CountRecipients(session(), "sales@example.test"), 0);
    EXPECT_THAT(members("sales@example.test"), IsEmpty());
}

TEST_F(Expand, ALogoffInTheMiddleLeavesTheResultAsItStands) {
    world.ui.onDoEvents = [&] {
        if (session().rdo)
            session().rdo->Logoff();
        session().rdo.reset();
    };
    EXPECT_LE(CountRecipients(session(), "sales@example.test;carol@partner.test"), 3);
}

// --- query-based lists

TEST_F(Expand, AQueryBasedListAsksTheDirectory) {
    queryList("everybody@example.test", "(department=D1)",
              {rowOf("Person", "Dan", "Dan@Example.test"), rowOf("Person", "Nobody", ""),
               rowOf("Container", "Box", "box@example.test")},
              "OU=People,DC=example,DC=test");
    EXPECT_TRUE(IsQueryDL(session(), "everybody@example.test"));
    EXPECT_EQ(CountRecipients(session(), "everybody@example.test;dan@example.test"), 1);
    const DirectoryQuery& last = world.directory.queries.back();
    EXPECT_EQ(last.filter, "(department=D1)");
    EXPECT_EQ(last.base, "OU=People,DC=example,DC=test");
    EXPECT_EQ(last.scope, DirectoryQuery::Scope::SubTree);
    EXPECT_EQ(last.port, DirectoryQuery::Port::GlobalCatalog);
    EXPECT_EQ(last.pageSize, 100);
    EXPECT_EQ(last.timeoutSeconds, 30);
    EXPECT_THAT(last.attributes, ElementsAre("name", "mail", "objectCategory"));
    EXPECT_THAT(members("everybody@example.test"), ElementsAre("Dan=dan@example.test"));
}

TEST_F(Expand, WithoutABaseTheForestIsAsked) {
    queryList("everybody@example.test", "(department=D1)", {});
    EXPECT_EQ(CountRecipients(session(), "everybody@example.test"), 0);
    EXPECT_EQ(world.directory.queries.back().base, "DC=example,DC=test");
}

TEST_F(Expand, ANestedQueryIsFollowedOnce) {
    queryList("everybody@example.test", "(outer=1)",
              {rowOf("ms-Exch-Dynamic-Distribution-List", "Inner", "Inner@example.test"),
               rowOf("ms-Exch-Dynamic-Distribution-List", "Inner", "inner@example.test"),
               rowOf("ms-Exch-Dynamic-Distribution-List", "Everybody", "everybody@example.test"),
               rowOf("Person", "Dan", "dan@example.test")});
    queryList("inner@example.test", "(inner=1)",
              {rowOf("Person", "Eve", "eve@example.test"),
               rowOf("ms-Exch-Dynamic-Distribution-List", "Everybody", "everybody@example.test")});
    EXPECT_EQ(CountRecipients(session(), "everybody@example.test"), 2);
    EXPECT_EQ(asked("(outer=1)"), 1);
    EXPECT_EQ(asked("(inner=1)"), 1);
    FoundPeople found;
    SeenLists seen;
    ExpandQueryDL(session(), "inner@example.test", found, seen);
    EXPECT_THAT(found, UnorderedElementsAre(Pair("eve@example.test", "Eve"),
                                            Pair("dan@example.test", "Dan")));
}

TEST_F(Expand, AGroupOfAQueryIsWalkedInTheAddressBook) {
    queryList("everybody@example.test", "(outer=1)",
              {rowOf("Group", "Sales", "Sales@example.test"),
               rowOf("Group", "Gone", "gone@example.test"),
               rowOf("Person", "Dan", "dan@example.test")});
    EXPECT_THAT(members("everybody@example.test;nested@example.test"),
                ElementsAre("Dan=dan@example.test", "Alice Adams=alice@example.test",
                            "Bob Baker=bob@example.test", "Séan O'Brien=obrien@example.test"));
    FoundPeople found;
    SeenLists seen{"sales@example.test"};
    ExpandQueryDL(session(), "everybody@example.test", found, seen);
    EXPECT_EQ(found.size(), 1U);
}

TEST_F(Expand, ADirectoryThatIsNotThereIsAskedOnceAndCountsAsEmpty) {
    list("second", 3, {});
    world.directory.failOpen = true;
    EXPECT_EQ(
        CountRecipients(session(), "everybody@example.test;second@example.test;alice@example.test"),
        1);
    const std::string text = world.log();
    const size_t first = text.find("GetRootADsPath:unable to create rootDSE object ");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(text.find("GetRootADsPath:", first + 1), std::string::npos);
    EXPECT_NE(text.find("The server is not operational."), std::string::npos);
    EXPECT_FALSE(IsQueryDL(session(), "everybody@example.test"));
    EXPECT_EQ(world.ui.boxes().size(), 0U);
}

TEST_F(Expand, AListWithoutAFilterIsNoQuery) {
    world.directory.answers[filterOf("everybody@example.test")] = {
        {{"msExchDynamicDLBaseDN", {"DC=example,DC=test"}}}};
    EXPECT_FALSE(IsQueryDL(session(), "everybody@example.test"));
    EXPECT_FALSE(IsQueryDL(session(), ""));
    EXPECT_EQ(CountRecipients(session(), "everybody@example.test"), 0);
    EXPECT_EQ(world.directory.queries.back().filter, filterOf("everybody@example.test"));
}

TEST_F(Expand, AnAddressCanNotEndItsFilter) {
    IsQueryDL(session(), "a)(b*c\\@example.test");
    EXPECT_EQ(world.directory.queries.back().filter,
              "((proxyAddresses=SMTP:a\\29\\28b\\2ac\\5c@example.test))");
}

TEST_F(Expand, TheRootIsThePathOfTheForest) {
    EXPECT_EQ(GetRootADsPath(session()), "GC://DC=example,DC=test");
    world.directory.rootDSE.clear();
    EXPECT_EQ(GetRootADsPath(session()), "");
    EXPECT_TRUE(world.logHas("GetRootADsPath:error retrieving rootDomainNamingContext "));
}

TEST_F(Expand, TheBaseReplacesWhatStandsBehindTheLastSlash) {
    QueryParts query{"<GC://DC=example,DC=test>", "(a=b)", "name", "subTree"};
    SetQueryBase(query, "OU=X,DC=example,DC=test");
    EXPECT_EQ(query[0], "<GC://OU=X,DC=example,DC=test>");
    query[0] = "<LDAP://server/DC=example>";
    SetQueryBase(query, "OU=Y");
    EXPECT_EQ(query[0], "<LDAP://server/OU=Y>");
    QueryParts none;
    SetQueryBase(none, "OU=X");
    EXPECT_TRUE(none.empty());
}

// --- the variants

TEST_F(Expand, UsersAndSelfServiceTakePeopleAlone) {
    queryList("everybody@example.test", "(outer=1)",
              {rowOf("Person", "Dan", "DAN@example.test"), rowOf("Person", "Nobody", ""),
               rowOf("Group", "Sales", "sales@example.test"),
               rowOf("ms-Exch-Dynamic-Distribution-List", "Inner", "inner@example.test"),
               rowOf("Person", "Eve", "eve@example.test")});
    std::vector<std::string> users;
    ExpandQueryDLUsers(session(), "everybody@example.test",
                       [&](const std::string& name, const std::string& address) {
                           users.push_back(name + "=" + address);
                       });
    EXPECT_THAT(users, ElementsAre("Dan=dan@example.test", "Nobody=", "Eve=eve@example.test"));
    std::vector<std::string> missing;
    ExpandQueryDLSSU(session(), "everybody@example.test", {"dan@example.test"},
                     [&](const Member& member) { missing.push_back(member.address); });
    EXPECT_THAT(missing, ElementsAre("eve@example.test"));
    EXPECT_EQ(asked(filterOf("inner@example.test")), 0);
}

TEST_F(Expand, ContactsComeWithAllAttributesUntilOneIsRefused) {
    FakeDirectory::Entry dan = rowOf("Person", "Dan", "dan@example.test");
    dan["otherTelephone"] = {"1", "2"};
    dan["l"] = {"Köln"};
    dan["unknown"] = {"x"};
    queryList("everybody@example.test", "(outer=1)",
              {dan, rowOf("Group", "Sales", "sales@example.test"), rowOf("Person", "Eve", ""),
               rowOf("Person", "Never", "")});
    std::vector<DirectoryContact> written;
    ExpandQueryDLContacts(session(), "everybody@example.test", [&](const DirectoryContact& one) {
        written.push_back(one);
        return written.size() < 2;
    });
    ASSERT_EQ(written.size(), 2U);
    EXPECT_EQ(written[0].at("mail"), "dan@example.test");
    EXPECT_EQ(written[0].at("otherTelephone"), "1;2");
    EXPECT_EQ(written[0].at("l"), "Köln");
    EXPECT_FALSE(written[0].contains("unknown"));
    EXPECT_FALSE(written[0].contains("company"));
    EXPECT_EQ(written[1].at("name"), "Eve");
    EXPECT_EQ(world.directory.queries.back().attributes.size(), 23U);
}

TEST_F(Expand, PushTargetsLogTheirSteps) {
    queryList("everybody@example.test", "(outer=1)",
              {rowOf("Person", "Dan", "dan@example.test"),
               rowOf("Group", "Sales", "sales@example.test"),
               rowOf("Group", "Gone", "gone@example.test"),
               rowOf("ms-Exch-Dynamic-Distribution-List", "Inner", "inner@example.test"),
               rowOf("Group", "Sales again", "SALES@example.test")});
    queryList("inner@example.test", "(inner=1)", {rowOf("Person", "Eve", "eve@example.test")});
    std::vector<std::string> targets;
    SeenLists seen;
    ExpandQueryDLPush(
        session(), "everybody@example.test",
        [&](const Member& member) { targets.push_back(member.address); }, seen);
    EXPECT_THAT(targets, ElementsAre("dan@example.test", "alice@example.test", "bob@example.test",
                                     "obrien@example.test", "eve@example.test"));
    const std::string tag = "ExpandQueryDLPush:";
    EXPECT_TRUE(world.logHas(tag + "expanding member DL named 'Sales'"));
    EXPECT_TRUE(world.logHas(tag + "unable to retrieve address entry for DL named 'Gone'"));
    EXPECT_TRUE(world.logHas(tag + "expanding member query-based DL named 'Inner'"));
    EXPECT_TRUE(world.logHas(tag + "skipping repeat expansion of Sales again"));
}

} // namespace
