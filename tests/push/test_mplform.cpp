#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "push/MplForm.h"
#include "tests/push/PushWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr const char* kTyped = "<LaunchZPA>x</LaunchZPA>";
const std::string kWhole = std::string(R"(<?xml version="1.0" encoding="utf-8" ?>)") +
                           R"(<string xmlns="http://zandrel.org/IPL">)" + kTyped + "</string>";

void fill(MplForm& form) {
    form.name = " Alarm ";
    form.payload = kTyped;
    form.names = "Sales;Carol Contact";
    form.addresses = "sales@example.test;carol@partner.test";
    form.changed = true;
}

size_t countOf(AgentSession& session) {
    return RequireMessageIDs(*GetMplFolder(session), kMplClass, "").size();
}

class MplFormTest : public ::testing::Test {
protected:
    MplFormTest() { fill(form); }
    AgentSession& session() { return *world.session; }
    MplForm::Outcome save(MplForm& saved) { return saved.Save(session(), focus); }
    MplForm::Outcome save() { return save(form); }
    RDOMessagePtr stored() { return GetMessage(session(), form.id()); }
    MplForm::Focus refused(const std::string& text, BoxIcon icon = BoxIcon::Exclamation) {
        world.ui.Expect(text);
        EXPECT_EQ(save(), MplForm::Outcome::Refused) << text;
        EXPECT_EQ(world.ui.boxes().back().icon, icon) << text;
        EXPECT_EQ(world.ui.boxes().back().title, kAppTitle);
        return focus;
    }
    PushWorld world;
    MplForm form;
    MplForm::Focus focus = MplForm::Focus::None;
};

TEST_F(MplFormTest, ANewListIsWritten) {
    ASSERT_EQ(save(), MplForm::Outcome::Saved);
    EXPECT_FALSE(form.changed);
    const RDOMessagePtr list = stored();
    EXPECT_EQ(list->MessageClass(), kMplClass);
    EXPECT_EQ(list->Subject(), "Alarm");
    EXPECT_EQ(list->Parent()->Name(), kMplFolder);
    EXPECT_EQ(GetKey(*list, "MPL.Payload"), Value(kWhole));
    EXPECT_EQ(GetKey(*list, "MPL.Target"), Value("Sales;Carol Contact"));
    EXPECT_EQ(GetKey(*list, "MPL.Target.Email"), Value("sales@example.test;carol@partner.test"));
    EXPECT_EQ(GetKey(*list, "MPL.Target.Count"), Value(int32_t{4})) << "after expansion";
    EXPECT_TRUE(GetKey(*list, "MPL.LastPushDate").empty());
}

TEST_F(MplFormTest, AChangeGoesToTheSameRecord) {
    ASSERT_EQ(save(), MplForm::Outcome::Saved);
    MplForm again;
    ASSERT_TRUE(again.Load(session(), form.id()));
    EXPECT_FALSE(again.changed);
    EXPECT_EQ(again.name, "Alarm");
    EXPECT_EQ(again.payload, kWhole);
    EXPECT_EQ(again.names, form.names);
    EXPECT_EQ(again.addresses, form.addresses);
    again.name = "ALARM"; // its own name, in another case
    again.addresses = "alice@example.test";
    again.names = "Alice Adams";
    again.changed = true;
    ASSERT_EQ(save(again), MplForm::Outcome::Saved);
    EXPECT_EQ(again.id(), form.id());
    EXPECT_EQ(stored()->Subject(), "ALARM");
    EXPECT_EQ(GetKey(*stored(), "MPL.Target.Count"), Value(int32_t{1}));
    EXPECT_EQ(countOf(session()), 1U);
}

TEST_F(MplFormTest, NothingChangedWritesNothing) {
    ASSERT_EQ(save(), MplForm::Outcome::Saved);
    const RDOMessagePtr list = stored();
    SetKey(*list, "MPL.Target.Count", int32_t{99});
    list->Save();
    MplForm again;
    ASSERT_TRUE(again.Load(session(), form.id()));
    EXPECT_EQ(save(again), MplForm::Outcome::Unchanged);
    EXPECT_EQ(GetKey(*stored(), "MPL.Target.Count"), Value(int32_t{99}));
}

