#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "core/Text.h"
#include "platform/registry/regfile/RegExchange.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/registry/regfile/RegText.h"

namespace kr {
namespace {

namespace fs = std::filesystem;

RegValue text(std::string_view content) {
    RegValue value;
    value.type = RegType::Sz;
    value.text = content;
    return value;
}

RegValue number(uint64_t content) {
    RegValue value;
    value.type = RegType::Dword;
    value.number = content;
    return value;
}

class RegFileTest : public ::testing::Test {
protected:
    RegFileTest() {
        std::string pattern = (fs::temp_directory_path() / "kr-reg-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        registry = open();
    }
    ~RegFileTest() override {
        std::error_code ignored;
        fs::permissions(m_folder, fs::perms::owner_all, ignored);
        fs::remove_all(m_folder, ignored);
    }
    std::unique_ptr<Registry> open() {
        return MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine",
                                   [this](std::string_view why) { complaints.emplace_back(why); });
    }
    std::string userFile() const { return m_folder + "/user/user.reg"; }
    static std::string content(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }
    static void put(const std::string& path, const std::string& bytes) {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }

    std::string m_folder;
    std::vector<std::string> complaints;
    std::unique_ptr<Registry> registry;
};

TEST_F(RegFileTest, NothingIsThereAtFirst) {
    EXPECT_FALSE(registry->KeyExists(Hive::CurrentUser, "Software"));
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "Software", "x"), std::nullopt);
    EXPECT_FALSE(registry->DeleteKey(Hive::CurrentUser, "Software"));
    EXPECT_FALSE(registry->DeleteValue(Hive::CurrentUser, "Software", "x"));
    EXPECT_TRUE(registry->SubKeys(Hive::LocalMachine, "").empty());
    EXPECT_FALSE(fs::exists(userFile()));
    EXPECT_TRUE(complaints.empty());
}

TEST_F(RegFileTest, NamesIgnoreCaseAndKeepTheFirst) {
    registry->Write(Hive::CurrentUser, "Software\\Zandrel\\Sett", "MainLeft", text("1"));
    registry->Write(Hive::CurrentUser, "SOFTWARE\\zandrel\\SETT", "mainleft", text("2"));
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "software\\ZANDREL\\sett", "MAINLEFT")->text, "2");
    EXPECT_EQ(registry->ValueNames(Hive::CurrentUser, "software\\zandrel\\sett"),
              Strings{"MainLeft"});
    EXPECT_EQ(registry->SubKeys(Hive::CurrentUser, "SOFTWARE"), Strings{"Zandrel"});
    EXPECT_EQ(content(userFile()),
              "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER]\n\n"
              "[HKEY_CURRENT_USER\\Software]\n\n[HKEY_CURRENT_USER\\Software\\Zandrel]\n\n"
              "[HKEY_CURRENT_USER\\Software\\Zandrel\\Sett]\n\"MainLeft\"=\"2\"\n");
}

TEST_F(RegFileTest, HivesAreApartAndClassesBelongToTheMachine) {
    registry->Write(Hive::CurrentUser, "K", "v", text("user"));
    registry->Write(Hive::LocalMachine, "K", "v", text("machine"));
    registry->Write(Hive::ClassesRoot, "Excel.CSV\\shell", "", text("class"));
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "v")->text, "user");
    EXPECT_EQ(registry->Read(Hive::LocalMachine, "K", "v")->text, "machine");
    EXPECT_EQ(registry->Read(Hive::LocalMachine, "Software\\Classes\\Excel.CSV\\shell", "")->text,
              "class");
}

TEST_F(RegFileTest, KeysWithoutValuesAndDeletions) {
    registry->CreateKey(Hive::CurrentUser, "A\\B\\C");
    EXPECT_TRUE(open()->KeyExists(Hive::CurrentUser, "a\\b\\c"));
    registry->Write(Hive::CurrentUser, "A\\B", "v", text("x"));
    EXPECT_TRUE(registry->DeleteValue(Hive::CurrentUser, "A\\B", "V"));
    EXPECT_FALSE(registry->DeleteValue(Hive::CurrentUser, "A\\B", "v"));
    EXPECT_TRUE(registry->KeyExists(Hive::CurrentUser, "A\\B"));
    EXPECT_TRUE(registry->DeleteKey(Hive::CurrentUser, "A\\B"));
    EXPECT_FALSE(open()->KeyExists(Hive::CurrentUser, "A\\B\\C"));
    EXPECT_TRUE(open()->KeyExists(Hive::CurrentUser, "A"));
    EXPECT_FALSE(registry->DeleteKey(Hive::CurrentUser, "\\")) << "a hive can't be removed";
    EXPECT_TRUE(registry->KeyExists(Hive::CurrentUser, "A"));
}

