#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/database/Provider.h"
#include "platform/events/epoll/EpollEvents.h"
#include "tests/support/Loopback.h"
#include "tests/support/TdsPeer.h"

namespace {

using kr::Value;
using SteadyClock = std::chrono::steady_clock;

/// Through FreeTDS against a stand-in of the protocol.
class SqlServerTest : public testing::Test {
protected:
    SqlServerTest() {
        peer.answers["GetPeople"] = {
            {"Email1", "UniqueID", "Active"},
            {{"a@x", 7, true}, {Value(), Value(), Value()}, {"", -1, false}}};
    }
    std::string cxn(const std::string& password = "secret",
                    const std::string& catalog = "crm") const {
        return "Provider=SQLOLEDB; Data Source=127.0.0.1," + std::to_string(peer.port) +
               "; Network Library=DBMSSOCN; Initial Catalog=" + catalog +
               "; User ID=sa;Password=" + password + ";";
    }
    static long numberOf(const std::function<void()>& call, std::string* reason = nullptr) {
        try {
            call();
        } catch (const kr::PlatformError& e) {
            if (reason)
                *reason = e.description();
            return e.number();
        }
        return 0;
    }

    kr::TdsPeer peer;
    std::unique_ptr<kr::Events> events = std::make_unique<kr::EpollEvents>();
    std::unique_ptr<kr::DatabaseProvider> provider = kr::MakeDatabaseProvider(*events);
};

TEST_F(SqlServerTest, AProcedureByItsName) {
    auto db = provider->Open(cxn());
    const auto rows = db->Query("GetPeople");
    EXPECT_EQ(rows.columns, (kr::Strings{"Email1", "UniqueID", "Active"}));
    ASSERT_EQ(rows.rows.size(), 3u);
    EXPECT_EQ(rows.rows[0], (std::vector<Value>{"a@x", 7, true}));
    EXPECT_EQ(rows.rows[1], (std::vector<Value>{Value(), Value(), Value()}));
    EXPECT_EQ(rows.rows[2], (std::vector<Value>{"", -1, false}));
    // as it stands, never prepared: only so a bare name runs
    EXPECT_EQ(peer.Batches().back(), "GetPeople");
    EXPECT_EQ(peer.Logins().at(0), "KR-Admin|crm");
    EXPECT_EQ(db->Query("GetPeople").rows.size(), 3u);
}

TEST_F(SqlServerTest, ManyRowsInManyPackets) {
    kr::TdsPeer::Answer many{{"N", "Text"}, {}};
    for (int i = 0; i < 20'000; ++i)
        many.rows.push_back({i, "row " + std::to_string(i)});
    peer.answers["many"] = many;
    const auto rows = provider->Open(cxn())->Query("many");
    ASSERT_EQ(rows.rows.size(), 20'000u);
    EXPECT_EQ(rows.rows[19'999], (std::vector<Value>{19'999, "row 19999"}));
    kr::DbLimits limits;
    limits.maxRows = 10;
    EXPECT_EQ(provider->Open(cxn())->Query("many", limits).rows.size(), 10u);
}

TEST_F(SqlServerTest, ErrorsInTheServersWords) {
    std::string reason;
    EXPECT_EQ(numberOf([&] { provider->Open(cxn("wrong")); }, &reason), kr::DB_E_LOGIN);
    EXPECT_EQ(reason, "Login failed for user 'sa'.");
    EXPECT_NE(numberOf([&] { provider->Open(cxn("secret", "nowhere")); }, &reason), 0);
    EXPECT_EQ(reason, "Cannot open database \"nowhere\" requested by the login. The login failed.");
    auto db = provider->Open(cxn());
    EXPECT_EQ(numberOf([&] { db->Query("People"); }, &reason), kr::DB_E_NO_TABLE);
    EXPECT_EQ(reason, "Invalid object name 'People'.");
    EXPECT_EQ(numberOf([&] { db->Query("SELEC 1"); }, &reason), kr::DB_E_SYNTAX);
    EXPECT_EQ(reason, "Incorrect syntax near 'SELEC'.");
    EXPECT_EQ(db->Query("GetPeople").rows.size(), 3u);
}

TEST_F(SqlServerTest, ASlowQueryIsGivenUpInTime) {
    auto db = provider->Open(cxn());
    kr::DbLimits limits;
    limits.querySeconds = 1;
    int ticks = 0;
    events->AddTimer(std::chrono::milliseconds(20), [&] { ++ticks; });
    const auto start = SteadyClock::now();
    EXPECT_EQ(numberOf([&] { db->Query(kr::TdsPeer::kHang, limits); }), kr::DB_E_TIMEOUT);
    EXPECT_LT(SteadyClock::now() - start, std::chrono::seconds(4));
    EXPECT_GT(ticks, 20);
}

TEST_F(SqlServerTest, AServerThatDiesInAQueryAndACancel) {
    auto db = provider->Open(cxn());
    kr::DbLimits limits;
    limits.querySeconds = 1;
    auto start = SteadyClock::now();
    EXPECT_NE(numberOf([&] { db->Query(kr::TdsPeer::kDead, limits); }), 0);
    EXPECT_LT(SteadyClock::now() - start, std::chrono::seconds(9));
    db = provider->Open(cxn());
    std::atomic<bool> cancel = false;
    events->AddTimer(std::chrono::milliseconds(200), [&] { cancel = true; });
    limits.querySeconds = 30;
    limits.cancel = &cancel;
    start = SteadyClock::now();
    EXPECT_EQ(numberOf([&] { db->Query(kr::TdsPeer::kHang, limits); }), kr::DB_E_CANCELED);
    EXPECT_LT(SteadyClock::now() - start, std::chrono::seconds(2));
}

TEST_F(SqlServerTest, AServerThatStaysSilentAtTheLogin) {
    const kr::ListeningSocket silent = kr::ListenOnLoopback();
    kr::DbLimits limits;
    limits.connectSeconds = 1;
    const auto start = SteadyClock::now();
    EXPECT_NE(numberOf([&] {
                  provider->Open("Provider=SQLOLEDB; Data Source=127.0.0.1," +
                                     std::to_string(silent.port) + ";User ID=sa;Password=x;",
                                 limits);
              }),
              0);
    EXPECT_LT(SteadyClock::now() - start, std::chrono::seconds(4));
    close(silent.fd);
}

} // namespace
