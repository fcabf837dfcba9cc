#include <gmock/gmock.h>

#include "core/basDate.h"
#include "hosts/ServerTasks.h"
#include "hosts/ServiceWait.h"
#include "tests/hosts/HostTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ServerTasksTest : public ::testing::Test {
protected:
    ServerTasksTest() {
        world.LogOnConfigured();
        id = hosts.Add("SRVA");
    }
    void put(std::string_view name, const Value& value) { hosts.Set(id, name, value); }
    Names cells() {
        Names all;
        for (const ListRow& row : TaskRows(*hosts.Open(id), world.clock))
            all.push_back(row.key + "|" + row.texts[0] + "|" + row.texts[1] + "|" + row.texts[2]);
        return all;
    }
    TaskState state() { return CurrentTaskState(*hosts.Open(id)); }
    Time utc(Time time) { return LocalToUTC(time, world.clock); }

    World world;
    Hosts hosts{world};
    EntryID id;
};

TEST_F(ServerTasksTest, RowsOfTheJobsThatAreOn) {
    EXPECT_THAT(cells(), IsEmpty());
    put("SSU", true);
    EXPECT_THAT(cells(), ElementsAre("ssu|SSU|Never|Not scheduled"));
    put("EPS UpdateClients", true);
    put("BPE HarvestPins", true);
    put("LastClientUpdate", utc(at(2026, 3, 9, 18, 5)));
    put("NextClientUpdate", utc(at(2026, 3, 10, 18, 0)));
    EXPECT_THAT(cells(), ElementsAre("bpe|BPE|Never|Not scheduled",
                                     "eps|EPS|3/9/2026 6:05 PM|3/10/2026 6:00 PM",
                                     "ssu|SSU|Never|Not scheduled"));
}

TEST_F(ServerTasksTest, DatesUpToDay367AreNone) {
    put("EPS UpdateClients", true);
    put("LastClientUpdate", utc(at(1901, 1, 1)));
    put("NextClientUpdate", utc(at(1900, 12, 31)));
    EXPECT_THAT(cells(), ElementsAre("eps|EPS|Never|Not scheduled"));
    // deliberately other than the properties, where dates before 2000 are none
    put("LastClientUpdate", utc(at(1901, 1, 1, 0, 1)));
    put("NextClientUpdate", utc(at(1999, 1, 1, 6)));
    EXPECT_THAT(cells(), ElementsAre("eps|EPS|1/1/1901 12:01 AM|3/11/2026 6:00 AM"));
}

TEST_F(ServerTasksTest, APastRunIsRolledOnWithoutBeingStored) {
    put("SSU", true);
    put("NextSSU", utc(at(2026, 3, 10, 10, 30))); // now itself isn't after now
    EXPECT_THAT(cells(), ElementsAre("ssu|SSU|Never|3/11/2026 10:30 AM"));
    put("SSUInterval", "2;ww");
    EXPECT_THAT(cells(), ElementsAre("ssu|SSU|Never|3/24/2026 10:30 AM"));
    put("SSUInterval", "nonsense");
    EXPECT_THAT(cells(), ElementsAre("ssu|SSU|Never|3/10/2026 10:30 AM"));
    EXPECT_EQ(hosts.Get(id, "NextSSU"), Value(utc(at(2026, 3, 10, 10, 30))));
}

TEST_F(ServerTasksTest, CellsAreWrittenOnlyWhenTheyDiffer) {
    struct Counter : ListModel::Listener {
        int changed = 0, appended = 0;
        void OnReset() override {}
        void OnAppended(size_t, size_t) override { ++appended; }
        void OnRemoved(size_t) override {}
        void OnChanged(size_t) override { ++changed; }
        void BeforeReorder() override {}
        void AfterReorder(const std::vector<uint32_t>&) override {}
    } counter;
    ListModel list;
    list.SetColumns({{"Task", ""}, {"Last Run", ""}, {"Next Run", ""}});
    list.SetListener(&counter);
    put("SSU", true);
    put("EPS UpdateClients", true);
    const auto show = [&] { ShowTaskRows(list, TaskRows(*hosts.Open(id), world.clock)); };
    show();
    EXPECT_EQ(counter.appended, 2);
    show();
    EXPECT_EQ(counter.changed, 0);
    put("LastSSU", utc(at(2026, 3, 1, 9)));
    show();
    EXPECT_EQ(counter.changed, 1);
    EXPECT_EQ(counter.appended, 2);
    put("SSU", false);
    show();
    EXPECT_EQ(list.Count(), 2U); // stays once it was shown
    list.SetListener(nullptr);
}

