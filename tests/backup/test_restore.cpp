#include "backup/basRestore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "backup/basBackup.h"
#include "core/basDate.h"
#include "tests/backup/BackupWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kNotRead = "Unable to restore from f.xml!";
const std::string kNotValid = "f.xml is not valid for restoring Mandatory Browser Channels";
const std::string kFailed = "Unable to restore Mandatory Browser Channels from f.xml!";

class RestoreTest : public ::testing::Test {
protected:
    RestoreTest() {
        BackupWorld::add(world.browser, kMblClass, "Kept", {{"MBL.Title", "T"}});
        BackupWorld::add(world.push, kMplClass, "Kept too", {{"MPL.Payload", "P"}});
    }
    AgentSession& session() { return *world.session; }
    static std::string list(const std::string& subject, const std::string& children = "",
                            std::string_view messageClass = kMblClass) {
        return "<list MessageClass=\"" + std::string(messageClass) + "\" Subject=\"" + subject +
               "\">" + children + "</list>";
    }
    bool restore(const std::string& text) {
        return RestoreMBL(session(), world.write("f.xml", text));
    }
    /// Refused with that box, and nothing is changed.
    void refused(const std::string& text, const std::string& box, const std::string& logged) {
        world.ui.Expect(box);
        EXPECT_FALSE(restore(text)) << text.substr(0, 200);
        EXPECT_TRUE(world.logHas(logged)) << world.log();
        EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("Kept"));
        EXPECT_EQ(world.ui.lastStatus(), "");
        EXPECT_EQ(world.ui.waitCursors(), 0);
    }
    RDOMessagePtr first(const RDOFolderPtr& folder) { return folder->Items()->Item(1); }

    BackupWorld world;
};

