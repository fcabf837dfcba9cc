// Trusted domains against a real directory server.
#include <gtest/gtest.h>

#include "hosts/AgentProps.h"
#include "tests/support/LdapWorld.h"

namespace {

using namespace kr;

class TrustedDomainsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server = std::make_unique<DirectoryFixture>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(server->running()) << server->problem();
        ldap.Use(*server);
    }
    /// Adds a domain; the person answers `anyway` when its catalog isn't accessible.
    bool add(const std::string& domain, std::optional<BoxAnswer> anyway = {}) {
        AgentProps props(ldap.session());
        ldap.world.ui.ExpectInput(domain);
        ldap.world.ui.Expect("Verifying access to global catalog for " + domain +
                             "\nThis may take a few seconds...");
        if (anyway)
            ldap.world.ui.Expect("The global catalog for " + domain +
                                     " is not accessible from this machine.\n"
                                     "Are you sure you want to add it?",
                                 *anyway);
        return props.AddTrusted() && props.fields.trustedDomains == Strings{domain};
    }

    static inline std::unique_ptr<DirectoryFixture> server;
    LdapWorld ldap;
};

TEST_F(TrustedDomainsTest, ADomainThatIsThereIsAdded) {
    EXPECT_TRUE(add("example.test"));
    EXPECT_FALSE(ldap.world.logHas("error retrieving Domain object"));
    EXPECT_NE(server->log().find("base=\"DC=example,DC=test\" scope=0"), std::string::npos)
        << server->log();
}

TEST_F(TrustedDomainsTest, ADomainThatIsNotThereIsAskedAbout) {
    EXPECT_FALSE(add("partner.test", BoxAnswer::No));
    EXPECT_TRUE(add("partner.test", BoxAnswer::Yes));
    EXPECT_TRUE(ldap.world.logHas("error retrieving Domain object for partner.test: "));
}

TEST_F(TrustedDomainsTest, WithoutAServerItIsAskedAbout) {
    server->Kill();
    EXPECT_FALSE(add("example.test", BoxAnswer::No));
    EXPECT_TRUE(ldap.world.logHas("error retrieving Domain object for example.test: "));
    EXPECT_TRUE(server->Start());
}

TEST_F(TrustedDomainsTest, ASilentServerLeavesTheWindowAlive) {
    using namespace std::chrono_literals;
    server->Freeze();
    int ticks = 0;
    ldap.world.events->AddTimer(20ms, [&] { ++ticks; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(add("example.test", BoxAnswer::No));
    const auto waited = std::chrono::steady_clock::now() - start;
    server->Thaw();
    EXPECT_GE(waited, 4s);
    EXPECT_LT(waited, 15s);
    EXPECT_GT(ticks, waited / 20ms / 2);
}

} // namespace
