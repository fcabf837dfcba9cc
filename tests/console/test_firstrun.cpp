#include <gtest/gtest.h>

#include "console/basFirstRun.h"
#include "console/basLogon.h"
#include "core/Keys.h"
#include "core/Settings.h"
#include "core/basAgent.h"
#include "core/basRegistry.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using Focus = FirstRunWizard::Focus;

class FirstRun : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    /// Through pages 0 and 1 with good data.
    void toFinish(FirstRunWizard& wizard) {
        Focus focus{};
        wizard.alias = "agentbox";
        wizard.server = "MAIL01";
        ASSERT_TRUE(wizard.Next(focus));
        wizard.firstName = "Alice";
        wizard.lastName = "Adams";
        wizard.email = "alice@example.test";
        wizard.phone = "+49 1";
        ASSERT_TRUE(wizard.Next(focus));
        ASSERT_EQ(FirstRunWizard::Finish, wizard.page());
    }
    RDOMessagePtr agent() { return GetMessage(session(), session().AgentMsgID); }
    World world;
};

TEST_F(FirstRun, TheMachineWideMailboxIsProposed) {
    RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "ExAlias", " agentbox ");
    RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "ExServer", "MAIL01");
    FirstRunWizard wizard(session());
    wizard.Load();
    EXPECT_EQ("agentbox", wizard.alias);
    EXPECT_EQ("MAIL01", wizard.server);
    EXPECT_EQ("", wizard.email);
}

TEST_F(FirstRun, EmptyFieldsStayOnTheirPage) {
    FirstRunWizard wizard(session());
    Focus focus{};
    wizard.alias = "agentbox";
    world.ui.Expect("You must provide the Alias and Exchange server name for the zandrelAgent "
                    "mailbox!");
    EXPECT_FALSE(wizard.Next(focus));
    EXPECT_EQ(Focus::SelectAlias, focus);
    wizard.server = "MAIL01";
    EXPECT_TRUE(wizard.Next(focus));
    EXPECT_EQ("agentbox@example.test", wizard.smtp);
    world.ui.Expect("You must provide an email address for the primary contact!");
    EXPECT_FALSE(wizard.Next(focus));
    EXPECT_EQ(Focus::SelectContact, focus);
    // the agent's own mailbox, in another case
    wizard.email = "AgentBox@Example.TEST";
    world.ui.Expect("The primary contact cannot use the zandrelAgent mailbox address!");
    EXPECT_FALSE(wizard.Next(focus));
    wizard.Back();
    EXPECT_EQ(FirstRunWizard::Mailbox, wizard.page());
    wizard.Back();
    EXPECT_EQ(FirstRunWizard::Mailbox, wizard.page());
}

TEST_F(FirstRun, ARefusedLogonStaysOnThePage) {
    FirstRunWizard wizard(session());
    wizard.alias = "nobody";
    wizard.server = "MAIL01";
    Focus focus{};
    world.ui.Expect("Unable to logon to MAIL01 as nobody\n"
                    "There is no mailbox named nobody on this server.");
    EXPECT_FALSE(wizard.Next(focus));
    EXPECT_EQ(FirstRunWizard::Mailbox, wizard.page());
    EXPECT_TRUE(world.logHas("FirstRun:attempting logon to MAIL01 as nobody"));
    EXPECT_TRUE(world.logHas("FirstRun:RDO.LoggedOn = False "));
    EXPECT_EQ("", MachineValue(*world.registry, "ExAlias"));
}

TEST_F(FirstRun, AGoodLogonIsStoredForTheMachine) {
    FirstRunWizard wizard(session());
    toFinish(wizard);
    EXPECT_EQ("agentbox", MachineValue(*world.registry, "ExAlias"));
    EXPECT_EQ("MAIL01", MachineValue(*world.registry, "ExServer"));
    EXPECT_TRUE(world.logHas("FirstRun::successfully logged on to MAIL01 as agentbox"));
    // nothing is in the mailbox yet
    EXPECT_EQ(nullptr, session().rdo->Stores().DefaultStore()->RootFolder()->Folders()->Item(
                           std::string_view("zandrelAgentInfo")));
}

