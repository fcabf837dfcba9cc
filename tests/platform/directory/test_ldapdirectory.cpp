#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <thread>

#include "tests/platform/directory/DirectoryTest.h"

using namespace std::chrono_literals;
using kr::DirectoryQuery;
using kr::DirectoryRow;
using kr::PlatformError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

constexpr int kPeople = 230; // three pages of 100, and over 97 twice

class LdapDirectoryTest : public kr::DirectoryTest {
protected:
    static void SetUpTestSuite() {
        kr::DirectoryFixture::Options options;
        options.people = kPeople;
        s_server = std::make_unique<kr::DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        s_server->Configure(*m_registry);
    }
    void open() { m_directory->Open(); }

    static std::unique_ptr<kr::DirectoryFixture> s_server;
};

std::unique_ptr<kr::DirectoryFixture> LdapDirectoryTest::s_server;

TEST_F(LdapDirectoryTest, OpensAndReadsTheRootDse) {
    EXPECT_FALSE(m_directory->IsOpen());
    open();
    EXPECT_TRUE(m_directory->IsOpen());
    EXPECT_EQ(m_directory->RootDSE("rootDomainNamingContext"), "DC=example,DC=test");
    EXPECT_EQ(m_directory->RootDSE("defaultNamingContext"), "DC=example,DC=test");
    EXPECT_EQ(errorOf([&] { m_directory->RootDSE("noSuchThing"); }).number(), hresult(0x80072030));
}

TEST_F(LdapDirectoryTest, PagesGiveEveryRowOnce) {
    open();
    const auto all = names(query("(objectCategory=person)", {"sAMAccountName"}));
    EXPECT_EQ(all.size(), size_t(kPeople + 2));
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
    EXPECT_GT(m_idles, 0);
    EXPECT_THAT(s_server->log(), HasSubstr("nentries=100 "));
}

TEST_F(LdapDirectoryTest, TheAddressListLeavesOutDisabledAndHiddenOnes) {
    open();
    const auto rows = names(query(
        "(&(objectCategory=person)(objectClass=user)(mailnickname=*)(msExchHomeServerName=*)"
        "(!userAccountControl:1.2.840.113556.1.4.803:=2)(!msExchHideFromAddressLists=True))"));
    // 4 disabled (each 50th), 2 hidden (each 97th); O'Hara is in
    EXPECT_EQ(rows.size(), size_t(kPeople - 4 - 2 + 1));
}

TEST_F(LdapDirectoryTest, ValuesComeInOrderWhateverTheCaseOfTheAttribute) {
    open();
    int rows = 0;
    m_directory->Execute(
        query("((proxyAddresses=SMTP:U7@example.test))", {"MAIL", "proxyaddresses", "title"}),
        [&](const DirectoryRow& row) {
            ++rows;
            EXPECT_EQ(row.First("mail"), "u7@example.test");
            EXPECT_THAT(row.Values("ProxyAddresses"),
                        ElementsAre("smtp:u7@old.test", "SMTP:u7@example.test"));
            EXPECT_EQ(row.First("title"), "");
            EXPECT_TRUE(row.Values("title").empty());
            EXPECT_EQ(row.First("givenName"), "") << "an attribute that was not asked for";
        });
    EXPECT_EQ(rows, 1);
}

TEST_F(LdapDirectoryTest, AnEntryWithoutNameAndDnAttributesReadsThemFromItsDn) {
    open();
    int rows = 0;
    m_directory->Execute(query("(mailNickname=ohara)", {"name", "distinguishedName"}),
                         [&](const DirectoryRow& row) {
                             ++rows;
                             EXPECT_EQ(row.First("name"), "O'Hara (old) \\ , x");
                             EXPECT_THAT(row.DN(), HasSubstr("OU=Staff"));
                             EXPECT_EQ(row.First("distinguishedName"), row.DN());
                         });
    EXPECT_EQ(rows, 1);
}

TEST_F(LdapDirectoryTest, EscapedValuesFindWhatTheyName) {
    open();
    EXPECT_THAT(
        names(query("(cn=" + kr::EscapeFilterValue("O'Hara (old) \\ , x") + ")", {"mailNickname"})),
        ElementsAre("ohara"));
    EXPECT_THAT(names(query("(sn=O'Hara (old))", {"mailNickname"})), ElementsAre("ohara"));
    EXPECT_TRUE(names(query("(cn=" + kr::EscapeFilterValue("*") + ")")).empty());
}

TEST_F(LdapDirectoryTest, ScopesAndBases) {
    open();
    auto oneLevel = query("(|(objectClass=container)(objectClass=organizationalUnit))");
    oneLevel.port = DirectoryQuery::Port::Ldap;
    oneLevel.scope = DirectoryQuery::Scope::OneLevel;
    EXPECT_EQ(names(oneLevel).size(), 10u);
    auto base = query("(objectClass=*)");
    base.base = "OU=People,DC=emea,DC=example,DC=test";
    base.scope = DirectoryQuery::Scope::Base;
    EXPECT_THAT(names(base), ElementsAre("People"));
    auto below = query("(mailNickname=*)");
    below.base = base.base;
    EXPECT_EQ(names(below).size(), size_t(kPeople / 10));
}

