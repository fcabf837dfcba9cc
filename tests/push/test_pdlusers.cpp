#include <gmock/gmock.h>

#include "core/basDate.h"
#include "handhelds/basHandhelds.h"
#include "push/basPDLUsers.h"
#include "tests/push/PdlUserWorld.h"
#include "tests/support/FailingWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PdlUsersTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    bool logs(const std::string& text) { return world.logHas(text + "\n"); }
    bool verify(const std::string& email, const std::string& host = "AGENT1") {
        return VerifyPushEnable(session(), email, host);
    }
    void mds(const std::string& server) { world.SetHost("EPS.MDS.MDSHost", server); }
    bool stored(const EntryID& id, const std::string& key) {
        return world.UserKey(id, key).valueOr(false);
    }
    bool shown(const EntryID& id, UserFieldID field) {
        return world.UserField(id, field).valueOr(false);
    }
    ListRow rowOf(const EntryID& id) {
        return PushUserRows(session()).RowOf(*RowOfUser(session(), id));
    }
    RDOMessagePtr addFetch(const std::string& pin, const Value& date) {
        const auto folder = GetZandrelFolder(session(), "zandrelPDL");
        const RDOMessagePtr message = folder->Items()->Add("IPM.Post");
        message->SetFields(PR_CONVERSATION_TOPIC, pin);
        SetKey(*message, "PDL.LastFetch", date);
        message->Save();
        return message;
    }
    static std::string text(const ListRow& row, PushColumn column) {
        return row.texts.at(static_cast<size_t>(Index(column)));
    }

    PdlUserWorld world;
};

// --- may a user be enabled?

TEST_F(PdlUsersTest, PinAndPushServerAreEnough) {
    mds("hostmds");
    EXPECT_TRUE(verify("alice@example.test"));
    EXPECT_THAT(world.ui.boxes(), IsEmpty());
    EXPECT_TRUE(logs("VerifyPushEnable = True for Email:alice@example.test and Host:AGENT1 with "
                     "PIN:PINALICE and Server:hostmds"));
}

TEST_F(PdlUsersTest, WithoutAHostThePersonDecides) {
    const std::string box = "Unable to verify that the Mobile Data Service is available for this "
                            "user!\r\nDo you want to enable for push anyway?";
    world.ui.Expect(box, BoxAnswer::No);
    EXPECT_FALSE(verify("alice@example.test", ""));
    EXPECT_TRUE(logs("VerifyPushEnable = false for Email:alice@example.test and Host:"));
    world.ui.Expect(box, BoxAnswer::Yes);
    EXPECT_TRUE(verify("alice@example.test", ""));
    EXPECT_TRUE(logs("User-enabled push with Email:alice@example.test and Host:"));
}

TEST_F(PdlUsersTest, WithoutAPinThePersonDecides) {
    mds("hostmds");
    const std::string box = "There is no record of a PIN for Bob.\r\nPush notifications will "
                            "fail!\r\nDo you want to enable for push anyway?";
    const std::string tail = "Email:bob@example.test and Host:AGENT1 with PIN: and Server:hostmds";
    world.ui.Expect(box, BoxAnswer::No);
    EXPECT_FALSE(verify("bob@example.test"));
    EXPECT_TRUE(logs("No user override to push enable for " + tail));
    world.ui.Expect(box, BoxAnswer::Yes);
    EXPECT_TRUE(verify("bob@example.test"));
    EXPECT_TRUE(logs("User-enabled push for " + tail));
    // whom the table doesn't know has no other name than the address
    world.ui.Expect("There is no record of a PIN for carl@example.test.\r\nPush notifications "
                    "will fail!\r\nDo you want to enable for push anyway?",
                    BoxAnswer::No);
    EXPECT_FALSE(verify("carl@example.test"));
}

TEST_F(PdlUsersTest, WithoutAPushServerThePersonDecides) {
    const std::string box =
        "There is no BES push server configured for the zandrel Agent on AGENT1.\r\n"
        "No push notifications can be sent until that step is completed.\r\n"
        "Do you want to enable for push anyway?";
    const std::string tail =
        "Email:alice@example.test and Host:AGENT1 with PIN:PINALICE and Server:";
    world.ui.Expect(box, BoxAnswer::No);
    EXPECT_FALSE(verify("alice@example.test"));
    EXPECT_TRUE(logs("No user override to push enable for " + tail));
    world.ui.Expect(box, BoxAnswer::Yes);
    EXPECT_TRUE(verify("alice@example.test"));
    EXPECT_TRUE(logs("User-enabled push for " + tail));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Question);
}

TEST_F(PdlUsersTest, TheMissingPinIsAskedForFirst) {
    world.ui.Expect("There is no record of a PIN for Bob.\r\nPush notifications will fail!\r\n"
                    "Do you want to enable for push anyway?",
                    BoxAnswer::Yes);
    EXPECT_TRUE(verify("bob@example.test")); // one question, though the server is missing too
}