TEST_F(FirstRun, FinishMakesTheRecords) {
    FirstRunWizard wizard(session());
    toFinish(wizard);
    std::vector<std::string> labels;
    int last = 0;
    EXPECT_TRUE(wizard.RunFinish(false, [&](const std::string& label, int step) {
        labels.push_back(label);
        EXPECT_GE(step, last);
        last = step;
    }));
    EXPECT_EQ(FirstRunWizard::kSteps, last);
    EXPECT_EQ("Logging on to dedicated mailbox...", labels.front());
    EXPECT_EQ("Saving properties...", labels[1]);
    auto message = agent();
    ASSERT_NE(nullptr, message);
    EXPECT_EQ("alice@example.test", KeyText(*message, "PrimaryEmail"));
    EXPECT_EQ("Alice Adams", KeyText(*message, "PrimaryNames"));
    EXPECT_EQ("+49 1", KeyText(*message, "PrimaryPhone"));
    EXPECT_EQ("alice@example.test", KeyText(*message, "AdminEmail"));
    EXPECT_EQ("Alice Adams", KeyText(*message, "AdminNames"));
    const auto hosts = GetHostMessages(session());
    ASSERT_EQ(1u, hosts.size());
    auto host = GetMessage(session(), hosts[0]);
    EXPECT_EQ("CONSOLE1", host->Subject());
    EXPECT_EQ(60, KeyNumber(*host, "PollingInterval", 0));
    EXPECT_TRUE(KeyFlag(*host, "NoRenderer"));
    EXPECT_EQ(Value(int16_t{8}), GetKey(*host, "LogLevel"));
    EXPECT_TRUE(GetAgentFolders(session()));
    for (const char* line :
         {"FirstRun: initializing agent message", "FirstRun: no existing agent message",
          "FirstRun: creating agent message", "FirstRun: saving primary contact info",
          "FirstRun: initializing host message",
          "FirstRun:created new Host message with default settings for CONSOLE1"})
        EXPECT_TRUE(world.logHas(line)) << line;
    EXPECT_TRUE(world.services.started.empty());
}

TEST_F(FirstRun, ASecondRunChangesThePrimaryContactOnly) {
    {
        FirstRunWizard wizard(session());
        toFinish(wizard);
        ASSERT_TRUE(wizard.RunFinish(false, [](const std::string&, int) {}));
    }
    const EntryID before = session().AgentMsgID;
    auto host = GetMessage(session(), GetHostMessages(session())[0]);
    SetKey(*host, "PollingInterval", int32_t{15});
    host->Save();
    FirstRunWizard wizard(session());
    wizard.Load();
    EXPECT_EQ("alice@example.test", wizard.email);
    EXPECT_EQ("Alice", wizard.firstName);
    EXPECT_EQ("agentbox", wizard.alias);
    Focus focus{};
    ASSERT_TRUE(wizard.Next(focus));
    wizard.email = "bob@example.test";
    ASSERT_TRUE(wizard.Next(focus));
    ASSERT_TRUE(wizard.RunFinish(false, [](const std::string&, int) {}));
    EXPECT_EQ(before, session().AgentMsgID);
    EXPECT_EQ("bob@example.test", KeyText(*agent(), "PrimaryEmail"));
    EXPECT_EQ("alice@example.test", KeyText(*agent(), "AdminEmail")); // was set already
    ASSERT_EQ(1u, GetHostMessages(session()).size());
    EXPECT_EQ(
        15, KeyNumber(*GetMessage(session(), GetHostMessages(session())[0]), "PollingInterval", 0));
    EXPECT_TRUE(world.logHas("FirstRun:found existing Host message for CONSOLE1"));
    EXPECT_TRUE(world.logHas("retrieved existing agent message:"));
    EXPECT_TRUE(world.logHas("FirstRun: calling InitAgentMsg to be able to read primary contact"));
}

TEST_F(FirstRun, TheServiceIsStartedOnRequest) {
    world.services.states["zandrelAgent"] = SvcState::Stopped;
    FirstRunWizard wizard(session());
    toFinish(wizard);
    std::vector<std::string> labels;
    EXPECT_TRUE(
        wizard.RunFinish(true, [&](const std::string& label, int) { labels.push_back(label); }));
    EXPECT_EQ(1u, world.services.started.size());
    EXPECT_NE(labels.end(), std::ranges::find(labels, "Starting zandrelAgent service..."));
    EXPECT_TRUE(world.logHas("FirstRun: attempting to start service..."));
    EXPECT_TRUE(world.logHas("Service stopped on CONSOLE1"));
}

TEST_F(FirstRun, ServiceStatesAndTheirLabels) {
    EXPECT_EQ(SvcState::Failed, GetServiceState(session(), "\\\\SERVER1").state);
    EXPECT_TRUE(world.logHas("OpenService returned nothing for \\\\SERVER1; no service found"));
    world.services.states["zandrelAgent"] = SvcState::Running;
    EXPECT_EQ("The zandrelAgent service is running", GetServiceState(session(), "").label);
    EXPECT_TRUE(world.logHas("Service running on CONSOLE1"));
    world.services.states["zandrelAgent"] = SvcState::Paused;
    EXPECT_EQ("", GetServiceState(session(), "").label);
    EXPECT_TRUE(world.logHas("Service paused on CONSOLE1"));
    world.services.states["zandrelAgent"] = SvcState::StopPending;
    EXPECT_EQ("The running status of the zandrelAgent service can't be determined",
              GetServiceState(session(), "").label);
    EXPECT_TRUE(world.logHas("Service state unknown on CONSOLE1"));
}

TEST_F(FirstRun, AServiceThatCantBeReachedOrStarted) {
    world.ui.Expect("Unable to access service at CONSOLE1");
    EXPECT_FALSE(StartAgentService(session(), ""));
    world.services.states["zandrelAgent"] = SvcState::Stopped;
    world.services.startCode = 1069;
    EXPECT_FALSE(StartAgentService(session(), ""));
    EXPECT_TRUE(world.logHas("StartService error:1069"));
}

