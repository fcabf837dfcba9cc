#include "backup/BackupCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/Menus.h"
#include "console/kinds/FixedKinds.h"
#include "push/MblKinds.h"
#include "push/MplKinds.h"
#include "tests/backup/BackupWorld.h"
#include "tests/console/FakeView.h"

namespace {

using namespace kr;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kXmlFiles = "XML file (*.xml)|*.xml";
constexpr const char* kMblWarning =
    "Select the backup file for this mailbox to restore the Mandatory Browser Channels.\r\n"
    "WARNING: this action will overwrite the existing lists and will not restore channel icons!";
constexpr const char* kMplWarning =
    "Select the backup file for this mailbox to restore the Mandatory Push Lists.\r\n"
    "WARNING: this action will overwrite all existing lists!";

/// Keeps how the file dialogs and the progress window were asked for.
class AskedUi : public ScriptedUi {
public:
    std::vector<std::string> asked;
    std::optional<std::string> SaveFileName(std::string_view title, std::string_view filter,
                                            std::string_view initial) override {
        note({"save", title, filter, initial});
        return ScriptedUi::SaveFileName(title, filter, initial);
    }
    std::optional<std::string> OpenFileName(std::string_view title,
                                            std::string_view filter) override {
        note({"open", title, filter});
        return ScriptedUi::OpenFileName(title, filter);
    }
    std::unique_ptr<Progress> StartProgress(std::string_view caption, ProgressKind kind) override {
        note({"progress", caption});
        return ScriptedUi::StartProgress(caption, kind);
    }

private:
    void note(std::initializer_list<std::string_view> parts) {
        std::string line;
        for (const std::string_view part : parts)
            line += (line.empty() ? "" : " / ") + std::string(part);
        asked.push_back(line);
    }
};

/// The console over the lists of a mailbox.
class BackupCommandTest : public ::testing::Test {
protected:
    BackupCommandTest() {
        AgentSession& other = *world.session;
        session.rdo = other.rdo;
        session.agentInfo = other.agentInfo;
        session.userInfo = other.userInfo;
        session.AgentMsgID = other.AgentMsgID;
        session.agentName = "Agent Mailbox";
        world.registry->Write(Hive::LocalMachine, R"(Software\zandrel\zandrelAgent)", "MPL",
                              {RegType::Sz, "True"});
        console = std::make_unique<Console>(session, view);
        view.console = console.get();
        RegisterFixedKinds(*console);
        RegisterMblKinds(*console, {});
        RegisterMplKinds(*console, {});
        RegisterBackupCommands(*console);
        BackupWorld::add(world.browser, kMblClass, "News");
        BackupWorld::add(world.push, kMplClass, "Notice");
    }
    void show(std::string_view key) {
        console->LoadTreeRoot();
        TreeNode* node = console->tree().Find(key);
        ASSERT_NE(node, nullptr);
        console->NodeClick(*node);
        view.expanded.clear();
    }
    std::vector<std::string> rows() {
        std::vector<std::string> all;
        for (size_t i = 0; i < console->list().Count(); ++i)
            all.emplace_back(console->list().Text(i, 0));
        return all;
    }
    std::string listFile(const std::string& name, std::string_view messageClass) {
        return world.write(name, "<lists><list MessageClass='" + std::string(messageClass) +
                                     "' Subject='From the file'/></lists>");
    }