// --- the flags

TEST_F(PdlUsersTest, FlagsAreWrittenToRecordAndTable) {
    EXPECT_TRUE(SetPushEnabled(session(), world.alice, true));
    EXPECT_TRUE(stored(world.alice, "EPS.PushEnabled"));
    EXPECT_TRUE(shown(world.alice, UserFieldID::PushEnabled));
    EXPECT_FALSE(stored(world.alice, "EPS.TextBlastEnabled"));
    EXPECT_TRUE(SetTextBlastEnabled(session(), world.alice, true));
    EXPECT_TRUE(stored(world.alice, "EPS.TextBlastEnabled"));
    EXPECT_TRUE(shown(world.alice, UserFieldID::TextBlastEnabled));
    EXPECT_TRUE(SetPushEnabled(session(), world.alice, false));
    EXPECT_FALSE(stored(world.alice, "EPS.PushEnabled"));
    EXPECT_FALSE(shown(world.alice, UserFieldID::PushEnabled));
    EXPECT_FALSE(shown(world.bob, UserFieldID::TextBlastEnabled));
}

TEST_F(PdlUsersTest, TheRecordSaysWhetherTextBlastIsOn) {
    EXPECT_FALSE(IsTextBlastEnabled(session(), world.alice));
    world.SetUser(world.alice, "EPS.TextBlastEnabled", true);
    EXPECT_TRUE(IsTextBlastEnabled(session(), world.alice));
    // the table, when the record is gone
    SetTextBlastEnabled(session(), world.bob, true);
    GetMessage(session(), world.bob)->Delete();
    EXPECT_TRUE(IsTextBlastEnabled(session(), world.bob));
    EXPECT_FALSE(IsTextBlastEnabled(session(), EntryID("00FF")));
}

TEST_F(PdlUsersTest, AUserIsSelectedAndReleased) {
    SelectForPush(session(), world.alice, true);
    EXPECT_TRUE(shown(world.alice, UserFieldID::PushSelected));
    EXPECT_TRUE(shown(world.alice, UserFieldID::PushEnabled));
    EXPECT_TRUE(stored(world.alice, "EPS.PushEnabled"));
    SelectForPush(session(), world.alice, false);
    EXPECT_FALSE(shown(world.alice, UserFieldID::PushSelected));
    EXPECT_FALSE(shown(world.alice, UserFieldID::PushEnabled));
    EXPECT_FALSE(stored(world.alice, "EPS.PushEnabled"));
}

TEST_F(PdlUsersTest, AnUnknownUserIsLogged) {
    EXPECT_FALSE(SetPushEnabled(session(), EntryID("00FF"), true));
    EXPECT_TRUE(world.logHas("SetPushEnabled:"));
    EXPECT_FALSE(SetTextBlastEnabled(session(), EntryID("00FF"), true));
    EXPECT_TRUE(world.logHas("SetTextBlastEnabled:"));
    session().users.reset(); // nothing is loaded for it
    SelectForPush(session(), world.alice, true);
    EXPECT_TRUE(stored(world.alice, "EPS.PushEnabled"));
    EXPECT_EQ(session().users, nullptr);
}

TEST_F(PdlUsersTest, AFailingStoreLeavesTableAndRecordTheSame) {
    FailingSession failing(world);
    failing.LogOn();
    failing.session.users = session().users;
    int failed = 0;
    bool done = false;
    for (int call = 1; !done && call < 50; ++call) {
        failing.store.plan().FailAt(call);
        done = SetPushEnabled(failing.session, world.alice, true);
        EXPECT_EQ(stored(world.alice, "EPS.PushEnabled"),
                  shown(world.alice, UserFieldID::PushEnabled));
        EXPECT_EQ(done, shown(world.alice, UserFieldID::PushEnabled));
        failed += done ? 0 : 1;
    }
    EXPECT_TRUE(done);
    EXPECT_GT(failed, 1);
    EXPECT_THAT(failing.ui.shown, IsEmpty());
    EXPECT_TRUE(world.logHas("SetPushEnabled:"));
}

// --- rows

TEST_F(PdlUsersTest, ColumnsAndTheirKeys) {
    std::vector<std::string> titles, keys;
    for (const ListColumn& column : PushUserColumns()) {
        titles.push_back(column.title);
        keys.push_back(column.key);
    }
    EXPECT_THAT(titles, ElementsAre("Push", "Name", "Email", "Last Push", "Last Fetch",
                                    "zandrel Server", "Exchange Server"));
    EXPECT_THAT(keys, ElementsAre("chkenabled", "Name", "Email", "datlastpush", "datlastfetch",
                                  "zandrel Server", "EX Server"));
    EXPECT_EQ(PushUserColumns()[0].kind(), SortKind::Check);
    EXPECT_EQ(PushUserColumns()[3].kind(), SortKind::Date);
}

