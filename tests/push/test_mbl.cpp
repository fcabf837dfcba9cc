#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "console/OwnImage.h"
#include "push/ResultDocument.h"
#include "push/basMBL.h"
#include "push/basMBLPush.h"
#include "push/basMDS.h"
#include "push/basTargets.h"
#include "tests/push/PushWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Mbl : public ::testing::Test {
protected:
    Mbl() {
        world.SetAgent("TARN.URL", "http://tarn/");
        list = GetMblFolder(session())->Items()->Add(kMblClass);
        list->SetSubject("My News");
        set("MBL.Type", "Channel");
        set("MBL.ChannelID", "{ID}");
        set("MBL.Title", "News");
        set("MBL.URL", "host/page");
        set("MBL.Target.Email", "alice@example.test;obrien@example.test;bob@example.test");
    }
    AgentSession& session() { return *world.session; }
    void set(const std::string& key, const Value& value) {
        SetKey(*list, key, value);
        list->Save();
    }
    bool push() { return PushToList({session(), world.tree, progress}, *list); }
    RDOMessagePtr stored() { return GetMessage(session(), list->ID()); }
    /// Destination and type of each push.
    std::vector<std::string> pushes() {
        std::vector<std::string> found = world.Destinations();
        size_t at = 0;
        for (const FakeHttp::Request& request : world.http.sent)
            if (request.method == "POST")
                found[at++] += " " + header(request, "X-RIM-Push-Type");
        return found;
    }
    static std::string header(const FakeHttp::Request& request, const std::string& name) {
        return PushWorld::HeaderOf(request, name);
    }
    PushWorld world;
    RecordedProgress& progress = world.progress;
    RDOMessagePtr list;
};

TEST_F(Mbl, AChannelGoesToEveryHandheldAndTheRestIsTold) {
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Channel"));
    const FakeHttp::Request& request = world.http.sent.at(0);
    EXPECT_EQ(header(request, "Content-Location"), "http://host/page");
    EXPECT_EQ(header(request, "X-RIM-Push-NotifyURL"), "http://tarn/?cmd=notify");
    EXPECT_EQ(header(request, "X-RIM-Push-Channel-ID"), "{ID}");
    EXPECT_EQ(header(request, "X-RIM-Push-Read-Icon-URL"), "(none)") << "there is no icon";
    EXPECT_THAT(progress.steps,
                ElementsAre("Assembling push targets ...", "Pushing My News to Alice..."));
    EXPECT_THAT(progress.results,
                ElementsAre("Alice: 200:OK", "Obrien: no Push server",
                            "bob@example.test: no Push server",
                            "Successfully pushed to 1 targets\r\n2 recipients did not receive the "
                            "push who\r\neither do not have a BlackBerry\r\nor do not have a "
                            "defined MDS push server."));
    EXPECT_EQ(KeyText(*stored(), "MBL.LastPushList"), "PINALICE;");
    EXPECT_EQ(GetKey(*stored(), "MBL.LastPushDate"), Value(world.clock.now()));
    auto document = LoadResultDocument(stored()->Body(), "");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->Target("PINALICE").Attribute("result"), "200:OK");
    EXPECT_TRUE(world.logHas("PushToList: pushing My News on demand"));
    EXPECT_TRUE(world.logHas("PushToList: using TARN URL: http://tarn/"));
    EXPECT_TRUE(world.logHas("PushToList: unable to push to Obrien; no PushServer"));
    EXPECT_TRUE(world.logHas(
        "PushToList: ListName = My News; Type=Browser-Channel; Pushed=1; Failed=2; Deleted=0"));
}

TEST_F(Mbl, AnAttachmentGivesTheIconUrls) {
    const std::string icon = world.folder() + "/icon.png";
    std::ofstream(icon) << "png";
    list->Attachments()->Add(icon);
    list->Save();
    EXPECT_TRUE(push());
    EXPECT_EQ(header(world.http.sent.at(0), "X-RIM-Push-Read-Icon-URL"),
              "http://tarn/?cmd=geticon&listname=My+News&icontype=readicon");
    EXPECT_EQ(header(world.http.sent.at(0), "X-RIM-Push-Unread-Icon-URL"),
              "http://tarn/?cmd=geticon&listname=My+News&icontype=unreadicon");
}

TEST_F(Mbl, WithoutAnEngineThereAreNoIconsButANotice) {
    world.SetAgent("TARN.URL", "");
    EXPECT_TRUE(push());
    EXPECT_EQ(header(world.http.sent.at(0), "X-RIM-Push-NotifyURL"), "?cmd=notify");
    EXPECT_TRUE(world.logHas("PushToList: unable to get TARN URL"));
}