TEST_F(RegFileTest, ImpossibleKeyNamesAreRefused) {
    EXPECT_THROW(registry->CreateKey(Hive::CurrentUser, "a\nb"), PlatformError);
    EXPECT_THROW(registry->Write(Hive::CurrentUser, std::string_view("a\0b", 3), "v", text("x")),
                 PlatformError);
    EXPECT_THROW(
        registry->CreateKey(Hive::CurrentUser, ReplaceAll(std::string(600, 'a'), "a", "a\\")),
        PlatformError);
    EXPECT_FALSE(fs::exists(userFile()));
}

TEST_F(RegFileTest, AnotherProgramsWriteIsSeen) {
    const auto other = open();
    for (int i = 0; i < 200; ++i) {
        other->Write(Hive::CurrentUser, "K", "v", text(std::to_string(i % 10)));
        ASSERT_EQ(registry->Read(Hive::CurrentUser, "K", "v")->text, std::to_string(i % 10));
        registry->Write(Hive::CurrentUser, "K", "w", number(static_cast<uint64_t>(i % 7)));
        ASSERT_EQ(other->Read(Hive::CurrentUser, "K", "w")->number, static_cast<uint64_t>(i % 7));
    }
}

TEST_F(RegFileTest, WritingWhatIsThereLeavesTheFileAlone) {
    registry->Write(Hive::CurrentUser, "K", "v", text("x"));
    const auto before = fs::last_write_time(userFile());
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    registry->Write(Hive::CurrentUser, "k", "V", text("x"));
    registry->CreateKey(Hive::CurrentUser, "K");
    EXPECT_EQ(fs::last_write_time(userFile()), before);
}

TEST_F(RegFileTest, ManyProcessesLoseNothing) {
    constexpr int kProcesses = 4;
    constexpr int kWrites = 50;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        if (child == 0) {
            const auto mine = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
            for (int i = 0; i < kWrites; ++i)
                mine->Write(Hive::CurrentUser, "Shared",
                            std::to_string(p) + "-" + std::to_string(i), number(1));
            _exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(registry->ValueNames(Hive::CurrentUser, "Shared").size(),
              static_cast<size_t>(kProcesses * kWrites));
}

TEST_F(RegFileTest, AKillInMidWriteLeavesAWholeFile) {
    registry->Write(Hive::CurrentUser, "K", "v", text("start"));
    std::minstd_rand random(7);
    for (int round = 0; round < 40; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            const auto mine = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
            for (int i = 0;; ++i)
                mine->Write(Hive::CurrentUser, "K", "v" + std::to_string(i % 50),
                            text(std::string(2000, static_cast<char>('a' + i % 26))));
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500 + random() % 8000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        ASSERT_EQ(registry->Read(Hive::CurrentUser, "K", "v")->text, "start");
    }
    EXPECT_FALSE(fs::exists(userFile() + ".bad"));
    size_t files = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(m_folder + "/user"))
        ++files;
    EXPECT_LE(files, 3U) << "the file, its lock, and at most one unfinished new file";
}

TEST_F(RegFileTest, ADamagedFileIsKeptAside) {
    const std::string damaged = std::string(kRegHeader) + "\n\n[HKEY_CURRENT_USER\\K]\n\"v\"=\"cut";
    put(userFile(), damaged);
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "v"), std::nullopt);
    EXPECT_EQ(content(userFile() + ".bad"), damaged);
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_NE(complaints[0].find("line 4"), std::string::npos);
    registry->Write(Hive::CurrentUser, "K", "v", text("new"));
    EXPECT_EQ(open()->Read(Hive::CurrentUser, "K", "v")->text, "new");
    EXPECT_EQ(content(userFile() + ".bad"), damaged);
}

TEST_F(RegFileTest, AnEmptyFileIsAnEmptyHive) {
    put(userFile(), "");
    EXPECT_FALSE(registry->KeyExists(Hive::CurrentUser, "K"));
    registry->Write(Hive::CurrentUser, "K", "v", text("x"));
    EXPECT_FALSE(fs::exists(userFile() + ".bad"));
    EXPECT_TRUE(complaints.empty());
}

TEST_F(RegFileTest, WhatCanNotBeReadIsNeverReplaced) {
    // A folder in the file's place: neither readable nor to be replaced.
    fs::create_directories(userFile());
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "v"), std::nullopt);
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "v"), std::nullopt);
    EXPECT_EQ(complaints.size(), 1U) << "once for a version of the file";
    EXPECT_THROW(registry->Write(Hive::CurrentUser, "K", "v", text("x")), PlatformError);
    EXPECT_TRUE(fs::is_directory(userFile()));
}

TEST_F(RegFileTest, AFolderThatCanNotBeMadeMakesWritesThrow) {
    put(m_folder + "/user", "a file where the folder should be");
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "v"), std::nullopt);
    EXPECT_THROW(registry->Write(Hive::CurrentUser, "K", "v", text("x")), PlatformError);
}

