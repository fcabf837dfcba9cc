#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "push/basMPL.h"
#include "tests/push/PushWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Mpl : public ::testing::Test {
protected:
    Mpl() {
        list = GetMplFolder(session())->Items()->Add(kMplClass);
        list->SetSubject("Alarm");
        list->Save();
    }
    AgentSession& session() { return *world.session; }
    void push(const std::string& targets = "alice@example.test;obrien@example.test") {
        PushAlert({session(), world.tree, world.progress}, *list, "payload", targets);
    }
    bool dated() { return !GetKey(*GetMessage(session(), list->ID()), "MPL.LastPushDate").empty(); }
    PushWorld world;
    RDOMessagePtr list;
};

TEST_F(Mpl, TheAlertGoesToEveryHandheld) {
    push();
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
    EXPECT_EQ(world.http.sent.at(0).body, "payload");
    EXPECT_THAT(world.progress.steps, ElementsAre("Pushing Alarm to 2 targets"));
    EXPECT_THAT(world.progress.results, ElementsAre("Alice: message was sent to push server",
                                                    "Obrien: unable to push (no Push server)",
                                                    "Failed to push Alarm to 1 targets",
                                                    "Successfully pushed Alarm to 1 targets"));
    EXPECT_TRUE(dated());
    EXPECT_TRUE(world.logHas("PushAlertToList: pushing Alarm"));
    EXPECT_TRUE(world.logHas("PushAlert:unable to push to Obrien; no PushServer"));
    EXPECT_TRUE(world.logHas("PushAlertToList: ListName = Alarm; Pushed=1; Failed=1"));
}

TEST_F(Mpl, AFailedPushIsTriedByAddressAMissingPinIsNot) {
    world.AddHandheld("", "bob@example.test", "Bob", "BES1");
    world.http.answer = [](const FakeHttp::Request& request) {
        return request.url.find("PINALICE") != std::string::npos ? FakeHttp::Response{500, "No"}
                                                                 : FakeHttp::Response();
    };
    push("alice@example.test;bob@example.test");
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE", "alice@example.test"));
    EXPECT_THAT(world.progress.results.at(1), "Bob: unable to push (no PIN)");
    EXPECT_TRUE(world.logHas("PushAlert: unable to push to Bob; no PIN"));
}

TEST_F(Mpl, NoSuccessKeepsTheDate) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{500, "No"}; };
    push("alice@example.test");
    EXPECT_THAT(world.progress.results, ElementsAre("Alice: push failed, see log for details",
                                                    "Failed to push Alarm to 1 targets"));
    EXPECT_FALSE(dated());
}

TEST_F(Mpl, NoTargetsAreSaid) {
    push("nobody");
    EXPECT_THAT(world.progress.results, ElementsAre("Found no valid targets for Alarm"));
    EXPECT_THAT(world.http.sent, IsEmpty());
}

TEST_F(Mpl, UnreadableHandheldsAreNoLackOfTargets) {
    session().handhelds = nullptr;
    world.SetAgent("HHEntryID", "");
    push("alice@example.test");
    EXPECT_THAT(world.progress.results, ElementsAre("The handhelds can't be read."));
}

TEST_F(Mpl, CancelStopsBetweenTargets) {
    world.AddHandheld("PINBOB", "bob@example.test", "Bob", "BES1");
    world.progress.cancel = [this] { return !world.http.sent.empty(); };
    push("alice@example.test;bob@example.test");
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
    EXPECT_FALSE(dated());
    EXPECT_TRUE(
        world.logHas("PushAlertToList: user cancelled push for: Alarm; Pushed=1; Failed=0"));
}

TEST_F(Mpl, RowsAndNames) {
    EXPECT_TRUE(MplNameInUse(session(), {}, "ALARM"));
    EXPECT_FALSE(MplNameInUse(session(), list->ID(), "Alarm"));
    const ListRow row = PushListRow(session(), *list);
    EXPECT_EQ(row.tag, "mpl");
    EXPECT_EQ(row.icon, "imgExclamation");
    EXPECT_THAT(row.texts, ElementsAre("Alarm", "", "0", "Never"));
}

} // namespace
