#include "push/CMsgPDL.h"
#include "tests/push/PdlWorld.h"
#include "tests/support/FailingWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;

class CMsgPdlTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    std::string loaded(const RDOMessagePtr& list) {
        CMsgPDL pdl(list);
        pdl.PIN = pdl.SMS = pdl.Email = true;
        EXPECT_TRUE(pdl.Load(session()));
        return textOf(pdl);
    }
    static std::string textOf(const CMsgPDL& pdl) {
        return std::string(pdl.PIN ? "P" : "-") + (pdl.SMS ? "S" : "-") + (pdl.Email ? "E" : "-");
    }
    PdlWorld world;
};

TEST_F(CMsgPdlTest, WithoutAnyKeyItIsPinOnly) {
    EXPECT_EQ(loaded(world.AddList("A")), "P--");
    const CMsgPDL fresh(nullptr);
    EXPECT_EQ(textOf(fresh), "P--");
    EXPECT_FALSE(fresh.silent());
}

TEST_F(CMsgPdlTest, WithoutThePinKeyTheOthersDontCount) {
    EXPECT_EQ(loaded(world.AddList("A", {{"PDL.SMS", true}, {"PDL.Email", true}})), "P--");
}

TEST_F(CMsgPdlTest, WithThePinKeyEachKeyCounts) {
    EXPECT_EQ(loaded(world.AddList("A", {{"PDL.PIN", true}})), "P--");
    EXPECT_EQ(loaded(world.AddList("B", {{"PDL.PIN", false}, {"PDL.SMS", true}})), "-S-");
    EXPECT_EQ(loaded(world.AddList("C", {{"PDL.PIN", false}, {"PDL.Email", true}})), "--E");
    EXPECT_EQ(loaded(world.AddPdl("D", "PSE")), "PSE");
    CMsgPDL none(world.AddPdl("E", ""));
    EXPECT_TRUE(none.Load(session()));
    EXPECT_TRUE(none.silent());
}

TEST_F(CMsgPdlTest, SaveWritesAllThree) {
    const RDOMessagePtr list = world.AddList("A");
    CMsgPDL pdl(world.Again(list));
    pdl.PIN = false;
    pdl.Email = true;
    EXPECT_TRUE(pdl.Save(session()));
    const RDOMessagePtr again = world.Again(list);
    EXPECT_EQ(GetKey(*again, "PDL.PIN"), Value(false));
    EXPECT_EQ(GetKey(*again, "PDL.SMS"), Value(false));
    EXPECT_EQ(GetKey(*again, "PDL.Email"), Value(true));
    EXPECT_TRUE(GetKey(*again, "PDL").empty());
}

TEST_F(CMsgPdlTest, AListIsMadeAPdlAndNoneAgain) {
    const RDOMessagePtr list = world.AddList("A");
    EXPECT_TRUE(SetPDL(session(), list->ID(), "A", true));
    EXPECT_EQ(GetKey(*world.Again(list), "PDL"), Value(true));
    EXPECT_TRUE(SetPDL(session(), list->ID(), "A", false));
    EXPECT_EQ(GetKey(*world.Again(list), "PDL"), Value(false));
}

TEST_F(CMsgPdlTest, AListThatIsGoneIsToldAndLogged) {
    const RDOMessagePtr list = world.AddList("A");
    const EntryID id = list->ID();
    list->Delete();
    world.ui.Expect("Unable to save 'A'!\r\nSee the KR-Admin.log for details");
    EXPECT_FALSE(SetPDL(session(), id, "A", true));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_TRUE(world.logHas("Error saving PDL A: "));
    EXPECT_FALSE(CMsgPDL(nullptr).Load(session()));
    EXPECT_TRUE(world.logHas("Error loading PDL : "));
}

/// Each read of the keys that fails is a failed load: nothing may be decided by what wasn't read.
TEST_F(CMsgPdlTest, AFailedReadIsNoUnsetKey) {
    FailingSession failing(world);
    failing.LogOn();
    const EntryID id = world.AddPdl("A", "SE")->ID();
    int refused = 0, good = 0;
    for (int call = 1; good == 0 && call < 50; ++call) {
        CMsgPDL pdl(GetMessage(failing.session, id));
        failing.store.plan().FailAt(call);
        if (pdl.Load(failing.session)) {
            EXPECT_FALSE(failing.store.plan().Failed());
            EXPECT_EQ(textOf(pdl), "-SE");
            ++good;
        } else {
            ++refused;
        }
    }
    EXPECT_EQ(good, 1);
    EXPECT_GE(refused, 3);
    EXPECT_TRUE(world.logHas("Error loading PDL A: "));
    EXPECT_TRUE(failing.ui.shown.empty());
}

TEST_F(CMsgPdlTest, AFailedSaveWritesNothing) {
    FailingSession failing(world);
    failing.LogOn();
    const RDOMessagePtr list = world.AddPdl("A", "P");
    int refused = 0, saved = 0;
    for (int call = 1; saved == 0 && call < 50; ++call) {
        CMsgPDL pdl(GetMessage(failing.session, list->ID()));
        ASSERT_TRUE(pdl.Load(failing.session));
        pdl.PIN = false;
        pdl.SMS = true;
        failing.store.plan().FailAt(call);
        const bool good = pdl.Save(failing.session);
        EXPECT_EQ(KeyFlag(*world.Again(list), "PDL.SMS"), good);
        ++(good ? saved : refused);
    }
    EXPECT_EQ(saved, 1);
    ASSERT_GE(refused, 4);
    EXPECT_EQ(failing.ui.shown.size(), static_cast<size_t>(refused));
    EXPECT_EQ(failing.ui.shown.front(), "Unable to save 'A'!\r\nSee the KR-Admin.log for details");
    EXPECT_TRUE(world.logHas("Error saving PDL A: "));
}

} // namespace
