#include <gtest/gtest.h>

#include <fstream>

#include "console/basFirstRun.h"
#include "console/basLogon.h"
#include "console/basPickers.h"
#include "core/Text.h"
#include "core/basAgent.h"
#include "core/basEntryID.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

/// What the dialogs do while the store fails at any of its calls.
class DialogFailures : public ::testing::Test {
protected:
    std::vector<EntryID> records(std::string_view messageClass) {
        auto root = world.session->rdo->Stores().DefaultStore()->RootFolder();
        auto folder = root->Folders()->Item(kAgentInfoFolder);
        return folder ? GetMessageIDs(*world.session, *folder, messageClass, "")
                      : std::vector<EntryID>();
    }
    /// The whole wizard with good data; true when it would close.
    static bool runWizard(FailingSession& failing) {
        FirstRunWizard wizard(failing.session);
        FirstRunWizard::Focus focus{};
        wizard.Load();
        wizard.alias = "agentbox";
        wizard.server = "MAIL01";
        if (!wizard.Next(focus))
            return false;
        wizard.firstName = "Alice";
        wizard.lastName = "Adams";
        wizard.email = "alice@example.test";
        return wizard.Next(focus) && wizard.RunFinish(false, [](const std::string&, int) {});
    }
    PickedRecipient picked(std::string_view name) {
        return {world.Entry(name)->ID(), std::string(name)};
    }
    int linesWith(std::string_view text) const {
        int lines = 0;
        for (const std::string& line : Split(world.log(), "\n"))
            lines += line.find(text) != std::string::npos;
        return lines;
    }
    World world;
};

TEST_F(DialogFailures, TheWizardHarmsNoRecordThatIsThere) {
    world.LogOnConfigured();
    auto agent = GetMessage(*world.session, world.session->AgentMsgID);
    SetKey(*agent, "AdminEmail", "boss@example.test");
    agent->Save();
    auto host = world.session->agentInfo->Items()->Add(kHostClass);
    host->SetSubject("CONSOLE1");
    SetKey(*host, "PollingInterval", int32_t{15});
    host->Save();
    int finished = 0;
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        arm(failing.store.plan());
        bool done = false;
        EXPECT_NO_THROW(done = runWizard(failing)) << "call " << failing.store.plan().Calls();
        finished += done;
        EXPECT_EQ(std::vector{world.session->AgentMsgID}, records(kAgentClass));
        EXPECT_EQ(std::vector{host->ID()}, records(kHostClass));
        auto now = GetMessage(*world.session, world.session->AgentMsgID);
        EXPECT_EQ("boss@example.test", KeyText(*now, "AdminEmail"));
        EXPECT_EQ(15, KeyNumber(*GetMessage(*world.session, host->ID()), "PollingInterval", 0));
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 60);
    EXPECT_GE(finished, 2);
    EXPECT_LT(finished, runs / 2);
}

TEST_F(DialogFailures, AWizardThatStoppedIsFinishedByTheNext) {
    world.LogOn();
    ForEachFailure([&](const Arm& arm) {
        auto root = world.session->rdo->Stores().DefaultStore()->RootFolder();
        if (auto folder = root->Folders()->Item(kAgentInfoFolder))
            folder->Delete();
        FailingSession failing(world);
        arm(failing.store.plan());
        EXPECT_NO_THROW(runWizard(failing));
        const bool came = failing.store.plan().Failed();
        failing.store.plan().FailAt(0);
        EXPECT_TRUE(runWizard(failing));
        EXPECT_EQ(1u, records(kAgentClass).size());
        EXPECT_EQ(1u, records(kHostClass).size());
        return came;
    });
}

TEST_F(DialogFailures, PickersStayParallelAndNameWhomTheyLeaveOut) {
    world.LogOnConfigured();
    const RecipientList before{picked("Bob Baker").id.text(), "Bob Baker", "bob@example.test"};
    for (const bool directoryOnly : {false, true}) {
        const std::string quote = directoryOnly ? "'" : "";
        ForEachFailure([&](const Arm& arm) {
            FailingSession failing(world);
            failing.LogOn();
            failing.ui.ExpectAddressBook({{picked("Alice Adams"), picked("Bob Baker")}});
            RecipientList list = before;
            arm(failing.store.plan());
            bool taken = false;
            EXPECT_NO_THROW(taken = directoryOnly
                                        ? PickGALRecipients(failing.session, "T", list, {})
                                        : PickRecipients(failing.session, "T", list, false));
            EXPECT_TRUE(taken);
            EXPECT_EQ(SplitNonEmpty(list.ids, ";").size(), SplitNonEmpty(list.names, ";").size());
            EXPECT_EQ(list.Count(), static_cast<int>(SplitNonEmpty(list.addresses, ";").size()));
            EXPECT_EQ(2u, list.Count() + failing.ui.shown.size());
            for (const std::string& box : failing.ui.shown)
                EXPECT_TRUE(box.starts_with(quote + "Alice Adams" + quote) ||
                            box.starts_with(quote + "Bob Baker" + quote) ||
                            box.starts_with("Unable to get valid address for " + quote))
                    << box;
            return failing.store.plan().Failed();
        });
    }
}

TEST_F(DialogFailures, ADirectoryThatCantBeHadIsTriedOncePerPick) {
    world.LogOn();
    world.directory.failOpen = true;
    world.ui.ExpectAddressBook(
        {{picked("Alice Adams"), picked("Bob Baker"), picked("Séan O'Brien")}});
    RecipientList list;
    EXPECT_TRUE(PickGALRecipients(*world.session, "Title", list, {}));
    EXPECT_EQ(3, list.Count());
    EXPECT_EQ(1, linesWith("PickGALRecipients: "));
    world.directory.failOpen = false;
    world.ui.ExpectAddressBook({{picked("Alice Adams"), picked("Bob Baker")}});
    EXPECT_TRUE(PickGALRecipients(*world.session, "Title", list, {}));
    EXPECT_EQ(2u, world.directory.queries.size());
}

TEST_F(DialogFailures, DiagnosticsReportEachStepThatFails) {
    const std::string path = world.folder() + "/LogonDiagnostics.txt";
    std::string all;
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        arm(failing.store.plan());
        EXPECT_NO_THROW(EXPECT_TRUE(LogonDiagnostics(failing.session, path)));
        std::ifstream in(path);
        const std::string text(std::istreambuf_iterator<char>(in), {});
        EXPECT_TRUE(text.starts_with("Initializing diagnostics...\nSystem: test\n"));
        EXPECT_EQ("", failing.ui.lastStatus());
        all += text;
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 20);
    const std::string why(kFailure);
    for (const std::string& line :
         {std::string("Unable to create RDO object.\n"), "Logon error: " + why + "\n",
          "Unable to retrieve application Inbox folder; error: " + why + "\n",
          "Unable to retrieve GAL; error: " + why + "\n",
          "Unable to retrieve GAL address entries; error: " + why + "\n",
          "Searching for Review folder\nAttempting to create Review folder\n"
          "Unable to create application Review folder; error: " +
              why + "\n"})
        EXPECT_NE(std::string::npos, all.find(line)) << line;
}

} // namespace