TEST_F(FirstRun, CancelOnTheFirstPageLeavesNothing) {
    FirstRunWizard wizard(session());
    world.ui.Expect("Do you want to cancel initialization of the zandrelAgent?", BoxAnswer::No);
    EXPECT_FALSE(wizard.Cancel());
    world.ui.Expect("Do you want to cancel initialization of the zandrelAgent?", BoxAnswer::Yes);
    EXPECT_TRUE(wizard.Cancel());
    EXPECT_TRUE(world.logHas("FirstRun::user canceled initialization"));
    auto rdo = world.OtherSession();
    EXPECT_EQ(0, rdo->Stores().DefaultStore()->RootFolder()->Folders()->Count() - 1);
}

TEST_F(FirstRun, ContactsComeFromTheBookAndTheDirectory) {
    FirstRunWizard wizard(session());
    wizard.alias = "agentbox";
    wizard.server = "MAIL01";
    Focus focus{};
    ASSERT_TRUE(wizard.Next(focus));
    auto own = world.Entry("Agent Mailbox");
    world.ui.ExpectAddressBook({{{own->ID(), own->Name()}}});
    world.ui.Expect("The admin contact cannot use the zandrelAgent mailbox address!");
    wizard.SelectContact();
    EXPECT_EQ("", wizard.email);
    auto alice = world.Entry("Alice Adams");
    world.ui.ExpectAddressBook({{{alice->ID(), alice->Name()}}});
    wizard.SelectContact();
    EXPECT_EQ("alice@example.test", wizard.email);
    EXPECT_EQ("Adams", wizard.lastName);
    world.ui.ExpectAddressBook(std::nullopt);
    wizard.SelectContact();
    EXPECT_EQ("alice@example.test", wizard.email);
    world.ui.ExpectAddressBook({{{alice->ID(), alice->Name()}}});
    world.ui.Expect("Unable to resolve Alice Adams");
    wizard.SelectAlias();
    EXPECT_EQ("agentbox", wizard.alias);
}

class LogonDialog : public FirstRun {};

TEST_F(LogonDialog, ProfilesThatBeginWithCdoAreNotOffered) {
    auto profiles = world.store->CreateProfiles();
    profiles->Add("CDO_1234", false);
    profiles->Add("cdo other", false);
    LogonForm form;
    form.Load(session());
    EXPECT_EQ((std::vector<std::string>{"agent profile"}), form.profiles);
}

TEST_F(LogonDialog, TheMachineWideValuesAreOnlyAProposal) {
    RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "ExAlias", " box ");
    RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "ExServer", " SRV ");
    LogonForm form;
    form.Load(session());
    EXPECT_EQ("box", form.alias);
    EXPECT_EQ("SRV", form.server);
    session().ExServer = "MAIL01";
    session().ExAlias = "agentbox";
    form.Load(session());
    EXPECT_EQ("agentbox", form.alias);
}

TEST_F(LogonDialog, AStoredProfileIsSelectedOnlyWhenListed) {
    session().Profile = "gone";
    LogonForm form;
    form.Load(session());
    EXPECT_FALSE(form.useProfile);
    session().Profile = "agent profile";
    form.Load(session());
    EXPECT_TRUE(form.useProfile);
    EXPECT_EQ("agent profile", form.profile);
}

TEST_F(LogonDialog, OkFollowsTheActiveFields) {
    LogonForm form;
    EXPECT_FALSE(form.OkEnabled());
    form.server = "MAIL01";
    EXPECT_FALSE(form.OkEnabled());
    form.alias = "agentbox";
    EXPECT_TRUE(form.OkEnabled());
    form.SetUseProfile(true);
    EXPECT_EQ("", form.server);
    EXPECT_FALSE(form.OkEnabled());
    form.profile = "agent profile";
    EXPECT_TRUE(form.OkEnabled());
    form.SetUseProfile(false);
    EXPECT_EQ("", form.profile);
}

TEST_F(LogonDialog, RefusalsInTheirOrder) {
    LogonForm form;
    LogonForm::Focus focus{};
    EXPECT_EQ("You must enter the server name.", form.Validate(focus));
    EXPECT_EQ(LogonForm::Focus::Server, focus);
    form.server = "MAIL01";
    form.alias = "  ";
    EXPECT_EQ("You must enter the mailbox alias.", form.Validate(focus));
    EXPECT_EQ(LogonForm::Focus::Alias, focus);
    form.SetUseProfile(true);
    EXPECT_EQ("You must select a profile", form.Validate(focus));
    EXPECT_EQ(LogonForm::Focus::Profile, focus);
    form.profile = "agent profile";
    EXPECT_EQ("", form.Validate(focus));
    session().ExServer = "OLD";
    form.Apply(session());
    EXPECT_EQ("agent profile", session().Profile);
    EXPECT_EQ("", session().ExServer);
}

} // namespace