TEST_F(PdlUsersTest, ARowShowsTheUser) {
    const ListRow row = rowOf(world.alice);
    EXPECT_EQ(row.key, world.alice.text());
    EXPECT_EQ(row.tag, "pushuser");
    EXPECT_TRUE(row.checkable);
    EXPECT_FALSE(row.checked);
    EXPECT_EQ(row.icon, "imgUser");
    EXPECT_THAT(row.texts, ElementsAre("", "Alice", "alice@example.test", "", "", "AGENT1", "EX1"));
}

TEST_F(PdlUsersTest, TheIconShowsTheFlags) {
    const auto icon = [&](bool enabled, bool textBlast) {
        SetPushEnabled(session(), world.alice, enabled);
        SetTextBlastEnabled(session(), world.alice, textBlast);
        const ListRow row = rowOf(world.alice);
        EXPECT_EQ(row.checked, enabled);
        return row.icon;
    };
    EXPECT_EQ(icon(true, false), "imgPushEnabled");
    EXPECT_EQ(icon(true, true), "imgTextBlastEnabled");
    EXPECT_EQ(icon(false, true), "imgUser");
    EXPECT_EQ(icon(false, false), "imgUser");
}

TEST_F(PdlUsersTest, DatesAreLocal) {
    using namespace std::chrono;
    // in Berlin 18:04:05 of a winter's evening
    const Time utc = sys_days{year{2026} / 3 / 9} + hours(17) + minutes(4) + seconds(5);
    world.SetUser(world.alice, "EPS.PushLastDate", utc);
    LoadUsers(session());
    addFetch("PINALICE", utc + minutes(1));
    addFetch("PINOTHER", utc);
    const ListRow row = rowOf(world.alice);
    EXPECT_EQ(text(row, PushColumn::LastPush), "3/9/2026 18:04:05");
    EXPECT_EQ(text(row, PushColumn::LastFetch), "3/9/2026 18:05:05");
    EXPECT_EQ(text(rowOf(world.bob), PushColumn::LastFetch), "");
    EXPECT_EQ(text(rowOf(world.obrien), PushColumn::LastFetch), "");
    EXPECT_EQ(PushDateText(std::nullopt), "");
    EXPECT_EQ(PushDateText(Time(sys_days{year{2026} / 11 / 21} + hours(4))), "11/21/2026 04:00:00");
}

TEST_F(PdlUsersTest, TheFirstHandheldOfAnAddressCounts) {
    world.AddHandheld("PINSECOND", "alice@example.test", "Alice", "BES1");
    addFetch("PINSECOND", world.clock.now());
    EXPECT_EQ(text(rowOf(world.alice), PushColumn::LastFetch), "");
    addFetch("pinalice", world.clock.now()); // in whatever case of letters
    EXPECT_EQ(text(rowOf(world.alice), PushColumn::LastFetch), "3/10/2026 10:30:00");
}

TEST_F(PdlUsersTest, WithoutTheAgentsFolderNoFetchIsShown) {
    EXPECT_EQ(text(rowOf(world.alice), PushColumn::LastFetch), "");
    EXPECT_EQ(PushUserRows(session()).Failure(), "") << "no agent has noted one yet";
    EXPECT_TRUE(world.logHas("GetHiddenFolder:unable to locate hidden zandrelPDL folder"));
    EXPECT_FALSE(session().handhelds); // nor are handhelds loaded for it
}

TEST_F(PdlUsersTest, AFetchThatIsNoDateIsNotShown) {
    const RDOMessagePtr fetch = addFetch("PINALICE", world.clock.now());
    fetch->SetFields(GetPropTag(*fetch, "PDL.LastFetch", PropType::String), "soon");
    fetch->Save();
    EXPECT_EQ(text(rowOf(world.alice), PushColumn::LastFetch), "");
}

TEST_F(PdlUsersTest, FetchesThatCantBeReadAreLogged) {
    addFetch("PINALICE", world.clock.now());
    FailingSession failing(world);
    failing.LogOn();
    failing.session.users = session().users;
    failing.session.handhelds = RequireHandhelds(session());
    int without = 0;
    for (int call = 1; call < 50; ++call) {
        failing.store.plan().FailAt(call);
        const PushUserRows rows(failing.session);
        const ListRow row = rows.RowOf(*RowOfUser(session(), world.alice));
        EXPECT_EQ(row.texts[1], "Alice");
        const bool lost = text(row, PushColumn::LastFetch).empty();
        without += lost ? 1 : 0;
        EXPECT_TRUE(!lost || rows.Failure().starts_with("The last fetches can't be read: "))
            << call;
        if (!failing.store.plan().Failed())
            break;
    }
    EXPECT_GT(without, 1);
    EXPECT_TRUE(world.logHas("LastFetch:"));
}

} // namespace