TEST_F(MplFormTest, RefusalsComeInTheirOrder) {
    MplForm other;
    fill(other);
    ASSERT_EQ(save(other), MplForm::Outcome::Saved);
    form.name = " \t";
    form.payload = "<Other/>";
    form.names = form.addresses = "";
    form.changed = false;
    EXPECT_EQ(refused("You must provide a unique name for this Mandatory Push List"),
              MplForm::Focus::Name);
    form.name = "alarm";
    EXPECT_EQ(save(), MplForm::Outcome::Unchanged);
    form.changed = true;
    EXPECT_EQ(refused("'alarm' is already in use.\r\nPlease provide a different name"),
              MplForm::Focus::Name);
    form.name = "Other";
    world.ui.Expect(""); // what the parser says
    EXPECT_EQ(refused("You must supply a valid Payload for this list"), MplForm::Focus::Payload);
    const auto& reason = world.ui.boxes()[world.ui.boxes().size() - 2];
    EXPECT_THAT(reason.text, StartsWith("Invalid payload:"));
    EXPECT_GT(reason.text.size(), std::string_view("Invalid payload:").size());
    EXPECT_EQ(reason.icon, BoxIcon::Stop);
    EXPECT_EQ(form.payload, "<Other/>") << "stays as typed";
    form.payload = kTyped;
    EXPECT_EQ(refused("You must select at least one name or distribution list as the Target"),
              MplForm::Focus::Target);
    form.addresses = ";";
    EXPECT_EQ(refused("You must select at least one name or distribution list as the Target"),
              MplForm::Focus::Target);
    EXPECT_EQ(countOf(session()), 1U);
    form.addresses = "alice@example.test";
    EXPECT_EQ(save(), MplForm::Outcome::Saved);
    EXPECT_EQ(countOf(session()), 2U);
}

TEST_F(MplFormTest, AnEmptyPayloadIsNotSaved) {
    form.payload = "";
    world.ui.Expect("");
    EXPECT_EQ(refused("You must supply a valid Payload for this list"), MplForm::Focus::Payload);
    EXPECT_EQ(countOf(session()), 0U);
}

TEST_F(MplFormTest, EveryWayToTypeAPayloadIsStoredWhole) {
    for (const std::string& typed :
         {std::string(kTyped), "\r\n\r\n" + kWhole + "\r\n", "  \n" + kWhole, kWhole,
          kWhole.substr(0, kWhole.size() - std::string_view("</string>").size())}) {
        form.payload = typed;
        form.changed = true;
        ASSERT_EQ(save(), MplForm::Outcome::Saved) << typed;
        EXPECT_EQ(form.payload, kWhole);
        EXPECT_EQ(KeyText(*stored(), "MPL.Payload"), kWhole);
    }
}

TEST_F(MplFormTest, ValidateTells) {
    const auto tells = [&](const std::string& payload, const std::string& text, BoxIcon icon) {
        form.payload = payload;
        world.ui.Expect(text);
        form.TellValid(session());
        EXPECT_EQ(world.ui.boxes().back().icon, icon) << payload;
        return form.payload;
    };
    tells("", "No payload to validate!", BoxIcon::Exclamation);
    tells(" \n ", "No payload to validate!", BoxIcon::Exclamation);
    EXPECT_EQ(tells(kTyped, "Payload is valid!", BoxIcon::Information), kWhole);
    const std::string before = "x" + kWhole;
    EXPECT_EQ(
        tells(before, "Invalid payload: no text can precede the XML declaration", BoxIcon::Stop),
        before);
    const std::string between =
        R"(<?xml version="1.0" encoding="utf-8" ?>)" + std::string("\n") + kTyped;
    EXPECT_EQ(tells(between,
                    "Invalid payload: no text allowed between XML declaration and root element!",
                    BoxIcon::Stop),
              between);
    EXPECT_EQ(tells("<LaunchZPA>", "", BoxIcon::Stop), "<LaunchZPA>");
    EXPECT_THAT(world.ui.boxes().back().text, StartsWith("Invalid payload:"));
}