TEST_F(LdapDirectoryTest, AReferralIsPassedOver) {
    open();
    const auto all = names(query("(objectClass=*)"));
    EXPECT_EQ(std::count(all.begin(), all.end(), "apac"), 0);
    EXPECT_GT(all.size(), size_t(kPeople));
}

TEST_F(LdapDirectoryTest, EachPortIsTheOneSet) {
    open();
    const std::string before = s_server->log();
    EXPECT_NE(before.find("(IP=127.0.0.1:" + std::to_string(s_server->catalogPort()) + ")"),
              std::string::npos);
    auto q = query("(mailNickname=u1)");
    q.port = DirectoryQuery::Port::Ldap;
    EXPECT_EQ(names(q).size(), 1u);
    // the server writes its log behind its answer
    const std::string port = "(IP=127.0.0.1:" + std::to_string(s_server->port()) + ")";
    const auto seen = [&] {
        return s_server->log().find(port, before.size()) != std::string::npos;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!seen() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(seen()) << port;
}

TEST_F(LdapDirectoryTest, TheServersErrorsHaveTheirNumbers) {
    open();
    auto gone = query("(cn=x)");
    gone.base = "OU=None,DC=example,DC=test";
    EXPECT_EQ(errorOf([&] { names(gone); }).number(), hresult(0x80072030));
    gone.base = "not a name";
    EXPECT_EQ(errorOf([&] { names(gone); }).number(), hresult(0x80072032));
    const PlatformError filter = errorOf([&] { names(query("(a=b)(c=d)")); });
    EXPECT_EQ(filter.number(), hresult(0x8007203E));
    EXPECT_THAT(filter.description(), HasSubstr("(a=b)(c=d)"));
}

TEST_F(LdapDirectoryTest, NothingRunsOnAConnectionThatIsNotOpen) {
    EXPECT_EQ(errorOf([&] { names(query("(cn=x)")); }).number(), 3709);
    open();
    m_directory->Close();
    EXPECT_FALSE(m_directory->IsOpen());
    EXPECT_EQ(errorOf([&] { names(query("(cn=x)")); }).number(), 3709);
    open();
    EXPECT_EQ(names(query("(mailNickname=u1)")).size(), 1u);
}

TEST_F(LdapDirectoryTest, AStartedSearchDeliversWhileEventsRun) {
    open();
    int rows = 0;
    bool done = false;
    const auto search = m_directory->Start(
        query("(mailNickname=u*)"), [&](const DirectoryRow&) { ++rows; },
        [&](const PlatformError* error) {
            EXPECT_EQ(error, nullptr);
            done = true;
        });
    EXPECT_EQ(rows, 0);
    EXPECT_FALSE(search->Done());
    EXPECT_TRUE(until([&] { return done; }));
    EXPECT_TRUE(search->Done());
    EXPECT_EQ(rows, kPeople);
}

TEST_F(LdapDirectoryTest, CancelInARowIsTheLastCall) {
    open();
    int rows = 0;
    std::shared_ptr<kr::DirectorySearch> search;
    search = m_directory->Start(
        query("(mailNickname=u*)"),
        [&](const DirectoryRow&) {
            if (++rows == 150)
                search->Cancel();
        },
        [](const PlatformError*) { FAIL() << "a cancelled search ended"; });
    EXPECT_TRUE(until([&] { return search->Done(); }));
    EXPECT_FALSE(until([&] { return rows > 150; }, 100ms));
    EXPECT_EQ(names(query("(mailNickname=u1)")).size(), 1u);
}

TEST_F(LdapDirectoryTest, ASearchInsideTheRowsOfAnotherHasItsOwnConnection) {
    open();
    int outer = 0;
    int inner = 0;
    m_directory->Execute(
        query("(mailNickname=u*)", {"mailNickname"}), [&](const DirectoryRow& row) {
            ++outer;
            if (outer % 60 == 0)
                inner +=
                    static_cast<int>(names(query("(|(mailNickname=" + row.First("mailNickname") +
                                                 ")(mailNickname=u*))"))
                                         .size());
        });
    EXPECT_EQ(outer, kPeople);
    EXPECT_EQ(inner, 3 * kPeople);
}

TEST_F(LdapDirectoryTest, TwoPagedSearchesRunBesideEachOther) {
    open();
    int rows[2] = {0, 0};
    int done = 0;
    for (int& count : rows)
        m_directory->Start(
            query("(mailNickname=u*)"), [&count](const DirectoryRow&) { ++count; },
            [&](const PlatformError* error) {
                EXPECT_EQ(error, nullptr) << error->description();
                ++done;
            });
    EXPECT_TRUE(until([&] { return done == 2; }));
    EXPECT_EQ(rows[0], kPeople);
    EXPECT_EQ(rows[1], kPeople);
}

TEST_F(LdapDirectoryTest, ClosingInsideARowEndsExecuteWithAnError) {
    open();
    int rows = 0;
    const PlatformError error = errorOf([&] {
        m_directory->Execute(query("(mailNickname=u*)"), [&](const DirectoryRow&) {
            if (++rows == 5)
                m_directory->Close();
        });
    });
    EXPECT_EQ(error.number(), 3709);
    EXPECT_EQ(rows, 5);
}

TEST_F(LdapDirectoryTest, AnExceptionOfTheReceiverLeavesTheConnectionUsable) {
    open();
    EXPECT_THROW(
        m_directory->Execute(query("(mailNickname=u*)"),
                             [](const DirectoryRow&) { throw std::runtime_error("enough"); }),
        std::runtime_error);
    EXPECT_EQ(names(query("(mailNickname=u*)")).size(), size_t(kPeople));
}

TEST_F(LdapDirectoryTest, AServerThatIsGoneIsNotOperational) {
    kr::DirectoryFixture::Options few;
    few.people = 5;
    kr::DirectoryFixture server(few);
    ASSERT_TRUE(server.running()) << server.problem();
    server.Configure(*m_registry);
    open();
    EXPECT_EQ(names(query("(mailNickname=u1)")).size(), 1u);
    server.Kill();
    const PlatformError error = errorOf([&] { names(query("(mailNickname=u1)")); });
    EXPECT_EQ(error.number(), hresult(0x8007203A));
    EXPECT_THAT(error.description(), HasSubstr("127.0.0.1:"));
    const auto again = m_provider->CreateConnection();
    EXPECT_EQ(errorOf([&] { again->Open(); }).number(), hresult(0x8007203A));
}

TEST_F(LdapDirectoryTest, AnIdleConnectionThatTheServerClosedIsReplaced) {
    kr::DirectoryFixture::Options few;
    few.people = 5;
    kr::DirectoryFixture server(few);
    ASSERT_TRUE(server.running()) << server.problem();
    server.Configure(*m_registry);
    open();
    EXPECT_EQ(names(query("(mailNickname=u1)")).size(), 1u);
    server.Kill();
    ASSERT_TRUE(server.Start()) << server.problem();
    EXPECT_EQ(names(query("(mailNickname=u2)")).size(), 1u);
}

TEST_F(LdapDirectoryTest, ASilentServerEndsWithTheDeadlineWhileEventsRun) {
    kr::DirectoryFixture::Options few;
    few.people = 5;
    kr::DirectoryFixture server(few);
    ASSERT_TRUE(server.running()) << server.problem();
    server.Configure(*m_registry);
    open();
    server.Freeze();
    int ticks = 0;
    m_events->AddTimer(20ms, [&] { ++ticks; });
    auto q = query("(mailNickname=u1)");
    q.timeoutSeconds = 1;
    const auto start = Clock::now();
    const PlatformError error = errorOf([&] { names(q); });
    EXPECT_EQ(error.number(), hresult(0x800705B4));
    EXPECT_GE(Clock::now() - start, 990ms);
    EXPECT_LT(Clock::now() - start, 1500ms);
    EXPECT_GT(ticks, 30);
    server.Thaw();
    EXPECT_EQ(names(query("(mailNickname=u1)")).size(), 1u);
}

TEST_F(LdapDirectoryTest, ASlowReceiverDoesNotUseUpTheServersTime) {
    open();
    auto q = query("(|(mailNickname=u1)(mailNickname=u2))");
    q.timeoutSeconds = 1;
    int rows = 0;
    m_directory->Execute(q, [&](const DirectoryRow&) {
        ++rows;
        until([] { return false; }, 1200ms);
    });
    EXPECT_EQ(rows, 2);
}

TEST_F(LdapDirectoryTest, ThousandRowsAreTheMostWithoutPages) {
    kr::DirectoryFixture::Options many;
    many.people = 1100;
    kr::DirectoryFixture server(many);
    ASSERT_TRUE(server.running()) << server.problem();
    server.Configure(*m_registry);
    open();
    auto q = query("(mailNickname=u*)");
    q.pageSize = 0;
    int rows = 0;
    EXPECT_EQ(
        errorOf([&] { m_directory->Execute(q, [&](const DirectoryRow&) { ++rows; }); }).number(),
        hresult(0x80072023));
    EXPECT_EQ(rows, 1000);
    EXPECT_EQ(names(query("(mailNickname=u*)")).size(), 1100u);
}

TEST_F(LdapDirectoryTest, NoTurnOfTheLoopIsLong) {
    open();
    Clock::duration longest{};
    bool done = false;
    m_directory->Start(
        query("(objectClass=*)", {}), [](const DirectoryRow&) {},
        [&](const PlatformError*) { done = true; });
    while (!done) {
        const auto start = Clock::now();
        m_events->Run(0ms);
        longest = std::max(longest, Clock::now() - start);
    }
    EXPECT_LT(longest, 100ms);
}

} // namespace
