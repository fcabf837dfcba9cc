#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "push/basMBL.h"
#include "push/basMBLDelete.h"
#include "tests/push/PushWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A channel for Alice and Bob, who have handhelds behind a push server, and O'Brien, who has none.
class MblDelete : public ::testing::Test {
protected:
    MblDelete() {
        world.AddHandheld("PINBOB", "bob@example.test", "Bob", "BES1");
        list = add("My News", "{ID}");
        set("MBL.Target.Email", "alice@example.test;obrien@example.test;bob@example.test");
    }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr add(std::string_view name, std::string_view channel) {
        const auto made = GetMblFolder(session())->Items()->Add(kMblClass);
        made->SetSubject(name);
        SetKey(*made, "MBL.Type", "Channel");
        SetKey(*made, "MBL.ChannelID", channel);
        made->Save();
        return made;
    }
    void set(const std::string& key, const Value& value) {
        SetKey(*list, key, value);
        list->Save();
    }
    RDOMessagePtr stored() { return GetMessage(session(), list->ID()); }
    bool remove() { return DeleteBrowserList(session(), world.tree, window, list->ID()); }
    /// `told` is the last box; "" for none.
    void clear(const std::vector<std::string>& people, const std::string& told) {
        std::vector<PickedRecipient> chosen;
        for (const std::string& person : people)
            chosen.push_back({world.Entry(person)->ID(), person});
        world.ui.Expect(kClearHint);
        world.ui.ExpectAddressBook(chosen);
        if (!told.empty())
            world.ui.Expect(told);
        ClearBrowserChannels(session(), world.tree, window);
    }
    /// Cancel is pressed while that request is under way.
    void cancelDuring(size_t request) {
        world.progress.cancel = [this, request] { return world.http.sent.size() >= request; };
    }
    std::string resultOf(const std::string& pin) {
        auto document = LoadResultDocument(stored()->Body(), "");
        const XmlNode target = document ? document->Target(pin) : XmlNode();
        return target ? std::string(target.Attribute("result").value_or("")) : "";
    }

    static constexpr const char* kClearHint =
        "Select one or more users or distribution lists where \r\nyou want to remove any browser "
        "channel pushed by zandrel.\r\n\r\nThis will include all current browser channel lists "
        "\r\nas well as those that have been previously deleted.";
    PushWorld world;
    RDOMessagePtr list;
    int windows = 0;
    bool whole = false;
    PushForms::Window window = [this](std::string_view icon, const PushForms::Work& work) {
        EXPECT_EQ(icon, "imgGlobe");
        ++windows;
        whole = work(world.progress);
    };
};

TEST_F(MblDelete, DeletingRenamesMarksAndClears) {
    EXPECT_TRUE(remove());
    EXPECT_EQ(stored()->Subject(), "My News deleted 2026-03-10 10:00");
    EXPECT_TRUE(KeyFlag(*stored(), "MBL.Deleted"));
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE", "PINBOB"));
    EXPECT_EQ(PushWorld::HeaderOf(world.http.sent[0], "X-RIM-Push-Type"), "Browser-Channel-Delete");
    ASSERT_TRUE(GetChannelIDs(session()));
    EXPECT_THAT(*GetChannelIDs(session()), ElementsAre("{ID}"));
    EXPECT_FALSE(BrowserListRow(session(), *stored()));
    EXPECT_EQ(windows, 1);
    EXPECT_TRUE(whole);
    EXPECT_EQ(resultOf("PINALICE"), "200:OK");
    EXPECT_THAT(world.progress.results,
                ElementsAre("Alice: 200:OK", "Obrien: no Push server", "Bob: 200:OK",
                            "Requests were pushed to delete My News from 2 handhelds."));
    EXPECT_THAT(world.progress.steps,
                ElementsAre("Assembling push targets ...", "Deleting channel from Alice...",
                            "Deleting channel from Bob..."));
}

TEST_F(MblDelete, ADeletionThatIsCancelledIsRecordedAsFarAsItCame) {
    cancelDuring(1);
    EXPECT_TRUE(remove()) << "the list is gone from the console";
    EXPECT_FALSE(whole);
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
    EXPECT_EQ(resultOf("PINALICE"), "200:OK");
    EXPECT_EQ(resultOf("PINBOB"), "");
    EXPECT_EQ(world.progress.results.back(),
              "Stopped: requests were pushed to 1 of 3 targets.\r\n\"Remove Channels...\" takes My "
              "News from the others.");
    EXPECT_TRUE(world.logHas(
        "DeleteBrowserList: user cancelled the deletion of My News from handhelds; Deleted=1"));
    EXPECT_THAT(*GetChannelIDs(session()), ElementsAre("{ID}")) << "so that the rest can follow";
}