TEST_F(ServerTasksTest, NoTask) {
    put("CurrentTask", "  ");
    put("CurrentSubTask", "left over");
    EXPECT_EQ(state().task, "");
    EXPECT_EQ(state().label, "Current Task: None");
    EXPECT_EQ(state().abort, "Abort Task");
}

TEST_F(ServerTasksTest, ATaskWithItsDetail) {
    put("CurrentTask", "EPS");
    put("CurrentSubTask", "Updating contacts");
    put("CurrentTarget", "alice@example.test");
    EXPECT_EQ(state().label, "Current Task: EPS - Updating contacts\n          alice@example.test");
    EXPECT_EQ(state().abort, "Abort EPS");
    put("PercentComplete", int32_t{0});
    EXPECT_FALSE(state().label.ends_with("Complete"));
    put("PercentComplete", int32_t{42});
    EXPECT_TRUE(state().label.ends_with("alice@example.test 42% Complete"));
}

// --- frmServiceStatus's count

/// Lets the ticks go by up to the n-th reading and gives its cycle.
int cycleOfReading(int number) {
    ServiceWait wait(SvcState::Stopped);
    for (int read = 0, cycle = 0;;) {
        const auto tick = wait.Next();
        cycle = tick.cycles;
        if (tick.read && ++read == number)
            return cycle;
    }
}

TEST(ServiceWaiting, ReadsEveryTwentiethTick) {
    ServiceWait wait(SvcState::Running);
    std::vector<int> bars;
    for (int i = 1; i <= 120; ++i) {
        const auto tick = wait.Next();
        EXPECT_EQ(tick.bar, (i - 1) % 100 + 1);
        EXPECT_EQ(tick.cycles, i <= 100 ? 1 : 2);
        if (tick.read)
            bars.push_back(i);
    }
    EXPECT_EQ(bars, (std::vector<int>{20, 40, 60, 80, 100, 120}));
}

TEST(ServiceWaiting, StoppedIsDoneAlsoWhenPausedOrStarting) {
    const ServiceWait wait(SvcState::Stopped);
    const std::vector<std::pair<SvcState, std::string>> done = {
        {SvcState::Stopped, "Stopped"},
        {SvcState::Paused, "Paused"},
        {SvcState::StartPending, "StartPending"}};
    for (const auto& [state, name] : done) {
        const auto judgement = wait.Judge(state, 1);
        EXPECT_EQ(judgement.verdict, ServiceWait::Verdict::Done);
        EXPECT_EQ(judgement.log, "frmServiceStatus::Timer: Target=Stopped & CurrentState=" + name);
    }
}

TEST(ServiceWaiting, RunningIsDoneWhenRunningOrContinuing) {
    const ServiceWait wait(SvcState::Running);
    EXPECT_EQ(wait.Judge(SvcState::Running, 1).log,
              "frmServiceStatus::Timer: Target=Running & CurrentState=Running");
    EXPECT_EQ(wait.Judge(SvcState::ContinuePending, 1).log,
              "frmServiceStatus::Timer: Target=Running & CurrentState=ContinuePending");
    for (const SvcState state : {SvcState::Failed, SvcState::Stopped, SvcState::StartPending,
                                 SvcState::StopPending, SvcState::PausePending, SvcState::Paused}) {
        const auto judgement = wait.Judge(state, 9); // and never kills
        EXPECT_EQ(judgement.verdict, ServiceWait::Verdict::Wait);
        EXPECT_EQ(judgement.log, "");
    }
}

TEST(ServiceWaiting, KillsFromTheThirdCycleOnAndNeverBefore) {
    const ServiceWait wait(SvcState::Stopped);
    for (const SvcState state : {SvcState::Failed, SvcState::StopPending, SvcState::Running,
                                 SvcState::ContinuePending, SvcState::PausePending}) {
        EXPECT_EQ(wait.Judge(state, 1).verdict, ServiceWait::Verdict::Wait);
        EXPECT_EQ(wait.Judge(state, 2).verdict, ServiceWait::Verdict::Wait);
        EXPECT_EQ(wait.Judge(state, 3).verdict, ServiceWait::Verdict::Kill);
        EXPECT_EQ(wait.Judge(state, 4).log,
                  "frmServiceStatus::Timer:Calling KillAgent after 4 cycles");
    }
    // five readings a cycle: the tenth, after 50 seconds, still belongs to the second
    EXPECT_EQ(cycleOfReading(10), 2);
    EXPECT_EQ(cycleOfReading(11), 3);
}

} // namespace