TEST_F(RestoreTest, ReplacesTheListsByThoseOfTheFile) {
    EXPECT_TRUE(restore("<lists>" + list("B", "<MBL.Title Type='8'>News</MBL.Title>") + list("A") +
                        "</lists>"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("B", "A"));
    EXPECT_EQ(KeyText(*first(world.browser), "MBL.Title"), "News");
    EXPECT_EQ(first(world.browser)->MessageClass(), "IPM.Post.MBL");
    EXPECT_THAT(BackupWorld::subjects(world.push), ElementsAre("Kept too"));
    EXPECT_THAT(world.ui.statuses(),
                ElementsAre("Restoring Mandatory Browser Channels, please wait...", ""));
    EXPECT_TRUE(world.logHas("RestoreMBL: adding B"));
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(RestoreTest, ReplacesThePushLists) {
    EXPECT_TRUE(RestoreMPL(session(), world.write("f.xml", "<lists>" +
                                                               list("N",
                                                                    "<ReadIcon Type='8'>x"
                                                                    "</ReadIcon>",
                                                                    kMplClass) +
                                                               "</lists>")));
    EXPECT_THAT(BackupWorld::subjects(world.push), ElementsAre("N"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("Kept"));
    // no icons there: a key of that name is one
    EXPECT_EQ(KeyText(*first(world.push), "ReadIcon"), "x");
    EXPECT_THAT(world.ui.statuses(),
                ElementsAre("Restoring Mandatory Push Lists, please wait...", ""));
    EXPECT_TRUE(world.logHas("RestoreMPL: adding N"));
}

TEST_F(RestoreTest, NamesThatAreThereAlreadyAreReplaced) {
    const EntryID old = first(world.browser)->ID();
    EXPECT_TRUE(restore("<lists>" + list("Kept", "<MBL.URL Type='8'>u</MBL.URL>") + "</lists>"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("Kept"));
    EXPECT_EQ(KeyText(*first(world.browser), "MBL.URL"), "u");
    EXPECT_EQ(KeyText(*first(world.browser), "MBL.Title"), "");
    EXPECT_NE(first(world.browser)->ID(), old);
}

TEST_F(RestoreTest, OnlyListsAreDeleted) {
    BackupWorld::add(world.browser, "IPM.Note", "A note");
    EXPECT_TRUE(restore("<lists>" + list("New") + "</lists>"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("A note", "New"));
}

TEST_F(RestoreTest, AnEmptyBackupRestoresToNothing) {
    EXPECT_TRUE(restore("<lists/>"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), IsEmpty());
}

TEST_F(RestoreTest, TheIconsComeBackAndNoFileIsLeft) {
    const auto temporary = [] {
        size_t count = 0;
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
            count += entry.path().filename() == "kr-icon-of-a-test.png" ? 1 : 0;
        return count;
    };
    EXPECT_TRUE(restore("<lists>" +
                        list("C", "<UnreadIcon FileName='..\\..\\kr-icon-of-a-test.png'>AQID"
                                  "</UnreadIcon><MBL.Title Type='8'>T</MBL.Title>"
                                  "<ReadIcon FileName='ReadIcon'>BAUG</ReadIcon>") +
                        "</lists>"));
    const auto icons = first(world.browser)->Attachments();
    ASSERT_EQ(icons->Count(), 2);
    EXPECT_EQ(icons->Item(1)->DisplayName(), "UnreadIcon");
    EXPECT_EQ(icons->Item(1)->Content(), (Bytes{1, 2, 3}));
    EXPECT_EQ(icons->Item(2)->DisplayName(), "ReadIcon");
    EXPECT_EQ(icons->Item(2)->Content(), (Bytes{4, 5, 6}));
    EXPECT_EQ(temporary(), 0U);
}

TEST_F(RestoreTest, ABackupComesBackAsItWas) {
    first(world.browser)->Delete();
    const RDOMessagePtr channel =
        BackupWorld::add(world.browser, kMblClass, "News \"of\" <us> & you",
                         {{"MBL.Type", "Channel"},
                          {"MBL.ChannelID", "{ID}"},
                          {"MBL.Description", "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D\r\n'quoted'"},
                          {"MBL.Cache", false},
                          {"MBL.Expire", int32_t{7}},
                          {"MBL.MaxContent", int16_t{100}},
                          {"MBL.LastPushDate", *ParseDate("2026-03-07 10:11:12")},
                          {"MBL.Target", "Sales;Alice"}});
    channel->Attachments()->AddContent("ReadIcon", Bytes(5000, 0x5A));
    channel->Save();
    BackupWorld::add(world.browser, kMblClass, "Gone", {{"MBL.Deleted", true}});
    const std::string path = world.file("round.xml");
    ASSERT_TRUE(BackupMBL(session(), path, world.progress));
    const std::map<std::string, Value> before = [&] {
        std::map<std::string, Value> keys;
        for (const PropTag tag : channel->PropList())
            if (const auto name = channel->NameOf(tag))
                keys[name->name] = channel->Fields(tag);
        return keys;
    }();
    ASSERT_EQ(before.size(), 8U);
    ASSERT_TRUE(RestoreMBL(session(), path));
    EXPECT_THAT(BackupWorld::subjects(world.browser),
                ElementsAre("News \"of\" <us> & you", "Gone"));
    const RDOMessagePtr again = first(world.browser);
    for (const auto& [key, value] : before)
        EXPECT_EQ(GetKey(*again, key), value) << key;
    EXPECT_EQ(again->Attachments()->Item(1)->Content(), Bytes(5000, 0x5A));
    // and the second backup says the same, but for the dates of the new messages
    ASSERT_TRUE(BackupMBL(session(), world.file("again.xml"), world.progress));
    const std::regex dates(" LastModified=\"[^\"]*\"");
    EXPECT_EQ(std::regex_replace(FileText(world.file("again.xml")), dates, ""),
              std::regex_replace(FileText(path), dates, ""));
}

// --- files that are none

TEST_F(RestoreTest, AFileThatIsNoXml) {
    refused("Dear all,", kNotRead, "RestoreMBL: unable to load XML from " + world.file("f.xml"));
    refused("<lists>" + list("A"), kNotRead, "RestoreMBL: unable to load XML from ");
    refused("<lists>" + list("A") + "</lists><lists/>", kNotRead, "unable to load XML from ");
    refused("<lists>\xFF\xFE</lists>", kNotRead, "unable to load XML from ");
    refused(std::string("<lists>\0</lists>", 16), kNotRead, "unable to load XML from ");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
}

TEST_F(RestoreTest, AnEmptyFile) {
    refused("", kNotRead, "RestoreMBL: no data to restore in " + world.file("f.xml"));
    refused(" \r\n\t", kNotRead, "RestoreMBL: no data to restore in ");
}

TEST_F(RestoreTest, AFileThatIsNotThereOrNoFile) {
    world.ui.Expect("Unable to restore from none.xml!");
    EXPECT_FALSE(RestoreMBL(session(), world.file("none.xml")));
    EXPECT_TRUE(world.logHas("The file is not there."));
    std::filesystem::create_directory(world.file("sub"));
    world.ui.Expect("Unable to restore from sub!");
    EXPECT_FALSE(RestoreMBL(session(), world.file("sub")));
    ASSERT_EQ(mkfifo(world.file("pipe").c_str(), 0600), 0);
    world.ui.Expect("Unable to restore from pipe!");
    EXPECT_FALSE(RestoreMBL(session(), world.file("pipe")));
    EXPECT_TRUE(world.logHas("That is not a file."));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("Kept"));
}

TEST_F(RestoreTest, AFileThatIsTooLarge) {
    const std::string path = world.write("f.xml", "<lists/>");
    std::filesystem::resize_file(path, (64U << 20) + 1);
    world.ui.Expect(kNotRead);
    EXPECT_FALSE(RestoreMBL(session(), path));
    EXPECT_TRUE(world.logHas("The file is too large."));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("Kept"));
}

TEST_F(RestoreTest, APathOfWindowsIsShortenedToo) {
    const std::string path = world.write("C:\\Backups\\f.xml", "x");
    world.ui.Expect(kNotRead);
    EXPECT_FALSE(RestoreMBL(session(), path));
}

TEST_F(RestoreTest, EntitiesAndDocumentTypesAreRefused) {
    world.write("secret", "SECRET");
    refused("<!DOCTYPE lists [<!ENTITY e SYSTEM \"file://" + world.file("secret") + "\">]><lists>" +
                list("A", "<MBL.Title Type='8'>&e;</MBL.Title>") + "</lists>",
            kNotRead, "unable to load XML from ");
    std::string bomb = "<!DOCTYPE l [<!ENTITY a0 'xxxxxxxxxx'>";
    for (int i = 1; i < 10; ++i) {
        bomb += "<!ENTITY a" + std::to_string(i) + " '";
        for (int n = 0; n < 10; ++n)
            bomb += "&a" + std::to_string(i - 1) + ";";
        bomb += "'>";
    }
    refused(bomb + "]><lists>" + list("A", "<T Type='8'>&a9;</T>") + "</lists>", kNotRead,
            "unable to load XML from ");
    EXPECT_THAT(world.log(), ::testing::Not(HasSubstr("SECRET")));
}

TEST_F(RestoreTest, EndlessNestingIsRefused) {
    std::string open, close;
    for (int i = 0; i < 100000; ++i) {
        open += "<a>";
        close += "</a>";
    }
    refused("<lists>" + open + close + "</lists>", kNotRead, "unable to load XML from ");
}

TEST_F(RestoreTest, FilesOfAnotherKindAreRefused) {
    const std::string logged = "RestoreMBL: " + kNotValid;
    refused("<config><msg MessageClass='zandrel.Agent' Mailbox='m'/></config>", kNotValid, logged);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    refused("<items><item MessageClass='IPM.Post.MCL' Subject='s'/></items>", kNotValid, logged);
    refused("<html><body/></html>", kNotValid, logged);
    // push lists have the same elements
    refused("<lists>" + list("A", "", kMplClass) + "</lists>", kNotValid, logged);
    refused("<lists><list Subject='A'/></lists>", kNotValid, logged);
    world.ui.Expect("f.xml is not valid for restoring Mandatory Push Lists");
    EXPECT_FALSE(RestoreMPL(session(), world.write("f.xml", "<lists>" + list("A") + "</lists>")));
    EXPECT_THAT(BackupWorld::subjects(world.push), ElementsAre("Kept too"));
}

TEST_F(RestoreTest, BrokenContentChangesNothing) {
    const std::string logged = "RestoreMBL: error from " + world.file("f.xml");
    for (const char* broken :
         {"<A Type='99'>x</A>", "<A>x</A>", "<A Type='3'>many</A>", "<A Type='7'>soon</A>",
          "<ReadIcon FileName='r'>A</ReadIcon>", "<ReadIcon FileName='r'>####</ReadIcon>"})
        // behind a list that is right
        refused("<lists>" + list("A") + list("B", broken) + "</lists>", kFailed, logged);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_TRUE(world.logHas("The element ReadIcon does not hold Base64."));
    world.ui.Expect("Unable to restore Mandatory Push Lists from f.xml!");
    EXPECT_FALSE(RestoreMPL(
        session(),
        world.write("f.xml", "<lists>" + list("A", "<A>x</A>", kMplClass) + "</lists>")));
    EXPECT_THAT(BackupWorld::subjects(world.push), ElementsAre("Kept too"));
    EXPECT_TRUE(world.logHas("RestoreMPL: error from "));
}

TEST_F(RestoreTest, WhatCannotBeRestoredIsLogged) {
    EXPECT_TRUE(restore("<lists>" +
                        list("A", "<Real_one Type='0'>2.5</Real_one>"
                                  "<MBL.Title Type='8'>T</MBL.Title>") +
                        "</lists>"));
    EXPECT_TRUE(world.logHas("RestoreMBL: Real one of A can't be restored"));
    EXPECT_EQ(KeyText(*first(world.browser), "MBL.Title"), "T");
}

TEST_F(RestoreTest, APropertyNamedListIsNoList) {
    EXPECT_TRUE(restore("<lists>" + list("A", "<list Type='8'>x</list>") + "</lists>"));
    EXPECT_THAT(BackupWorld::subjects(world.browser), ElementsAre("A"));
    EXPECT_EQ(KeyText(*first(world.browser), "list"), "x");
}

TEST_F(RestoreTest, WithoutAMailboxItIsTold) {
    session().agentInfo = nullptr;
    world.ui.Expect(kFailed);
    EXPECT_FALSE(restore("<lists/>"));
}

// --- a store that fails

TEST(RestoreFailures, EachFailureIsToldAndNoListIsHalf) {
    BackupWorld world;
    const std::string path = world.write(
        "f.xml", "<lists><list MessageClass='IPM.Post.MBL' Subject='A'><MBL.Title Type='8'>T"
                 "</MBL.Title><MBL.URL Type='8'>u</MBL.URL><ReadIcon FileName='r'>AQID</ReadIcon>"
                 "</list><list MessageClass='IPM.Post.MBL' Subject='B'/></lists>");
    const int runs = ForEachFailure([&](const Arm& arm) {
        while (world.browser->Items()->Count() > 0)
            world.browser->Items()->Item(1)->Delete();
        BackupWorld::add(world.browser, kMblClass, "Old 1");
        BackupWorld::add(world.browser, kMblClass, "Old 2");
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        const bool good = RestoreMBL(failing.session, path);
        EXPECT_EQ(failing.ui.statuses().back(), "");
        EXPECT_EQ(failing.ui.waitCursors(), 0);
        const auto names = BackupWorld::subjects(world.browser);
        if (good)
            EXPECT_THAT(names, ElementsAre("A", "B"));
        else
            EXPECT_EQ(failing.ui.shown.back(), kFailed);
        for (int i = 1; i <= world.browser->Items()->Count(); ++i) {
            const RDOMessagePtr list = world.browser->Items()->Item(i);
            if (list->Subject() == "A") {
                EXPECT_EQ(KeyText(*list, "MBL.Title") + KeyText(*list, "MBL.URL"), "Tu");
                EXPECT_EQ(list->Attachments()->Count(), 1);
            }
        }
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 30);
}

} // namespace
