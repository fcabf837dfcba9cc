#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/DirectoryLookup.h"
#include "platform/directory/ldap/LdapDirectory.h"
#include "tests/support/DirectoryFixture.h"
#include "tests/support/World.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// A directory that fails from a chosen step on.
class FailingDirectory : public kr::DirectoryProvider {
public:
    enum class At { Create, Open, RootDSE, Execute };
    explicit FailingDirectory(At at) : m_at(at) {}

    std::unique_ptr<kr::Directory> CreateConnection() override {
        fail(At::Create);
        return std::make_unique<Connection>(*this);
    }

private:
    class Connection : public kr::Directory {
    public:
        explicit Connection(FailingDirectory& owner) : m_owner(owner) {}
        void Open() override { m_owner.fail(At::Open); }
        bool IsOpen() const override { return true; }
        std::string RootDSE(std::string_view) override {
            m_owner.fail(At::RootDSE);
            return "DC=example,DC=test";
        }
        std::shared_ptr<kr::DirectorySearch>
        Start(const kr::DirectoryQuery&, std::function<void(const kr::DirectoryRow&)>,
              std::function<void(const kr::PlatformError*)>) override {
            return nullptr;
        }
        void Execute(const kr::DirectoryQuery&,
                     const std::function<void(const kr::DirectoryRow&)>&) override {
            m_owner.fail(At::Execute);
        }
        void Close() override {}

    private:
        FailingDirectory& m_owner;
    };
    void fail(At at) const {
        if (at == m_at)
            throw kr::PlatformError(-2147016646, "The directory server is not operational.");
    }
    At m_at;
};

class DirectoryLookupTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_server = std::make_unique<kr::DirectoryFixture>(); }
    static void TearDownTestSuite() { s_server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        s_server->Configure(*m_world.registry);
        use(*m_ldap);
    }
    void use(kr::DirectoryProvider& directory) {
        const kr::Platform& p = *m_world.platform;
        m_platform = std::make_unique<kr::Platform>(
            kr::Platform{p.store, p.registry, p.ui, p.events, p.services, directory, p.shell,
                         p.database, p.http, p.secrets, p.clock});
        m_session = std::make_unique<kr::AgentSession>(*m_platform, m_world.logPath());
    }
    kr::AgentSession& session() { return *m_session; }
    kr::ScriptedUi& ui() { return m_world.ui; }

    static std::unique_ptr<kr::DirectoryFixture> s_server;
    kr::World m_world;
    std::unique_ptr<kr::DirectoryProvider> m_ldap =
        kr::MakeLdapDirectory(*m_world.registry, *m_world.events);
    std::unique_ptr<kr::Platform> m_platform;
    std::unique_ptr<kr::AgentSession> m_session;
};

std::unique_ptr<kr::DirectoryFixture> DirectoryLookupTest::s_server;

TEST_F(DirectoryLookupTest, AUserIsFoundByAccountOrAlias) {
    const auto user = kr::LookupUser(session(), "U12");
    ASSERT_TRUE(user);
    EXPECT_EQ(user->alias, "u12");
    EXPECT_EQ(user->server, "EX1");
    EXPECT_EQ(user->smtp, "u12@example.test");
    EXPECT_EQ(m_world.log(), "");
    EXPECT_TRUE(ui().boxes().empty());
    EXPECT_EQ(ui().waitCursors(), 0);
}

TEST_F(DirectoryLookupTest, AUserInAnotherDomainOfTheForestIsFoundToo) {
    const auto user = kr::LookupUser(session(), "u20");
    ASSERT_TRUE(user);
    EXPECT_EQ(user->alias, "u20");
}

TEST_F(DirectoryLookupTest, AnAccountWithoutMailboxHasEmptyFields) {
    const auto user = kr::LookupUser(session(), "nomail");
    ASSERT_TRUE(user);
    EXPECT_EQ(user->alias, "");
    EXPECT_EQ(user->server, "");
    EXPECT_EQ(user->smtp, "");
}