TEST_F(Mbl, CachedPagesGoAlong) {
    set("MBL.Cache", true);
    set("MBL.Expire", 7);
    set("MBL.IncludeLinkDepth", int16_t{1});
    world.http.answer = [](const FakeHttp::Request& request) {
        FakeHttp::Response response;
        response.headers = {{"Content-Type", "text/html"}};
        response.body = request.url == "http://host/page" ? "<a href=\"/child\">" : "child";
        return response;
    };
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Channel", "PINALICE Browser-Content"));
    const auto& sent = world.http.sent;
    EXPECT_EQ(sent.at(2).body, "<a href=\"/child\">");
    EXPECT_EQ(header(sent.at(2), "Cache-Control"), "max-age=604800");
    EXPECT_EQ(sent.at(3).body, "child");
    EXPECT_EQ(header(sent.at(3), "Content-Location"), "http://host/child");
    EXPECT_THAT(progress.results, Contains("Fetching content for My News..."));
    EXPECT_TRUE(world.logHas("PushToList: retrieved 17 bytes from http://host/page"));
    auto document = LoadResultDocument(stored()->Body(), "");
    EXPECT_EQ(XmlDocument::Parse(stored()->Body())->FindAll("link").size(), 2U);
}

TEST_F(Mbl, AMissingPageIsLeftToTheHandheld) {
    set("MBL.Cache", true);
    world.http.answer = [](const FakeHttp::Request& request) {
        return request.method == "GET" ? FakeHttp::Response{404, "Not Found"}
                                       : FakeHttp::Response();
    };
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Channel"));
    EXPECT_EQ(world.http.sent.back().body, "");
    EXPECT_TRUE(world.logHas("PushToList: failed to retrieve content from http://host/page"));
}

TEST_F(Mbl, AFailedPinIsTriedOnceByAddress) {
    world.http.answer = [](const FakeHttp::Request& request) {
        return request.url.find("PINALICE") != std::string::npos ? FakeHttp::Response{500, "Error"}
                                                                 : FakeHttp::Response();
    };
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(),
                ElementsAre("PINALICE Browser-Channel", "alice@example.test Browser-Channel"));
    EXPECT_EQ(KeyText(*stored(), "MBL.LastPushList"), "alice@example.test;");
    EXPECT_TRUE(
        world.logHas("PushToList: push failed for PIN PINALICE, trying Email alice@example.test"));
    auto document = LoadResultDocument(stored()->Body(), "");
    EXPECT_EQ(document->Target("PINALICE").Attribute("result"), "200:OK");
}

TEST_F(Mbl, NothingPushedKeepsTheLastDate) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{-1}; };
    EXPECT_TRUE(push());
    EXPECT_TRUE(GetKey(*stored(), "MBL.LastPushDate").empty());
    EXPECT_THAT(progress.results, Contains("Alice: timed out"));
    auto document = LoadResultDocument(stored()->Body(), "");
    EXPECT_EQ(document->Target("PINALICE").Attribute("result"), "timed out");
}

TEST_F(Mbl, RemovedHandheldsLoseTheChannel) {
    set("MBL.LastPushList", "PINALICE;PINOBRIEN;PINBOB;alice@example.test;");
    set("MBL.Target.Email", "alice@example.test");
    world.AddHandheld("PINBOB", "bob@example.test", "Bob", "BES1");
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Channel", "PINBOB Browser-Channel-Delete"));
    EXPECT_THAT(progress.results, Contains("Deleting My News from 3 devices..."));
    EXPECT_TRUE(world.logHas("Pushing Browser-Channel-Delete request to PINBOB bob@example.test"));
    auto document = LoadResultDocument(stored()->Body(), "");
    EXPECT_EQ(document->Target("PINBOB").Attribute("type"), "Browser-Channel-Delete");
}

TEST_F(Mbl, AListWithoutTargetsStillDeletes) {
    set("MBL.LastPushList", "PINALICE;");
    set("MBL.Target.Email", "");
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Channel-Delete"));
    EXPECT_THAT(progress.results.back(),
                "There are no current targets for My News\r\nThis channel will be deleted from any "
                "handhelds that were\r\n removed from the list since the last push.");
}

TEST_F(Mbl, AMessageDeletesNothing) {
    set("MBL.Type", "Message");
    set("MBL.LastPushList", "PINOBRIEN;");
    EXPECT_TRUE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Message"));
    EXPECT_EQ(header(world.http.sent.at(0), "X-RIM-Push-NotifyURL"), "?cmd=notify");
    EXPECT_EQ(KeyText(*stored(), "MBL.LastPushList"), "PINOBRIEN;");
    EXPECT_FALSE(GetKey(*stored(), "MBL.LastPushDate").empty());
}

TEST_F(Mbl, CancelSavesNothing) {
    world.AddHandheld("PINBOB", "bob@example.test", "Bob", "BES1");
    progress.cancel = [this] { return !world.http.sent.empty(); };
    EXPECT_FALSE(push());
    EXPECT_EQ(pushes().size(), 1U);
    EXPECT_EQ(stored()->Body(), "");
    EXPECT_TRUE(GetKey(*stored(), "MBL.LastPushDate").empty());
    progress.cancel = [] { return true; };
    world.http.sent.clear();
    EXPECT_FALSE(push());
    EXPECT_THAT(world.http.sent, IsEmpty());
}

