#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/ctl/AdminCtl.h"
#include "app/ctl/Args.h"
#include "app/ctl/Commands.h"
#include "core/Text.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/store/sqlite/SqliteStore.h"

#include <nlohmann/json.hpp>

namespace {

using namespace kr;

class AdminCtlTest : public ::testing::Test {
protected:
    AdminCtlTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kr-ctl-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        registry = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
    }
    ~AdminCtlTest() override {
        registry.reset();
        std::filesystem::remove_all(m_folder);
    }

    std::string file(std::string_view name = "org.kr") const {
        return m_folder + "/" + std::string(name);
    }
    int run(std::vector<std::string> words) {
        m_out.str("");
        m_err.str("");
        return RunAdminCtl(words, *registry, m_out, m_err);
    }
    std::string out() const { return m_out.str(); }
    std::string err() const { return m_err.str(); }

    std::unique_ptr<Registry> registry;

private:
    std::string m_folder;
    std::ostringstream m_out, m_err;
};

TEST_F(AdminCtlTest, HelpNamesEveryCommand) {
    EXPECT_EQ(run({"--help"}), 0);
    for (const CtlCommand& command : CtlCommands())
        EXPECT_NE(out().find(std::string(command.group) + " " + std::string(command.name)),
                  std::string::npos);
    EXPECT_EQ(err(), "");
}

TEST_F(AdminCtlTest, WrongUsageIsExitCodeTwo) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"store"},
        {"store", "burn"},
        {"store", "create"},
        {"store", "create", "a", "b"},
        {"store", "sample", file(), "--users"},
        {"store", "sample", file(), "--users", "many"},
        {"store", "sample", file(), "--users", "3"},
        {"store", "sample", file(), "--date", "2026-02-30"},
        {"store", "sample", file(), "--date", "2026-02-03x"},
        {"store", "sample", file(), "--colour", "red"},
        {"store", "register", file()},
        {"registry", "get", "HKXX", "Software"},
        {"registry", "set", "HKCU", "Software\\a", "n"},
        {"registry", "set", "HKCU", "Software\\a", "n", "-1", "--type", "dword"},
        {"registry", "set", "HKCU", "Software\\a", "n", "1", "--type", "qword"}};
    for (const auto& words : wrong) {
        EXPECT_EQ(run(words), 2) << Join(words, " ");
        EXPECT_TRUE(err().starts_with("kr-adminctl: ")) << err();
        EXPECT_EQ(std::ranges::count(err(), '\n'), 1);
        EXPECT_EQ(out(), "");
    }
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(AdminCtlTest, CreatesAStoreOnceOnly) {
    EXPECT_EQ(run({"store", "create", file(), "--mailbox", "agentbox"}), 0);
    EXPECT_EQ(run({"store", "check", file()}), 0) << out();
    EXPECT_EQ(run({"store", "create", file()}), 1);
    EXPECT_NE(err(), "");
}

TEST_F(AdminCtlTest, CheckRefusesWhatIsNoStore) {
    std::ofstream(file("text.kr")) << "just text, nothing else";
    EXPECT_EQ(run({"store", "check", file("text.kr")}), 1);
    EXPECT_EQ(run({"store", "check", file("absent.kr")}), 1);
    EXPECT_FALSE(std::filesystem::exists(file("absent.kr")));
}

TEST_F(AdminCtlTest, DumpShowsKeysByNameAndType) {
    ASSERT_EQ(run({"store", "sample", file(), "--users", "20", "--seed=7"}), 0) << err();
    ASSERT_EQ(run({"store", "dump", file(), "--folder", "zandrelAgentInfo"}), 0) << err();
    EXPECT_NE(out().find("zandrelAgentInfo\\zandrelUserInfo"), std::string::npos);
    EXPECT_NE(out().find("PollingInterval {00020329-0000-0000-C000-000000000046} long = 60"),
              std::string::npos);
    EXPECT_EQ(run({"store", "dump", file(), "--folder", "zandrelAgentInfo/nothing"}), 1);
    EXPECT_NE(err().find("there is no folder \"nothing\""), std::string::npos);
    EXPECT_EQ(run({"store", "dump", file(), "--mailbox", "nobody"}), 1);
}