TEST_F(DirectoryLookupTest, AnUnknownUserIsLoggedWithTheQuery) {
    EXPECT_FALSE(kr::LookupUser(session(), "nobody*)(x"));
    EXPECT_TRUE(m_world.logHas(
        ":FirstRun::LookupUser: EOF = True on query <GC://DC=example,DC=test>;"
        "(|(sAMAccountName=nobody\\2a\\29\\28x)(mailNickname=nobody\\2a\\29\\28x));"
        "name,mail,msExchHomeServerName,displayName,mailNickname,proxyAddresses;subTree\n"))
        << m_world.log();
    EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(DirectoryLookupTest, AStarFindsNobody) {
    EXPECT_FALSE(kr::LookupUser(session(), "*"));
    EXPECT_FALSE(kr::LookupAdmin(session(), "*@*"));
}

TEST_F(DirectoryLookupTest, AnAdministratorIsFoundByEachKindOfAddress) {
    for (const char* address :
         {"EX:/o=Ex/ou=AG/cn=Recipients/cn=u7", "u7@example.test", "U7@OLD.TEST", "u7"}) {
        const auto admin = kr::LookupAdmin(session(), address);
        ASSERT_TRUE(admin) << address;
        EXPECT_EQ(admin->mail, "u7@example.test");
        EXPECT_EQ(admin->givenName, "First");
        EXPECT_EQ(admin->sn, "Last 7");
        EXPECT_EQ(admin->company, "Example");
        EXPECT_EQ(admin->telephoneNumber, "100007");
    }
    EXPECT_EQ(m_world.log(), "");
}

TEST_F(DirectoryLookupTest, FieldsThatAreNotThereAreEmpty) {
    const auto admin = kr::LookupAdmin(session(), "ohara@example.test");
    ASSERT_TRUE(admin);
    EXPECT_EQ(admin->sn, "O'Hara (old)");
    EXPECT_EQ(admin->company, "");
    EXPECT_EQ(admin->telephoneNumber, "");
}

TEST_F(DirectoryLookupTest, AnUnknownAdministratorIsLogged) {
    EXPECT_FALSE(kr::LookupAdmin(session(), "stranger@example.test"));
    EXPECT_TRUE(
        m_world.logHas(":LookupAdminAD: stranger@example.test not found in Active Directory\n"));
    EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(DirectoryLookupTest, AConnectionThatDoesNotOpenIsShownAndLogged) {
    for (const auto at : {FailingDirectory::At::Create, FailingDirectory::At::Open}) {
        FailingDirectory failing(at);
        use(failing);
        ui().Expect("Unable to open Active Directory connection!");
        EXPECT_FALSE(kr::LookupUser(session(), "u1"));
    }
    EXPECT_EQ(ui().boxes().back().icon, kr::BoxIcon::Stop);
    EXPECT_TRUE(m_world.logHas(":FirstRun::LookupUser:failed to open AD connection\n"));
    FailingDirectory failing(FailingDirectory::At::Open);
    use(failing);
    ui().Expect("Unable to open Active Directory connection!");
    EXPECT_FALSE(kr::LookupAdmin(session(), "u1"));
    EXPECT_TRUE(m_world.logHas(":FirstRun::LookupAdmin:failed to open AD connection\n"));
    EXPECT_EQ(ui().waitCursors(), 0);
}

TEST_F(DirectoryLookupTest, ARootThatCannotBeReadIsLogged) {
    FailingDirectory failing(FailingDirectory::At::RootDSE);
    use(failing);
    EXPECT_FALSE(kr::LookupUser(session(), "u1"));
    EXPECT_TRUE(m_world.logHas(":FirstRun::LookupUser: failed to rootDSE \n"));
    EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(DirectoryLookupTest, AQueryThatFailsIsLoggedWithItsNumber) {
    FailingDirectory failing(FailingDirectory::At::Execute);
    use(failing);
    EXPECT_FALSE(kr::LookupUser(session(), "u1"));
    EXPECT_TRUE(m_world.logHas(
        ":FirstRun::LookupUser: -2147016646 The directory server is not operational.\n"));
    EXPECT_THAT(m_world.log(), Not(HasSubstr("EOF")));
    EXPECT_FALSE(kr::LookupAdmin(session(), "u1"));
    EXPECT_THAT(m_world.log(), Not(HasSubstr("not found")));
}

TEST_F(DirectoryLookupTest, AServerThatIsNotThereIsShown) {
    kr::SetDirectoryValue(*m_world.registry, "GCPort", "1");
    ui().Expect("Unable to open Active Directory connection!");
    EXPECT_FALSE(kr::LookupUser(session(), "u1"));
}

} // namespace