TEST_F(Mbl, CancelWhileTheRemovedAreAskedSavesNothing) {
    world.AddHandheld("PINBOB", "bob@example.test", "Bob", "BES1");
    world.AddHandheld("PINCARL", "carl@example.test", "Carl", "BES1");
    set("MBL.LastPushList", "PINBOB;PINCARL;");
    set("MBL.Target.Email", "alice@example.test");
    progress.cancel = [this] { return world.http.sent.size() > 1; };
    EXPECT_FALSE(push());
    EXPECT_THAT(pushes(), ElementsAre("PINALICE Browser-Channel", "PINBOB Browser-Channel-Delete"));
    EXPECT_EQ(KeyText(*stored(), "MBL.LastPushList"), "PINBOB;PINCARL;")
        << "else nobody would ask the second one again";
    EXPECT_TRUE(GetKey(*stored(), "MBL.LastPushDate").empty());
}

TEST_F(Mbl, UnreadableHandheldsAreNoListWithoutTargets) {
    set("MBL.LastPushList", "PINALICE;");
    session().handhelds = nullptr;
    world.SetAgent("HHEntryID", "");
    EXPECT_TRUE(push());
    EXPECT_THAT(world.http.sent, IsEmpty());
    EXPECT_THAT(progress.results,
                ElementsAre("The handhelds can't be read.\r\nNothing was pushed."));
    EXPECT_EQ(KeyText(*stored(), "MBL.LastPushList"), "PINALICE;");
}

TEST_F(Mbl, RemovedEntriesAreThoseWithoutAPin) {
    const auto targets = CreateTargetRecordset();
    targets->Append({"A", "a@x", "P1", "", ""});
    EXPECT_EQ(GetRemovedTargets(*targets, ""), "");
    EXPECT_EQ(GetRemovedTargets(*targets, ";P1;P2;a@x;"), "P2;a@x");
    EXPECT_EQ(GetRemovedTargets(*targets, "p1"), "");
}

TEST_F(Mbl, NamesAreTakenByOthers) {
    EXPECT_TRUE(MblNameInUse(session(), {}, "my news"));
    EXPECT_FALSE(MblNameInUse(session(), list->ID(), "My News"));
    EXPECT_FALSE(MblNameInUse(session(), {}, "Other"));
}

TEST_F(Mbl, ANameThatCannotBeComparedCountsAsTaken) {
    FailingSession failing(world);
    failing.LogOn();
    const RDOFolderPtr folder = GetMblFolder(failing.session);
    int calls = 0;
    for (bool failed = true; failed; ++calls) {
        failing.store.plan().FailAt(calls + 1);
        const bool used = NameInUse(failing.session, folder, kMblClass, {}, "Other");
        failed = failing.store.plan().Failed();
        EXPECT_EQ(used, failed) << calls;
    }
    EXPECT_GT(calls, 2);
    EXPECT_TRUE(world.logHas("NameInUse: "));
    EXPECT_TRUE(NameInUse(failing.session, nullptr, kMblClass, list->ID(), "Other"));
    EXPECT_FALSE(NameInUse(failing.session, nullptr, kMblClass, {}, "Other"))
        << "the save says what is wrong";
}

TEST_F(Mbl, AChannelsRowHasTheChannelsPicture) {
    const auto icon = [this] {
        const auto row = BrowserListRow(session(), *stored());
        return row ? OwnImageOf(row->icon) : std::nullopt;
    };
    EXPECT_EQ(BrowserListRow(session(), *stored())->icon, "imgGlobe");
    const Bytes read{0x89, 'P', 'N', 'G', 1}, unread{0x89, 'P', 'N', 'G', 2};
    list->Attachments()->AddContent("ReadIcon", read);
    list->Save();
    ASSERT_TRUE(icon());
    EXPECT_EQ(icon()->png, read);
    EXPECT_EQ(icon()->otherwise, "imgGlobe");
    list->Attachments()->AddContent("UnreadIcon", unread);
    list->Save();
    EXPECT_EQ(icon()->png, unread) << "what the handheld shows first";
    set("MBL.Type", "Message");
    EXPECT_EQ(BrowserListRow(session(), *stored())->icon, "imgBrowserMessage");
}

TEST_F(Mbl, APictureThatIsTooLargeIsLeftOut) {
    list->Attachments()->AddContent("UnreadIcon", Bytes((1 << 17) + 1, 0));
    list->Save();
    EXPECT_EQ(BrowserListRow(session(), *stored())->icon, "imgGlobe");
}

TEST_F(Mbl, RowsShowTheList) {
    set("MBL.Target", "Alice;Bob");
    set("MBL.Target.Count", 2);
    set("EPS.Inactive", true);
    const auto row = BrowserListRow(session(), *stored());
    ASSERT_TRUE(row);
    EXPECT_EQ(row->tag, "mbl:channel");
    EXPECT_TRUE(row->ghosted);
    EXPECT_THAT(row->texts, ElementsAre("My News", "News", "Alice;Bob", "2", "Never", "host/page"));
}

} // namespace
