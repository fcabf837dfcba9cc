#include <gtest/gtest.h>

#include "diagnostics/basProbes.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

class ProbesTest : public ::testing::Test {
protected:
    ProbesTest() { world.LogOnConfigured(); }
    void add(const char* messageClass, const char* subject) {
        auto message = world.session->agentInfo->Items()->Add(messageClass);
        message->SetSubject(subject);
        message->Save();
    }
    size_t logged(std::string_view text) {
        const std::string log = world.log();
        size_t count = 0;
        for (size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
            ++count;
        return count;
    }
    World world;
};

TEST_F(ProbesTest, AServerWithoutThePackageIsSaidSoAndLogged) {
    EXPECT_EQ(ReadPackage(*world.session, "SRVA"), "Package not found");
    EXPECT_EQ(logged("ReadPackage:"), 1U);
}

TEST_F(ProbesTest, TheAuditHasASectionForEachServer) {
    EXPECT_EQ(AuditPackages(*world.session), "COM+ Package Audit");
    EXPECT_EQ(logged("ReadPackage:"), 0U);
    add("zandrel.Host", "SRVA");
    add("zandrel.UserInfo", "alice");
    add("zandrel.Host", "SRVB");
    EXPECT_EQ(AuditPackages(*world.session),
              "COM+ Package Audit\nPackage not found\nPackage not found");
    EXPECT_EQ(logged("ReadPackage:"), 2U);
}

TEST_F(ProbesTest, WithoutTheMailboxTheAuditIsItsHeading) {
    add("zandrel.Host", "SRVA");
    world.session->Reset();
    EXPECT_EQ(AuditPackages(*world.session), "COM+ Package Audit");
}

// Whatever call of the store fails, the audit ends with its heading and a section for each server
// that could be read.
TEST(ProbesFailures, EachCallOfTheStoreMayFail) {
    World world;
    world.LogOnConfigured();
    for (const char* name : {"SRVA", "SRVB"}) {
        auto host = world.session->agentInfo->Items()->Add("zandrel.Host");
        host->SetSubject(name);
        host->Save();
    }
    int partial = 0;
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        std::string text;
        EXPECT_NO_THROW(text = AuditPackages(failing.session));
        const std::string heading = "COM+ Package Audit";
        const std::string section = "\nPackage not found";
        EXPECT_TRUE(text == heading || text == heading + section ||
                    text == heading + section + section)
            << text;
        partial += text != heading + section + section;
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 4);
    EXPECT_GT(partial, 0);
}

} // namespace