TEST_F(RegFileTest, FilesOfThePersonArePrivateAndModesStay) {
    registry->Write(Hive::CurrentUser, "K", "v", text("x"));
    registry->Write(Hive::LocalMachine, "K", "v", text("x"));
    EXPECT_EQ(fs::status(userFile()).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(m_folder + "/user").permissions(), fs::perms(0700));
    EXPECT_EQ(fs::status(m_folder + "/machine/machine.reg").permissions(), fs::perms(0644));
    fs::permissions(m_folder + "/machine/machine.reg", fs::perms(0640));
    registry->Write(Hive::LocalMachine, "K", "v", text("y"));
    EXPECT_EQ(fs::status(m_folder + "/machine/machine.reg").permissions(), fs::perms(0640));
}

TEST_F(RegFileTest, ALockThatNobodyReleasesEndsInAnError) {
    registry->Write(Hive::CurrentUser, "K", "v", text("x"));
    const int held = ::open((userFile() + ".lock").c_str(), O_RDWR);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    try {
        registry->Write(Hive::CurrentUser, "K", "v", text("y"));
        ADD_FAILURE() << "written under a foreign lock";
    } catch (const PlatformError& e) {
        EXPECT_EQ(e.number(), 33);
    }
    close(held);
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "v")->text, "x");
}

TEST_F(RegFileTest, KeysOfOtherHivesInAFileStay) {
    put(userFile(), std::string(kRegHeader) + "\n[HKEY_USERS\\S-1]\n\"a\"=\"b\"\n");
    registry->Write(Hive::CurrentUser, "K", "v", text("x"));
    EXPECT_NE(content(userFile()).find("[HKEY_USERS\\S-1]\n\"a\"=\"b\""), std::string::npos);
}

TEST_F(RegFileTest, ExportAndImport) {
    registry->Write(Hive::CurrentUser, "A\\B", "v", text("one\r\ntwo"));
    registry->Write(Hive::CurrentUser, "A\\C", "", number(7));
    registry->CreateKey(Hive::CurrentUser, "A\\Empty");
    const std::string file = ExportReg(*registry, Hive::CurrentUser, "A");
    EXPECT_TRUE(file.starts_with("\xFF\xFEW"));
    registry->DeleteKey(Hive::CurrentUser, "A");
    EXPECT_EQ(ExportReg(*registry, Hive::CurrentUser, "A"), "");
    EXPECT_EQ(ImportReg(*registry, file), 0U);
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "A\\B", "v")->text, "one\r\ntwo");
    EXPECT_EQ(registry->Read(Hive::CurrentUser, "A\\C", "")->number, 7U);
    EXPECT_TRUE(registry->KeyExists(Hive::CurrentUser, "A\\Empty"));
}

TEST_F(RegFileTest, ImportRemovesAndSpreadsOverTheHives) {
    registry->Write(Hive::CurrentUser, "A", "gone", text("x"));
    registry->Write(Hive::LocalMachine, "Old\\Below", "v", text("x"));
    const std::string head = std::string(kRegHeader) + "\n\n";
    EXPECT_EQ(ImportReg(*registry, head + "[HKCU\\A]\n\"gone\"=-\n\"new\"=\"y\"\n[-HKLM\\Old]\n"
                                          "[HKEY_USERS\\X]\n\"z\"=\"1\"\n[HKCR\\.csv]\n@=\"e\"\n"),
              1U);
    EXPECT_EQ(registry->ValueNames(Hive::CurrentUser, "A"), Strings{"new"});
    EXPECT_FALSE(registry->KeyExists(Hive::LocalMachine, "Old"));
    EXPECT_EQ(registry->Read(Hive::ClassesRoot, ".csv", "")->text, "e");
    EXPECT_THROW(ImportReg(*registry, head + "[HKCU\\New]\n[HKCU\\A"), PlatformError);
    EXPECT_FALSE(registry->KeyExists(Hive::CurrentUser, "New")) << "nothing of a damaged file";
}

TEST_F(RegFileTest, Folders) {
    setenv("XDG_CONFIG_HOME", "/some/where", 1);
    EXPECT_EQ(UserRegistryFolder(), "/some/where/zandrel");
    setenv("XDG_CONFIG_HOME", "relative", 1);
    setenv("HOME", "/home/me", 1);
    EXPECT_EQ(UserRegistryFolder(), "/home/me/.config/zandrel");
    setenv("KR_MACHINE_REGISTRY", "/opt/x", 1);
    EXPECT_EQ(MachineRegistryFolder(), "/opt/x");
    unsetenv("KR_MACHINE_REGISTRY");
    EXPECT_EQ(MachineRegistryFolder(), "/etc/zandrel");
}

} // namespace
} // namespace kr