TEST_F(MplFormTest, APushNeedsANameAndSaves) {
    form.name = "  ";
    world.ui.Expect("You must give the list a name before it can be pushed!");
    EXPECT_EQ(form.SaveForPush(session(), focus), MplForm::Outcome::Refused);
    EXPECT_EQ(focus, MplForm::Focus::Name);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_EQ(countOf(session()), 0U);
    form.name = " Alarm ";
    ASSERT_EQ(form.SaveForPush(session(), focus), MplForm::Outcome::Saved);
    EXPECT_EQ(countOf(session()), 1U);
    const Alert alert = form.alert();
    EXPECT_EQ(alert.list, form.id());
    EXPECT_EQ(alert.name, "Alarm");
    EXPECT_EQ(alert.payload, kWhole);
    EXPECT_EQ(alert.targets, form.addresses);
    EXPECT_EQ(form.SaveForPush(session(), focus), MplForm::Outcome::Unchanged);
    EXPECT_EQ(countOf(session()), 1U);
}

TEST_F(MplFormTest, AListThatIsGoneIsNotLoaded) {
    ASSERT_EQ(save(), MplForm::Outcome::Saved);
    stored()->Delete();
    MplForm again;
    world.ui.Expect("There is a problem accessing the list");
    EXPECT_FALSE(again.Load(session(), form.id()));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_TRUE(world.logHas("frmMPL: "));
}

TEST_F(MplFormTest, AListIsLoadedWholeOrNotAtAll) {
    ASSERT_EQ(save(), MplForm::Outcome::Saved);
    FailingSession failing(world);
    failing.LogOn();
    int refusals = 0;
    for (int call = 1; call <= 40; ++call) {
        MplForm again;
        failing.ui.shown.clear();
        failing.store.plan().FailAt(call);
        if (again.Load(failing.session, form.id())) {
            EXPECT_EQ(again.payload, kWhole);
            EXPECT_EQ(again.names, form.names);
            EXPECT_EQ(again.addresses, form.addresses);
            EXPECT_TRUE(failing.ui.shown.empty());
        } else {
            ++refusals;
            ASSERT_EQ(failing.ui.shown.size(), 1U);
            EXPECT_THAT(failing.ui.shown[0], StartsWith("There is a problem accessing "));
        }
    }
    EXPECT_GE(refusals, 4) << "one for each thing that is read";
}

TEST_F(MplFormTest, AFailedSaveIsToldAndLeavesTheOldList) {
    ASSERT_EQ(save(), MplForm::Outcome::Saved);
    FailingSession failing(world);
    failing.LogOn();
    std::set<std::string> told;
    for (int call = 1; call <= 60; ++call) {
        const std::string before = KeyText(*stored(), "MPL.Target");
        form.names = "Names " + std::to_string(call);
        form.changed = true;
        failing.ui.shown.clear();
        failing.store.plan().FailAt(call);
        const auto outcome = form.Save(failing.session, focus);
        const bool saved = outcome == MplForm::Outcome::Saved;
        EXPECT_EQ(form.changed, !saved);
        EXPECT_EQ(KeyText(*stored(), "MPL.Target"), saved ? form.names : before);
        if (!saved)
            told.insert(failing.ui.shown.back());
    }
    // a name that can't be compared counts as taken
    EXPECT_THAT(told, ElementsAre("'Alarm' is already in use.\r\nPlease provide a different name",
                                  "Unable to save 'Alarm'!\r\nSee the KR-Admin.log for details"));
    EXPECT_TRUE(world.logHas("NameInUse: "));
    EXPECT_TRUE(world.logHas("Error saving push list Alarm: "));
    EXPECT_EQ(countOf(session()), 1U);
}

TEST_F(MplFormTest, NoFailureLeavesHalfAList) {
    const int runs = ForEachFailure([](const Arm& arm) {
        World own;
        own.LogOnConfigured();
        GetMplFolder(*own.session);
        FailingSession failing(own);
        failing.LogOn();
        arm(failing.store.plan());
        MplForm made;
        fill(made);
        MplForm::Focus focus;
        const bool saved = made.Save(failing.session, focus) == MplForm::Outcome::Saved;
        const auto ids = RequireMessageIDs(*GetMplFolder(*own.session), kMplClass, "");
        EXPECT_LE(ids.size(), 1U);
        EXPECT_TRUE(!saved || ids.size() == 1);
        EXPECT_EQ(saved, failing.ui.shown.empty() ||
                             failing.ui.shown.back().starts_with("There's a problem"));
        for (const EntryID& id : ids) {
            EXPECT_EQ(KeyText(*GetMessage(*own.session, id), "MPL.Payload"), kWhole);
            EXPECT_EQ(KeyText(*GetMessage(*own.session, id), "MPL.Target"), made.names);
        }
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 10);
}

} // namespace
