#include <gmock/gmock.h>

#include "tests/platform/directory/DirectoryTest.h"

/// Opening without waiting.
namespace {

using namespace kr;
using namespace std::chrono_literals;

class LdapStartOpen : public DirectoryTest {
protected:
    static void SetUpTestSuite() {
        DirectoryFixture::Options options;
        options.people = 1;
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        s_server->Configure(*m_registry);
    }
    void start(const char* attribute = "rootDomainNamingContext") {
        m_directory->StartOpen(attribute,
                               [this](const std::string& value, const PlatformError* error) {
                                   ++calls;
                                   root = value;
                                   number = error != nullptr ? error->number() : 0;
                               });
    }
    void turn() {
        for (int i = 0; i < 20; ++i)
            m_events->Run(10ms);
    }

    inline static std::unique_ptr<DirectoryFixture> s_server;
    int calls = 0;
    std::string root;
    long number = 0;
};

TEST_F(LdapStartOpen, GivesTheAttributeLater) {
    start();
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(m_directory->IsOpen());
    ASSERT_TRUE(until([&] { return calls > 0; }));
    EXPECT_EQ(root, "DC=example,DC=test");
    EXPECT_EQ(number, 0);
    EXPECT_TRUE(m_directory->IsOpen());
    EXPECT_EQ(names(query("(mailNickname=u1)", {"mail"})),
              std::vector<std::string>{"u1@example.test"});
    start("defaultNamingContext"); // open already
    ASSERT_TRUE(until([&] { return calls > 1; }));
    EXPECT_EQ(root, "DC=example,DC=test");
    turn();
    EXPECT_EQ(calls, 2);
}

TEST_F(LdapStartOpen, AMissingAttributeLeavesItOpen) {
    start("nothing");
    ASSERT_TRUE(until([&] { return calls > 0; }));
    EXPECT_EQ(root, "");
    EXPECT_NE(number, 0);
    EXPECT_TRUE(m_directory->IsOpen());
}

TEST_F(LdapStartOpen, AServerThatIsNotThereIsAnError) {
    set("GCPort", "1");
    start();
    ASSERT_TRUE(until([&] { return calls > 0; }, 30s));
    EXPECT_NE(number, 0);
    EXPECT_FALSE(m_directory->IsOpen());
}

TEST_F(LdapStartOpen, NothingComesAfterACloseOrTheEnd) {
    start();
    m_directory->Close();
    turn();
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(m_directory->IsOpen());
    start();
    m_directory.reset();
    turn();
    EXPECT_EQ(calls, 0);
    m_directory = m_provider->CreateConnection();
    start();
    ASSERT_TRUE(until([&] { return calls > 0 || m_directory->IsOpen(); }));
    m_directory->Close(); // the attribute may still be on its way
    const int before = calls;
    turn();
    EXPECT_EQ(calls, before);
}

TEST_F(LdapStartOpen, ACloseDoesNotSpoilTheNextOne) {
    start();
    m_directory->Close();
    start();
    ASSERT_TRUE(until([&] { return calls > 0; }));
    turn();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(root, "DC=example,DC=test");
}

} // namespace