    BackupWorld world;
    AskedUi ui;
    Platform platform{*world.store,   *world.registry, ui,          *world.events,
                      world.services, world.directory, world.shell, world.database,
                      world.http,     world.secrets,   world.clock};
    AgentSession session{platform, world.logPath()};
    FakeView view;
    std::unique_ptr<Console> console;
};

TEST_F(BackupCommandTest, TheMenusOfTheNodesHaveThem) {
    show("mbl-eps");
    EXPECT_TRUE(view.enabled("mnuBrowserBackup"));
    EXPECT_TRUE(view.enabled("mnuBrowserRestore"));
    show("mplroot");
    EXPECT_TRUE(view.enabled("mnuMplBackup"));
    EXPECT_TRUE(view.enabled("mnuMplRestore"));
}

TEST_F(BackupCommandTest, BrowserBackupAsksWritesAndTells) {
    const std::string path = world.file("b.xml");
    ui.ExpectSaveFile(path);
    ui.Expect("Mandatory Browser Channels successfully backed up to " + path);
    console->RunCommand("mnuBrowserBackup");
    EXPECT_THAT(ui.asked, ElementsAre("save / Backup zandrelAgent Mandatory Browser Channels / " +
                                          std::string(kXmlFiles) + " / KRBrowserLists 3-10-26.xml",
                                      "progress / Backing up Mandatory Browser Channels..."));
    EXPECT_EQ(ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_EQ(ui.boxes().back().title, "zandrelAgent Administrator");
    EXPECT_NE(FileText(path).find("Subject=\"News\""), std::string::npos);
}

TEST_F(BackupCommandTest, PushBackupAsksWritesAndTells) {
    const std::string path = world.file("p.xml");
    ui.ExpectSaveFile(path);
    ui.Expect("Mandatory Push Lists successfully backed up to " + path);
    console->RunCommand("mnuMplBackup");
    EXPECT_THAT(ui.asked, ElementsAre("save / Backup zandrelAgent Mandatory Push Lists / " +
                                          std::string(kXmlFiles) + " / KRPushLists 3-10-26.xml",
                                      "progress / Backing up Mandatory Push Lists..."));
    EXPECT_NE(FileText(path).find("Subject=\"Notice\""), std::string::npos);
}

TEST_F(BackupCommandTest, NoFileEndsABackupQuietly) {
    ui.ExpectSaveFile(std::nullopt);
    console->RunCommand("mnuBrowserBackup");
    EXPECT_EQ(ui.asked.size(), 1U);
    EXPECT_THAT(ui.boxes(), IsEmpty());
}

TEST_F(BackupCommandTest, ACancelledBackupSaysSoAndKeepsItsPart) {
    BackupWorld::add(world.browser, kMblClass, "Second");
    const std::string path = world.file("b.xml");
    ui.ExpectSaveFile(path);
    ui.CancelProgressAfter(1);
    ui.Expect("Backup canceled!");
    console->RunCommand("mnuBrowserBackup");
    const std::string text = FileText(path);
    EXPECT_TRUE(text.starts_with("<lists"));
    EXPECT_EQ(text.find("Second"), std::string::npos);
}

TEST_F(BackupCommandTest, AFailedBackupIsToldOnce) {
    ui.ExpectSaveFile(world.file("missing/b.xml"));
    ui.Expect("Unable to backup Mandatory Browser Channels!\r\nSee log for details.");
    console->RunCommand("mnuBrowserBackup");
    EXPECT_EQ(ui.boxes().size(), 1U);
}

TEST_F(BackupCommandTest, BrowserRestoreWarnsAsksAndRefreshes) {
    show("mbl-eps");
    EXPECT_THAT(rows(), ElementsAre("News"));
    const std::string path = listFile("f.xml", kMblClass);
    ui.Expect(kMblWarning, BoxAnswer::OK);
    ui.ExpectOpenFile(path);
    ui.Expect("Mandatory Browser Channels successfully restored from " + path);
    console->RunCommand("mnuBrowserRestore");
    EXPECT_EQ(ui.asked.front(),
              "open / Restore Mandatory Browser Channels / " + std::string(kXmlFiles));
    EXPECT_EQ(ui.boxes().front().icon, BoxIcon::Exclamation);
    EXPECT_EQ(ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_THAT(view.expanded, Contains("mbl-eps"));
    EXPECT_EQ(console->CurrentTag(), "mbl-eps");
    EXPECT_THAT(rows(), ElementsAre("From the file"));
    EXPECT_TRUE(world.logHas("RefreshView: saving state; Tag = mbl-eps"));
}

TEST_F(BackupCommandTest, TheOtherNodeOfBrowserListsStaysTheCurrentOne) {
    show("mbl-bsr");
    ui.Expect(kMblWarning, BoxAnswer::OK);
    ui.ExpectOpenFile(listFile("f.xml", kMblClass));
    ui.Expect("");
    console->RunCommand("mnuBrowserRestore");
    EXPECT_THAT(view.expanded, Contains("bsrroot"));
    EXPECT_EQ(console->CurrentTag(), "mbl-bsr");
    EXPECT_THAT(rows(), ElementsAre("From the file"));
}

TEST_F(BackupCommandTest, PushRestoreWarnsAsksAndRefreshes) {
    show("mplroot");
    const std::string path = listFile("f.xml", kMplClass);
    ui.Expect(kMplWarning, BoxAnswer::OK);
    ui.ExpectOpenFile(path);
    ui.Expect("Mandatory Push Lists successfully restored from " + path);
    console->RunCommand("mnuMplRestore");
    EXPECT_EQ(ui.asked.front(), "open / Restore Mandatory Push Lists / " + std::string(kXmlFiles));
    EXPECT_THAT(view.expanded, Contains("mplroot"));
    EXPECT_THAT(rows(), ElementsAre("From the file"));
}

TEST_F(BackupCommandTest, CancelAtEitherQuestionChangesNothing) {
    show("mbl-eps");
    ui.Expect(kMblWarning, BoxAnswer::Cancel);
    console->RunCommand("mnuBrowserRestore");
    EXPECT_THAT(ui.asked, IsEmpty());
    ui.Expect(kMblWarning, BoxAnswer::OK);
    ui.ExpectOpenFile(std::nullopt);
    console->RunCommand("mnuBrowserRestore");
    EXPECT_THAT(rows(), ElementsAre("News"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("News"));
    EXPECT_FALSE(world.logHas("RefreshView"));
}

TEST_F(BackupCommandTest, AFailedRestoreClearsTheListAndRefreshesNothing) {
    show("mbl-eps");
    ui.Expect(kMblWarning, BoxAnswer::OK);
    ui.ExpectOpenFile(world.write("f.xml", "no XML"));
    ui.Expect("Unable to restore from f.xml!");
    console->RunCommand("mnuBrowserRestore");
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_FALSE(view.frozen);
    EXPECT_FALSE(world.logHas("RefreshView"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("News"));
    EXPECT_EQ(ui.lastStatus(), "");
}

} // namespace
