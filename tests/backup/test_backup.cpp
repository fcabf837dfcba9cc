#include "backup/basBackup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "backup/RecordXml.h"
#include "core/basDate.h"
#include "tests/backup/BackupWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class BackupTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    bool browser(const std::string& path) { return BackupMBL(session(), path, world.progress); }
    std::vector<std::string> listed(const std::string& path) {
        const auto document = XmlDocument::Parse(FileText(path));
        std::vector<std::string> names;
        if (document)
            for (const XmlNode list : document->FindAll("list"))
                names.push_back(list.Attribute("Subject").value_or(""));
        return names;
    }
    BackupWorld world;
    const std::string failedMbl = "Unable to backup Mandatory Browser Channels!\r\n"
                                  "See log for details.";
};

TEST_F(BackupTest, TheFileOfBrowserLists) {
    const RDOMessagePtr news = BackupWorld::add(
        world.browser, kMblClass, "News",
        {{"MBL.Type", "Channel"}, {"MBL.Cache", true}, {"MBL.Expire", int32_t{7}}});
    news->Attachments()->AddContent("UnreadIcon", Bytes{1, 2, 3});
    news->Save();
    BackupWorld::add(world.browser, kMblClass, "Old", {{"MBL.Deleted", true}});
    const std::string path = world.file("KRBrowserLists 3-7-09.xml");
    EXPECT_TRUE(browser(path));
    const std::string text = FileText(path);
    EXPECT_TRUE(text.starts_with("<lists><list MessageClass=\"IPM.Post.MBL\" Subject=\"News\" "
                                 "LastModified=\""))
        << text;
    EXPECT_THAT(text, HasSubstr("<MBL.Type Type=\"8\">Channel</MBL.Type>"));
    EXPECT_THAT(text, HasSubstr("<MBL.Cache Type=\"11\">True</MBL.Cache>"));
    EXPECT_THAT(text, HasSubstr("<MBL.Expire Type=\"3\">7</MBL.Expire>"));
    EXPECT_THAT(text, HasSubstr("<UnreadIcon FileName=\"UnreadIcon\">AQID</UnreadIcon>"));
    EXPECT_TRUE(text.ends_with("</list></lists>"));
    // also the deleted ones: their channels are still on handhelds
    EXPECT_THAT(listed(path), ElementsAre("News", "Old"));
    EXPECT_EQ(world.progress.done, 2);
    EXPECT_EQ(world.progress.total, 2);
    EXPECT_EQ(world.ui.doEventsCalls(), 2);
}

TEST_F(BackupTest, TheFileOfPushLists) {
    BackupWorld::add(world.push, kMplClass, "Notice", {{"MPL.Payload", "<a b=\"c\">\xC3\xA9</a>"}});
    BackupWorld::add(world.browser, kMblClass, "News");
    const std::string path = world.file("p.xml");
    EXPECT_TRUE(BackupMPL(session(), path, world.progress));
    const std::string text = FileText(path);
    EXPECT_TRUE(text.starts_with("<lists><list MessageClass=\"IPM.Post.MPL\" Subject=\"Notice\" "));
    EXPECT_THAT(text, HasSubstr("<MPL.Payload Type=\"8\">&lt;a b=\"c\"&gt;\xC3\xA9&lt;/a&gt;"
                                "</MPL.Payload>"));
    EXPECT_THAT(listed(path), ElementsAre("Notice"));
}

TEST_F(BackupTest, AnEmptyFolderWritesARootAlone) {
    EXPECT_TRUE(browser(world.file("e.xml")));
    EXPECT_EQ(FileText(world.file("e.xml")), "<lists/>");
}

TEST_F(BackupTest, CancelStopsTheWalkAndSavesWhatThereIs) {
    for (const char* name : {"A", "B", "C"})
        BackupWorld::add(world.browser, kMblClass, name);
    world.progress.cancelAt = 3;
    EXPECT_TRUE(browser(world.file("part.xml")));
    EXPECT_THAT(listed(world.file("part.xml")), ElementsAre("A", "B"));
    world.progress = {};
    world.progress.cancelAt = 1;
    EXPECT_TRUE(browser(world.file("none.xml")));
    EXPECT_EQ(FileText(world.file("none.xml")), "<lists/>");
}

TEST_F(BackupTest, AListThatGoesMeanwhileTakesNoOtherWithIt) {
    std::vector<RDOMessagePtr> lists;
    for (const char* name : {"A", "B", "C", "D"})
        lists.push_back(BackupWorld::add(world.browser, kMblClass, name));
    bool gone = false;
    world.ui.onDoEvents = [&] {
        if (!std::exchange(gone, true)) {
            lists[0]->Delete();
            lists[2]->Delete();
        }
    };
    EXPECT_TRUE(browser(world.file("b.xml")));
    EXPECT_THAT(listed(world.file("b.xml")), ElementsAre("A", "B", "D"));
}