TEST_F(AdminCtlTest, DumpAsJsonParsesAndOneEntryIsTheSame) {
    ASSERT_EQ(run({"store", "sample", file(), "--users", "20"}), 0) << err();
    ASSERT_EQ(
        run({"store", "dump", file(), "--folder", "zandrelAgentInfo\\zandrelUserInfo", "--json"}),
        0);
    const auto all = nlohmann::ordered_json::parse(out());
    ASSERT_EQ(all.size(), 21u);
    EXPECT_EQ(all[0]["kind"], "folder");
    EXPECT_EQ(all[0]["items"], 20);
    EXPECT_EQ(all[1]["class"], "zandrel.UserInfo");
    ASSERT_EQ(run({"store", "dump", file(), "--json", "--entry", all[1]["id"].get<std::string>()}),
              0);
    const auto one = nlohmann::ordered_json::parse(out());
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0]["properties"], all[1]["properties"]);
}

TEST_F(AdminCtlTest, DumpOfTheBookAndOfPublicFolders) {
    ASSERT_EQ(run({"store", "sample", file(), "--users", "20"}), 0) << err();
    ASSERT_EQ(run({"store", "dump", file(), "--book", "--json"}), 0);
    bool seen = false;
    for (const auto& entry : nlohmann::ordered_json::parse(out()))
        seen |= entry["name"] == "Zoë Åkesson" && entry["smtp"] == "zoe.akesson@example.test";
    EXPECT_TRUE(seen);
    ASSERT_EQ(run({"store", "dump", file(), "--public", "--folder", "Contacts"}), 0) << err();
    EXPECT_NE(out().find("path=\\Contacts\\R & D Partners"), std::string::npos);
}

TEST_F(AdminCtlTest, RegisteredServerLogsOn) {
    ASSERT_EQ(run({"store", "sample", file(), "--users", "20", "--empty"}), 0) << err();
    ASSERT_EQ(run({"store", "register", file(), "--server", "MAIL01"}), 0) << err();
    auto session = MakeSqliteStore(*registry)->CreateSession();
    session->LogonExchangeMailbox("agentbox", "MAIL01");
    EXPECT_TRUE(session->LoggedOn());
    EXPECT_EQ(run({"store", "register", file("absent.kr"), "--server", "MAIL02"}), 1);
    EXPECT_EQ(run({"registry", "get", "HKLM", std::string(kStoresKey), "MAIL02"}), 1);
}

TEST_F(AdminCtlTest, ProfileLogsOnAndIsMadeOnce) {
    ASSERT_EQ(run({"store", "sample", file(), "--users", "20", "--empty"}), 0) << err();
    ASSERT_EQ(run({"store", "register", file(), "--server", "MAIL01"}), 0) << err();
    const std::vector<std::string> make = {"store",  "profile",   "Agent",   "--server",
                                           "MAIL01", "--mailbox", "agentbox"};
    ASSERT_EQ(run(make), 0) << err();
    auto session = MakeSqliteStore(*registry)->CreateSession();
    session->Logon("Agent", "", false, true, 0);
    EXPECT_TRUE(session->LoggedOn());
    EXPECT_EQ(run(make), 1);
}

TEST_F(AdminCtlTest, AddsAMailboxThatLogsOn) {
    ASSERT_EQ(run({"store", "create", file()}), 0);
    ASSERT_EQ(run({"store", "mailbox", file(), "erin", "--name", "Erin Ó Briain"}), 0) << err();
    ASSERT_EQ(run({"store", "dump", file(), "--mailbox", "erin", "--book"}), 0) << err();
    EXPECT_NE(out().find("Erin Ó Briain"), std::string::npos);
}

TEST_F(AdminCtlTest, RegistryValuesComeAndGo) {
    const std::string key = "Software\\zandrel\\Test";
    ASSERT_EQ(run({"registry", "set", "HKCU", key, "Text", ""}), 0) << err();
    ASSERT_EQ(run({"registry", "set", "HKCU", key, "Number", "4294967295", "--type", "dword"}), 0);
    ASSERT_EQ(run({"registry", "set", "HKCU", key + "\\Below", "--", "Dashed", "--x"}), 0);
    EXPECT_EQ(run({"registry", "get", "hkcu", key, "Number"}), 0);
    EXPECT_EQ(out(), "4294967295\n");
    EXPECT_EQ(run({"registry", "get", "HKCU", key}), 0);
    EXPECT_EQ(out(), "Number=4294967295\nText=\n[Below]\n");
    EXPECT_EQ(run({"registry", "get", "HKCU", key + "\\Below", "Dashed"}), 0);
    EXPECT_EQ(out(), "--x\n");
    EXPECT_EQ(run({"registry", "delete", "HKCU", key, "Text"}), 0);
    EXPECT_EQ(run({"registry", "delete", "HKCU", key, "Text"}), 1);
    EXPECT_EQ(run({"registry", "delete", "HKCU", key}), 0);
    EXPECT_EQ(run({"registry", "get", "HKCU", key}), 1);
}

} // namespace
