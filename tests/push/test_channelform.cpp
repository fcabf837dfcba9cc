#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "push/ChannelForm.h"
#include "push/basMBL.h"
#include "tests/push/PushWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

constexpr std::string_view kPng{"\x89PNG\r\n\x1A\n1", 9};

class ChannelFormTest : public ::testing::Test {
protected:
    ChannelFormTest() { fill(form); }
    static void fill(ChannelForm& filled) {
        filled.name = " News ";
        filled.title = "Title";
        filled.url = "host/page";
        filled.changed = true;
    }
    AgentSession& session() { return *world.session; }
    ChannelForm::Outcome save(ChannelForm& saved) { return saved.Save(session(), focus); }
    ChannelForm::Outcome save() { return save(form); }
    RDOMessagePtr stored(const ChannelForm& of) { return GetMessage(session(), of.id()); }
    int count() {
        return static_cast<int>(
            GetMessageIDs(session(), *GetMblFolder(session()), kMblClass, "").size());
    }
    std::string file(const std::string& name, std::string_view content) {
        const std::string path = world.folder() + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    std::vector<std::string> attachments(const ChannelForm& of) {
        std::vector<std::string> names;
        const auto list = stored(of)->Attachments();
        for (int i = 1; i <= list->Count(); ++i)
            names.push_back(list->Item(i)->DisplayName() + " " +
                            std::to_string(list->Item(i)->Size()));
        return names;
    }
    void setIcon(ChannelForm& of, ChannelIcon which, const std::string& path) {
        of.SetIcon(which, path, ReadPngFile(path));
    }
    PushWorld world;
    ChannelForm form{true};
    ChannelForm::Focus focus = ChannelForm::Focus::None;
};

TEST_F(ChannelFormTest, ANewChannelIsWritten) {
    form.description = "About";
    form.cache = true;
    form.child = true;
    form.depth = 2;
    form.maxContent = 300;
    form.names = "Sales;Carol Contact";
    form.addresses = "sales@example.test;carol@partner.test";
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    const RDOMessagePtr record = stored(form);
    RDOMessage& list = *record;
    EXPECT_EQ(list.MessageClass(), kMblClass);
    EXPECT_EQ(list.Subject(), "News");
    EXPECT_EQ(GetKey(list, "MBL.Type"), Value("Channel"));
    EXPECT_EQ(KeyText(list, "MBL.ChannelID").size(), 36U);
    EXPECT_EQ(GetKey(list, "MBL.Title"), Value("Title"));
    EXPECT_EQ(GetKey(list, "MBL.Description"), Value("About"));
    EXPECT_EQ(GetKey(list, "MBL.URL"), Value("host/page"));
    EXPECT_EQ(GetKey(list, "EPS.Inactive"), Value(false));
    EXPECT_EQ(GetKey(list, "MBL.Cache"), Value(true));
    EXPECT_EQ(GetKey(list, "MBL.Expire"), Value(int32_t{7}));
    EXPECT_EQ(GetKey(list, "MBL.IncludeLinkDepth"), Value(int16_t{2}));
    EXPECT_EQ(GetKey(list, "MBL.MaxContent"), Value(int16_t{300}));
    EXPECT_EQ(GetKey(list, "MBL.Target"), Value("Sales;Carol Contact"));
    EXPECT_EQ(GetKey(list, "MBL.Target.Email"), Value("sales@example.test;carol@partner.test"));
    EXPECT_EQ(GetKey(list, "MBL.Target.Count"), Value(int32_t{4})) << "after expansion";
    EXPECT_TRUE(GetKey(list, "MBL.Frequency").empty());
}

TEST_F(ChannelFormTest, TheChannelIdStays) {
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    const std::string id = KeyText(*stored(form), "MBL.ChannelID");
    ChannelForm again(true);
    ASSERT_TRUE(again.Load(session(), form.id()));
    EXPECT_FALSE(again.changed);
    EXPECT_EQ(again.name, "News");
    again.enable = false;
    again.changed = true;
    ASSERT_EQ(save(again), ChannelForm::Outcome::Saved);
    EXPECT_EQ(again.id(), form.id());
    EXPECT_EQ(KeyText(*stored(form), "MBL.ChannelID"), id);
    EXPECT_TRUE(KeyFlag(*stored(form), "EPS.Inactive"));
    EXPECT_EQ(count(), 1);
}

TEST_F(ChannelFormTest, WithoutChildLinksBothNumbersAreZero) {
    form.depth = 3;
    form.maxContent = 99;
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    EXPECT_EQ(GetKey(*stored(form), "MBL.IncludeLinkDepth"), Value(int16_t{0}));
    EXPECT_EQ(GetKey(*stored(form), "MBL.MaxContent"), Value(int16_t{0}));
    ChannelForm again(true);
    again.Load(session(), form.id());
    EXPECT_FALSE(again.child);
    EXPECT_EQ(again.maxContent, 100);
    again.TickChild();
    EXPECT_EQ(again.depth, 1);
    EXPECT_EQ(again.maxContent, 100);
}

TEST_F(ChannelFormTest, AnOldRecordsZeroMeans250) {
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    const RDOMessagePtr list = stored(form);
    SetKey(*list, "MBL.IncludeLinkDepth", int16_t{2});
    list->Save();
    ChannelForm again(true);
    again.Load(session(), form.id());
    EXPECT_TRUE(again.child);
    EXPECT_EQ(again.maxContent, 250);
    again.TickChild();
    EXPECT_EQ(again.depth, 2);
}

TEST_F(ChannelFormTest, RefusalsComeInTheirOrder) {
    ChannelForm other(true);
    fill(other);
    ASSERT_EQ(save(other), ChannelForm::Outcome::Saved);
    form.name = "  ";
    form.title = form.url = "";
    form.changed = false;
    const auto refused = [&](const char* text, ChannelForm::Focus at) {
        world.ui.Expect(text);
        EXPECT_EQ(save(), ChannelForm::Outcome::Refused) << text;
        EXPECT_EQ(focus, at) << text;
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
        EXPECT_EQ(world.ui.boxes().back().title, kAppTitle);
    };
    refused("You must provide a unique name for this Browser Channel Push",
            ChannelForm::Focus::Name);
    form.name = "news";
    EXPECT_EQ(save(), ChannelForm::Outcome::Unchanged);
    form.changed = true;
    refused("'news' is already in use.\r\nPlease provide a different name for this list!",
            ChannelForm::Focus::Name);
    form.name = "Other";
    refused("You must enter the title of the channel that will appear on the handheld!",
            ChannelForm::Focus::Title);
    form.title = "T";
    refused("You must enter the URL of the channel content!", ChannelForm::Focus::Url);
    EXPECT_EQ(count(), 1);
    form.url = "u";
    EXPECT_EQ(save(), ChannelForm::Outcome::Saved);
    EXPECT_EQ(count(), 2);
}

TEST_F(ChannelFormTest, AMessageHasAFrequencyAndNoChannel) {
    ChannelForm message(false);
    fill(message);
    message.title = " ";
    world.ui.Expect("You must enter the title of the channel that will appear on the handheld!");
    EXPECT_EQ(save(message), ChannelForm::Outcome::Refused);
    message.title = "T";
    message.frequency = 4;
    ASSERT_EQ(save(message), ChannelForm::Outcome::Saved);
    EXPECT_EQ(GetKey(*stored(message), "MBL.Type"), Value("Message"));
    EXPECT_EQ(GetKey(*stored(message), "MBL.Frequency"), Value(int16_t{4}));
    for (const char* key : {"MBL.ChannelID", "MBL.Cache", "MBL.Expire", "MBL.MaxContent"})
        EXPECT_TRUE(GetKey(*stored(message), key).empty()) << key;
    ChannelForm again(false);
    again.Load(session(), message.id());
    EXPECT_EQ(again.frequency, 4);
}

TEST_F(ChannelFormTest, IconsReplaceThoseOfTheirName) {
    setIcon(form, ChannelIcon::Read, file("a.png", kPng));
    setIcon(form, ChannelIcon::Unread, file("b.png", std::string(kPng) + "2"));
    EXPECT_TRUE(form.IconChanged());
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    EXPECT_THAT(attachments(form), UnorderedElementsAre("ReadIcon 9", "UnreadIcon 10"));
    ChannelForm again(true);
    again.Load(session(), form.id());
    EXPECT_EQ(again.Icon(ChannelIcon::Read).size(), 9U);
    EXPECT_EQ(again.Icon(ChannelIcon::Unread).size(), 10U);
    EXPECT_FALSE(again.IconChanged());
    setIcon(again, ChannelIcon::Read, file("c.png", std::string(kPng) + "345"));
    ASSERT_EQ(save(again), ChannelForm::Outcome::Saved);
    EXPECT_THAT(attachments(form), UnorderedElementsAre("ReadIcon 12", "UnreadIcon 10"));
}

TEST_F(ChannelFormTest, AnIconThatIsGoneLeavesTheOldOne) {
    setIcon(form, ChannelIcon::Read, file("a.png", kPng));
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    const std::string path = file("b.png", std::string(kPng) + "2");
    setIcon(form, ChannelIcon::Read, path);
    setIcon(form, ChannelIcon::Unread, path);
    std::filesystem::remove(path);
    form.title = "Other";
    world.ui.Expect("Failed to save Read icon!\r\nPlease verify the path.");
    world.ui.Expect("Failed to save Unread icon!\r\nPlease verify the path.");
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    EXPECT_THAT(attachments(form), ElementsAre("ReadIcon 9"));
    EXPECT_EQ(KeyText(*stored(form), "MBL.Title"), "Other");
    EXPECT_TRUE(world.logHas("Error adding Read icon 2:No such file or directory"));
    EXPECT_TRUE(world.logHas("Error adding Unread icon 2:No such file or directory"));
}

TEST_F(ChannelFormTest, OnlyPngFilesAreIcons) {
    EXPECT_EQ(ReadPngFile(file("a.png", kPng)).size(), 9U);
    for (const std::string& path :
         {file("b.png", "GIF89a"), file("c.png", ""), world.folder() + "/none.png",
          file("d.png", std::string(kPng) + std::string(2 << 20, 'x')), world.folder()})
        EXPECT_THROW(ReadPngFile(path), PlatformError) << path;
}

TEST_F(ChannelFormTest, AnIconWithoutAnEngineAsks) {
    EXPECT_FALSE(form.AskForTarn(session())) << "no icon was changed";
    setIcon(form, ChannelIcon::Read, file("a.png", kPng));
    const char* const question =
        "You will need to configure the zandrel Tarn Mobile Engine\r\nto be able to push the icons "
        "for this browser channel.\r\n\r\nDo you want to do that now?";
    world.ui.Expect(question, BoxAnswer::Yes);
    EXPECT_TRUE(form.AskForTarn(session()));
    world.ui.Expect(question, BoxAnswer::No);
    EXPECT_FALSE(form.AskForTarn(session()));
    world.SetAgent("TARN.URL", "http://tarn/");
    EXPECT_FALSE(form.AskForTarn(session()));
}

TEST_F(ChannelFormTest, NumbersAreForcedIntoTheirLimits) {
    EXPECT_EQ(ForceNumber("x", kExpireRule), 30);
    EXPECT_EQ(ForceNumber("", kExpireRule), 30);
    EXPECT_EQ(ForceNumber("181", kExpireRule), 180);
    EXPECT_EQ(ForceNumber("-1", kExpireRule), 0);
    EXPECT_EQ(ForceNumber("x", kDepthRule), 0);
    EXPECT_EQ(ForceNumber("6", kDepthRule), 5);
    EXPECT_EQ(ForceNumber("x", kMaxContentRule), 1);
    EXPECT_EQ(ForceNumber("1e99", kMaxContentRule), 999);
    EXPECT_EQ(ForceNumber("250", kMaxContentRule), 250);
}

TEST_F(ChannelFormTest, AFailedSaveIsToldAndLeavesNothingHalf) {
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    FailingSession failing(world);
    failing.LogOn();
    form.title = "Other";
    int refused = 0;
    for (int call = 1; call <= 60; ++call) {
        const std::string before = KeyText(*stored(form), "MBL.Title");
        form.title = "Title " + std::to_string(call);
        failing.ui.shown.clear();
        failing.store.plan().FailAt(call);
        const auto outcome = form.Save(failing.session, focus);
        const bool saved = outcome == ChannelForm::Outcome::Saved;
        EXPECT_EQ(KeyText(*stored(form), "MBL.Title"), saved ? form.title : before);
        if (saved)
            continue;
        ++refused;
        // a name that can't be compared counts as taken
        const bool taken = outcome == ChannelForm::Outcome::Refused;
        EXPECT_EQ(failing.ui.shown.back(),
                  taken ? "'News' is already in use.\r\nPlease provide a different name for this "
                          "list!"
                        : "Unable to save 'News'!\r\nSee the KR-Admin.log for details");
    }
    EXPECT_GT(refused, 3);
    EXPECT_TRUE(world.logHas("Error saving browser list News: "));
}

TEST_F(ChannelFormTest, AListThatIsGoneIsNotLoaded) {
    ASSERT_EQ(save(), ChannelForm::Outcome::Saved);
    stored(form)->Delete();
    ChannelForm again(true);
    EXPECT_FALSE(again.Load(session(), form.id()));
    EXPECT_TRUE(world.logHas("ChannelForm: "));
}

} // namespace