TEST_F(BackupTest, ATargetThatCannotBeWrittenIsTold) {
    std::filesystem::create_directory(world.file("sub"));
    for (const std::string& path : {world.file("missing/b.xml"), world.file("sub")}) {
        world.ui.Expect(failedMbl);
        EXPECT_FALSE(browser(path));
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    }
    EXPECT_TRUE(world.logHas("Unable to create Mandatory Browser Channel backup: "));
    EXPECT_TRUE(world.logHas("No such file or directory"));
    world.ui.Expect("Unable to backup Mandatory Push Lists!\r\nSee log for details.");
    EXPECT_FALSE(BackupMPL(session(), world.file("missing/b.xml"), world.progress));
    EXPECT_TRUE(world.logHas("Unable to create Mandatory Push List backup: "));
}

TEST_F(BackupTest, AFullDiskIsTold) {
    if (access("/dev/full", W_OK) != 0)
        FAIL() << "this test writes to /dev/full";
    BackupWorld::add(world.browser, kMblClass, "A");
    world.ui.Expect(failedMbl);
    EXPECT_FALSE(browser("/dev/full"));
    EXPECT_TRUE(world.logHas("No space left on device"));
}

TEST_F(BackupTest, AnExistingFileIsReplacedOnlyByAWholeOne) {
    std::filesystem::create_directory(world.file("sub"));
    const std::string path =
        world.write("sub/old.xml", "old text that is longer than an empty root");
    const RDOMessagePtr bad = BackupWorld::add(world.browser, kMblClass, "A");
    const PropTag tag = bad->GetIDsFromNames(PS_PUBLIC_STRINGS, "no (name)") | 0x1E;
    bad->SetFields(tag, "x");
    bad->Save();
    world.ui.Expect(failedMbl);
    EXPECT_FALSE(browser(path));
    EXPECT_EQ(FileText(path), "old text that is longer than an empty root");
    EXPECT_TRUE(world.logHas("The property \"no (name)\" has a name that XML can't hold."));
    bad->Delete();
    EXPECT_TRUE(browser(path));
    EXPECT_EQ(FileText(path), "<lists/>");
    EXPECT_THAT(world.files("sub"), ElementsAre("old.xml"));
}

TEST_F(BackupTest, WithoutAMailboxItIsTold) {
    session().agentInfo = nullptr;
    world.ui.Expect(failedMbl);
    EXPECT_FALSE(browser(world.file("b.xml")));
    EXPECT_FALSE(std::filesystem::exists(world.file("b.xml")));
}

TEST_F(BackupTest, TheDefaultNameHasTodaysLocalDate) {
    world.clock.Set(*ParseDate("2009-03-07 12:00:00"));
    EXPECT_EQ(BackupFileName(session(), "KRConfig"), "KRConfig 3-7-09.xml");
    // in Berlin it is the next day, month and year already
    world.clock.Set(*ParseDate("2009-12-31 23:30:00"));
    EXPECT_EQ(BackupFileName(session(), "KRPushLists"), "KRPushLists 1-1-10.xml");
}

TEST(BackupFailures, AStoreThatFailsLeavesNoFileAndIsTold) {
    BackupWorld world;
    const RDOMessagePtr list =
        BackupWorld::add(world.browser, kMblClass, "A", {{"MBL.Title", "T"}, {"MBL.Cache", true}});
    list->Attachments()->AddContent("ReadIcon", Bytes{1});
    list->Save();
    BackupWorld::add(world.browser, kMblClass, "B");
    std::filesystem::create_directory(world.file("sub"));
    const std::string path = world.file("sub/b.xml");
    ASSERT_TRUE(BackupMBL(*world.session, path, world.progress));
    const std::string whole = FileText(path);
    const int runs = ForEachFailure([&](const Arm& arm) {
        std::filesystem::remove(path);
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        CountedProgress progress;
        const bool good = BackupMBL(failing.session, path, progress);
        EXPECT_EQ(good, std::filesystem::exists(path));
        if (good)
            EXPECT_EQ(FileText(path), whole);
        else
            EXPECT_EQ(failing.ui.shown.back(),
                      "Unable to backup Mandatory Browser Channels!\r\nSee log for details.");
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 30);
    EXPECT_TRUE(world.logHas("Unable to create Mandatory Browser Channel backup: "));
    std::filesystem::remove(path);
    EXPECT_THAT(world.files("sub"), IsEmpty());
}

} // namespace
