#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/database/Provider.h"
#include "platform/events/epoll/EpollEvents.h"
#include "tests/support/Loopback.h"
#include "tests/support/Postgres.h"

namespace {

using kr::Value;

/// A listening socket of loopback that never answers; its port is free again afterwards.
class SilentServer {
public:
    SilentServer() {
        const kr::ListeningSocket listening = kr::ListenOnLoopback();
        m_fd = listening.fd;
        port = listening.port;
    }
    ~SilentServer() { close(m_fd); }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;
    int port = 0;

private:
    int m_fd = -1;
};

/// With a PostgreSQL of its own.
class OdbcTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_server = std::make_unique<kr::Postgres>("se;cret=1");
        ASSERT_TRUE(s_server->running());
        s_port = s_server->port();
    }
    static void TearDownTestSuite() { s_server.reset(); }
    static std::string text(int port, const std::string& password = "'se;cret=1'") {
        return kr::Postgres::ConnectionString(port, password);
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

    std::unique_ptr<kr::Events> events = std::make_unique<kr::EpollEvents>();
    std::unique_ptr<kr::DatabaseProvider> provider = kr::MakeDatabaseProvider(*events);
    static inline std::unique_ptr<kr::Postgres> s_server;
    static inline int s_port = 0;
};

TEST_F(OdbcTest, TypesAndManyRows) {
    auto db = provider->Open(text(s_port));
    const auto rows = db->Query("SELECT 7 AS \"Number\", 1.5::float8 AS f, 'Ünal €'::text AS t, "
                                "NULL::int AS n, '' AS e, timestamp '2009-03-07 10:11:12' AS d, "
                                "repeat('x', 5000) AS long");
    ASSERT_EQ(rows.rows.size(), 1u);
    EXPECT_EQ(rows.columns.at(0), "Number");
    const Value when = kr::Time(std::chrono::sys_days(std::chrono::year(2009) / 3 / 7)) +
                       std::chrono::seconds(10 * 3600 + 11 * 60 + 12);
    EXPECT_EQ(rows.rows[0],
              (std::vector<Value>{7, 1.5, "Ünal €", Value(), "", when, std::string(5000, 'x')}));
    EXPECT_EQ(db->Query("SELECT generate_series(1,20000)").rows.size(), 20000u);
    kr::DbLimits limits;
    limits.maxRows = 5;
    EXPECT_EQ(db->Query("SELECT generate_series(1,20000)", limits).rows.size(), 5u);
}

TEST_F(OdbcTest, ErrorsHaveNumbersAndReasons) {
    std::string reason;
    EXPECT_EQ(numberOf([&] { provider->Open(text(s_port, "wrong")); }, &reason), kr::DB_E_LOGIN);
    EXPECT_NE(reason.find("authentication failed"), std::string::npos) << reason;
    EXPECT_EQ(numberOf([&] { provider->Open(text(kr::FreePort())); }, &reason), kr::DB_E_FAIL);
    EXPECT_NE(reason.find("Connection refused"), std::string::npos) << reason;
    EXPECT_EQ(numberOf([&] { provider->Open("Driver={No Such}"); }), kr::DB_E_PROVIDER_MISSING);
    EXPECT_EQ(numberOf([&] {
                  provider->Open("Provider=SQLOLEDB;Data Source=127.0.0.1," +
                                 std::to_string(kr::FreePort()) + ";User ID=u;Password=p");
              }),
              kr::DB_E_FAIL);
    auto db = provider->Open(text(s_port));
    EXPECT_EQ(numberOf([&] { db->Query("SELEC 1"); }), kr::DB_E_SYNTAX);
    EXPECT_EQ(numberOf([&] { db->Query("SELECT * FROM none"); }), kr::DB_E_NO_TABLE);
    EXPECT_EQ(db->Query("SELECT 1").rows.size(), 1u);
}

TEST_F(OdbcTest, SilentServersAndSlowQueriesEndInTime) {
    int ticks = 0;
    events->AddTimer(std::chrono::milliseconds(20), [&] { ++ticks; });
    const SilentServer silent;
    kr::DbLimits limits;
    limits.connectSeconds = 2;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { provider->Open(text(silent.port), limits); }), kr::DB_E_FAIL);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_GT(ticks, 30);
    auto db = provider->Open(text(s_port));
    limits.querySeconds = 1;
    EXPECT_EQ(numberOf([&] { db->Query("SELECT pg_sleep(20)", limits); }), kr::DB_E_TIMEOUT);
    std::atomic<bool> cancel = false;
    events->AddTimer(std::chrono::milliseconds(200), [&] { cancel = true; });
    limits.querySeconds = 30;
    limits.cancel = &cancel;
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { db->Query("SELECT pg_sleep(20)", limits); }), kr::DB_E_CANCELED);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

} // namespace
