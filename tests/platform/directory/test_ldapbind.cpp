#include <gmock/gmock.h>

#include <fstream>

#include "tests/platform/directory/DirectoryTest.h"

using namespace std::chrono_literals;
using kr::DirectoryFixture;
using ::testing::HasSubstr;

namespace {

/// A server that shows nothing to strangers and speaks TLS.
class LdapBindTest : public kr::DirectoryTest {
protected:
    static void SetUpTestSuite() {
        DirectoryFixture::Options options;
        options.people = 120;
        options.usersOnly = true;
        options.tls = true;
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        s_server->Configure(*m_registry);
        set("CAFile", s_server->caFile());
    }
    void account(std::string_view name = DirectoryFixture::kAccount,
                 std::string_view password = DirectoryFixture::kPassword) {
        set("Mechanism", "simple");
        set("Account", name);
        set("Password", password);
    }
    void ldaps() {
        set("TLS", "ldaps");
        set("GCPort", std::to_string(s_server->tlsPort()));
    }
    size_t people() { return names(query("(mailNickname=u*)")).size(); }

    static std::unique_ptr<DirectoryFixture> s_server;
};

std::unique_ptr<DirectoryFixture> LdapBindTest::s_server;

TEST_F(LdapBindTest, StrangersReadTheRootDseOnly) {
    m_directory->Open();
    EXPECT_EQ(m_directory->RootDSE("defaultNamingContext"), "DC=example,DC=test");
    const auto error = errorOf([&] { people(); });
    // a server that hides everything says that there is nothing
    EXPECT_THAT(error.number(), ::testing::AnyOf(hresult(0x80070005), hresult(0x80072030)));
}

TEST_F(LdapBindTest, ASimpleBindOverStartTls) {
    account();
    set("TLS", "starttls");
    const size_t before = s_server->log().size();
    m_directory->Open();
    EXPECT_EQ(people(), 120u);
    EXPECT_THAT(s_server->log().substr(before), HasSubstr("TLS established"));
}

TEST_F(LdapBindTest, ASimpleBindOverLdaps) {
    account();
    ldaps();
    m_directory->Open();
    EXPECT_EQ(people(), 120u);
}

TEST_F(LdapBindTest, AnotherAuthoritysCertificateIsRefused) {
    account();
    set("CAFile", "/etc/ssl/certs/ca-certificates.crt");
    for (const char* tls : {"starttls", "ldaps"}) {
        if (std::string(tls) == "ldaps")
            ldaps();
        set("TLS", tls);
        const auto error = errorOf([&] { m_directory->Open(); });
        EXPECT_EQ(error.number(), hresult(0x8007203A)) << tls;
        EXPECT_THAT(error.description(), HasSubstr("127.0.0.1:"));
    }
}

TEST_F(LdapBindTest, TheEnvironmentCannotSwitchTheChecksOff) {
    setenv("LDAPTLS_REQCERT", "never", 1);
    account();
    set("TLS", "starttls");
    set("CAFile", "/etc/ssl/certs/ca-certificates.crt");
    EXPECT_EQ(errorOf([&] { m_directory->Open(); }).number(), hresult(0x8007203A));
    unsetenv("LDAPTLS_REQCERT");
}

TEST_F(LdapBindTest, ACertificateForAnotherNameIsRefused) {
    account();
    set("TLS", "starttls");
    set("Server", "127.0.0.2"); // slapd listens on 127.0.0.1 alone
    EXPECT_EQ(errorOf([&] { m_directory->Open(); }).number(), hresult(0x8007203A));
    DirectoryFixture::Options other;
    other.people = 1;
    other.tls = true;
    other.address = "127.0.0.3";
    DirectoryFixture server(other);
    ASSERT_TRUE(server.running()) << server.problem();
    server.Configure(*m_registry);
    account();
    set("TLS", "starttls");
    set("CAFile", server.caFile());
    EXPECT_EQ(errorOf([&] { m_directory->Open(); }).number(), hresult(0x8007203A));
}

TEST_F(LdapBindTest, AWrongPasswordIsRefusedByTheServer) {
    account(DirectoryFixture::kAccount, "wrong");
    EXPECT_EQ(errorOf([&] { m_directory->Open(); }).number(), hresult(0x8007052E));
}

TEST_F(LdapBindTest, ANameWithoutAPasswordIsRefusedHere) {
    account(DirectoryFixture::kAccount, "");
    const size_t before = s_server->log().size();
    const auto error = errorOf([&] { m_directory->Open(); });
    EXPECT_EQ(error.number(), hresult(0x8007052E));
    EXPECT_THAT(error.description(), HasSubstr("not set"));
    EXPECT_EQ(s_server->log().substr(before).find("BIND"), std::string::npos);
}

TEST_F(LdapBindTest, APasswordIsNotSentWithoutTlsToAnotherComputer) {
    account();
    set("TLS", "none");
    m_directory->Open(); // this computer itself: allowed
    m_directory->Close();
    set("Server", "192.0.2.9");
    const auto start = Clock::now();
    const auto error = errorOf([&] { m_directory->Open(); });
    EXPECT_EQ(error.number(), hresult(0x80072028));
    EXPECT_THAT(error.description(), HasSubstr("over TLS only"));
    EXPECT_LT(Clock::now() - start, 1000ms);
}

TEST_F(LdapBindTest, WithoutATicketKerberosFailsWithoutHoldingTheWindow) {
    set("Mechanism", "gssapi");
    std::ofstream(m_folder + "/krb5.conf") << "[libdefaults]\ndefault_realm = EXAMPLE.TEST\n";
    setenv("KRB5_CONFIG", (m_folder + "/krb5.conf").c_str(), 1);
    setenv("KRB5CCNAME", ("FILE:" + m_folder + "/none").c_str(), 1);
    int longest = 0;
    auto last = Clock::now();
    m_events->AddTimer(5ms, [&] {
        const auto now = Clock::now();
        longest = std::max(longest, int((now - last) / 1ms));
        last = now;
    });
    const auto error = errorOf([&] { m_directory->Open(); });
    EXPECT_NE(error.number(), 0);
    EXPECT_FALSE(m_directory->IsOpen());
    EXPECT_LT(longest, 500);
    unsetenv("KRB5_CONFIG");
    unsetenv("KRB5CCNAME");
}

} // namespace