TEST_F(MblDelete, WhatHasNoHandheldsNeedsNoWindow) {
    set("MBL.Target.Email", "");
    EXPECT_TRUE(remove());
    set("MBL.Target.Email", "alice@example.test");
    set("MBL.Type", "Message");
    EXPECT_TRUE(remove());
    EXPECT_EQ(windows, 0);
    EXPECT_THAT(world.http.sent, IsEmpty());
    EXPECT_FALSE(DeleteBrowserList(session(), world.tree, window, EntryID("00")));
}

TEST_F(MblDelete, AListWhoseHandheldsCannotBeReadSaysSo) {
    world.SetAgent("HHEntryID", "");
    EXPECT_TRUE(remove());
    EXPECT_THAT(world.progress.results,
                ElementsAre("The handhelds can't be read.\r\nMy News was not deleted from any "
                            "handheld."));
}

TEST_F(MblDelete, ClearingTakesEveryChannelFromTheChosen) {
    add("Second", "{TWO}");
    clear({"alice", "obrien"},
          "Requests were pushed to delete 2 channels from 1 handhelds.\r\nNo push server could be "
          "found for 1 handhelds. See the log for specifics.");
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE", "PINALICE"));
    EXPECT_TRUE(world.logHas("Browser Clear  skipping Obrien: unable to determing PushServer"));
    EXPECT_THAT(world.progress.results,
                ElementsAre("Alice: 2 of 2 requests were accepted", "Obrien: no Push server"));
    EXPECT_THAT(world.progress.steps, Contains("Removing channels from Alice..."));
    EXPECT_TRUE(whole);
}

TEST_F(MblDelete, ARefusalIsNamed) {
    add("Second", "{TWO}");
    world.http.answer = [this](const FakeHttp::Request&) {
        return world.http.sent.size() == 2 ? FakeHttp::Response{500, "Error"}
                                           : FakeHttp::Response();
    };
    clear({"alice"}, "Requests were pushed to delete 2 channels from 1 handhelds.");
    EXPECT_THAT(world.progress.results,
                ElementsAre("Alice: 1 of 2 requests were accepted (500:Error)"));
}

/// Nothing is told that was not done.
TEST_F(MblDelete, AClearingThatIsCancelledStopsBeforeTheNextRequest) {
    add("Second", "{TWO}");
    cancelDuring(3);
    clear({"alice", "bob"}, "");
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE", "PINALICE", "PINBOB"));
    EXPECT_FALSE(whole);
    EXPECT_EQ(world.ui.boxes().size(), 1U) << "the hint alone";
    EXPECT_THAT(world.progress.results,
                ElementsAre("Alice: 2 of 2 requests were accepted",
                            "Bob: 1 of 2 requests were accepted",
                            "Stopped: 3 of 4 requests were pushed, all channels for 1 handhelds."));
    EXPECT_TRUE(world.logHas("Browser Clear  user cancelled; pushed 3 of 4 requests, all channels "
                             "for 1 targets"));
}

TEST_F(MblDelete, ClearingMayFindNothingOrBeCancelled) {
    world.ui.Expect(kClearHint);
    world.ui.ExpectAddressBook(std::nullopt);
    ClearBrowserChannels(session(), world.tree, window);
    set("MBL.ChannelID", "");
    world.ui.Expect("There are no existing or deleted browser channels to clear");
    ClearBrowserChannels(session(), world.tree, window);
    EXPECT_THAT(world.http.sent, IsEmpty());
    EXPECT_EQ(windows, 0);
}

TEST_F(MblDelete, UnreadableHandheldsAreToldAsSuch) {
    world.SetAgent("HHEntryID", "");
    clear({"alice"}, "The handhelds can't be read.");
    EXPECT_EQ(windows, 0);
}

/// A search that fails doesn't pass for a folder without channels.
TEST_F(MblDelete, ListsThatCannotBeReadAreNoLackOfChannels) {
    FailingSession failing(world);
    failing.LogOn();
    int lost = 0;
    for (int call = 1; call < 40 && lost < 3; ++call) {
        failing.store.plan().FailAt(call);
        const auto channels = GetChannelIDs(failing.session);
        EXPECT_TRUE(!channels || !channels->empty() || world.logHas("GetChannelIDs: err reading "));
        if (channels)
            continue;
        ++lost;
        failing.ui.shown.clear();
        failing.store.plan().FailAt(call);
        ClearBrowserChannels(failing.session, world.tree, window);
    }
    EXPECT_EQ(lost, 3);
    ASSERT_FALSE(failing.ui.shown.empty());
    EXPECT_THAT(failing.ui.shown, Contains("The browser lists can't be read!\r\nNo channels were "
                                           "removed. See the log for specifics."));
    EXPECT_EQ(windows, 0);
}

} // namespace
