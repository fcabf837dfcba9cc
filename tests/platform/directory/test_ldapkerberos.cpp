#include <gmock/gmock.h>

#include "tests/platform/directory/DirectoryTest.h"
#include "tests/support/KerberosRealm.h"

using kr::DirectoryFixture;
using kr::KerberosRealm;
using ::testing::HasSubstr;

/// The GSSAPI plug-in of libsasl2 2.1.28 keeps its credentials when a bind ends without a layer of
/// its own, as under TLS.
extern "C" const char* __lsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier)
const char* __lsan_default_suppressions() { return "leak:libgssapi\nleak:libkrb5\n"; }

namespace {

/// A Kerberos realm, with a person "alice" who has a ticket, and a directory that knows the realm.
class LdapKerberosTest : public kr::DirectoryTest {
protected:
    static void SetUpTestSuite() {
        s_realm = std::make_unique<KerberosRealm>("ldap/localhost");
        DirectoryFixture::Options options;
        options.people = 120;
        options.usersOnly = true;
        options.tls = true;
        options.environment = {"KRB5_KTNAME=FILE:" + s_realm->keytab()};
        options.extraConfiguration = "sasl-host localhost\n";
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() {
        s_server.reset();
        s_realm.reset();
    }
    void SetUp() override {
        ASSERT_TRUE(s_realm->ready()) << s_realm->output();
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        s_server->Configure(*m_registry);
        set("Server", "localhost");
        set("Mechanism", "gssapi");
        set("CAFile", s_server->caFile());
    }
    static inline std::unique_ptr<KerberosRealm> s_realm;
    static inline std::unique_ptr<DirectoryFixture> s_server;
};

TEST_F(LdapKerberosTest, ATicketOpensTheDirectoryAndSealsTheConnection) {
    m_directory->Open();
    EXPECT_EQ(names(query("(mailNickname=u*)")).size(), 120u);
    EXPECT_THAT(s_server->log(), HasSubstr("alice"));
    EXPECT_THAT(s_server->log(), HasSubstr("mech=GSS-SPNEGO bind_ssf=256"));
}

TEST_F(LdapKerberosTest, PagesPassTheSealedConnectionInAnySearchOrder) {
    m_directory->Open();
    int done = 0;
    int rows = 0;
    for (int i = 0; i < 3; ++i)
        m_directory->Start(
            query("(mailNickname=u*)"), [&](const kr::DirectoryRow&) { ++rows; },
            [&](const kr::PlatformError* error) {
                EXPECT_EQ(error, nullptr) << error->description();
                ++done;
            });
    EXPECT_TRUE(until([&] { return done == 3; }));
    EXPECT_EQ(rows, 360);
}

TEST_F(LdapKerberosTest, UnderTlsThereIsNoSecondLayer) {
    set("TLS", "starttls");
    const size_t before = s_server->log().size();
    m_directory->Open();
    EXPECT_EQ(names(query("(mailNickname=u*)")).size(), 120u);
    const std::string log = s_server->log().substr(before);
    EXPECT_THAT(log, HasSubstr("TLS established"));
    EXPECT_THAT(log, HasSubstr("mech=GSS-SPNEGO bind_ssf=0"));
}

TEST_F(LdapKerberosTest, WithoutATicketTheReasonIsTold) {
    s_realm->ForgetTickets();
    const auto error = errorOf([&] { m_directory->Open(); });
    EXPECT_TRUE(s_realm->Ticket());
    EXPECT_NE(error.number(), 0);
    EXPECT_THAT(error.description(),
                HasSubstr("redentials")); // credentials, "No credentials cache"
}

TEST_F(LdapKerberosTest, AServiceThatTheRealmDoesNotKnowIsRefused) {
    set("Server", "127.0.0.1");
    const auto error = errorOf([&] { m_directory->Open(); });
    EXPECT_NE(error.number(), 0);
    EXPECT_FALSE(m_directory->IsOpen());
}

} // namespace
