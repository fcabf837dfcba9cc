#include <filesystem>
#include <fstream>

#include "hosts/forms/MakeHostForms.h"
#include "tests/hosts/forms/HostFormTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- lists

TEST_F(frmHostTest, ServersAreAddedAndRemoved) {
    put("EPS UpdateClients", true);
    put("EPS Home Servers", "MAIL01;MAIL02");
    open();
    page("tabEPS");
    world.ui.ExpectInput("MAIL03");
    press("cmdAddServer");
    EXPECT_THAT(entries("lstServers"), ElementsAre("MAIL01", "MAIL02", "MAIL03"));
    EXPECT_TRUE(dirty());
    auto* list = get<QListWidget>("lstServers");
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualItemRect(list->item(0)).center());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier,
                      list->visualItemRect(list->item(2)).center());
    press("cmdRemoveServer");
    EXPECT_THAT(entries("lstServers"), ElementsAre("MAIL02"));
    press("cmdOK");
    EXPECT_EQ(key("EPS Home Servers"), Value("MAIL02"));
}

TEST_F(frmHostTest, AllServersKeepTheOldTextAndAreNoChange) {
    put("EPS UpdateClients", true);
    put("EPS Home Servers", "MAIL01");
    open();
    page("tabEPS");
    world.ui.ExpectInput("*");
    world.ui.Expect("Do you want this agent to handle all servers?", BoxAnswer::Yes);
    press("cmdAddServer");
    EXPECT_THAT(entries("lstServers"), ElementsAre("*"));
    EXPECT_FALSE(dirty());
}

TEST_F(frmHostTest, DSNsAndTheBESAgent) {
    put("AgentVersion", "3.1");
    put("BPE HarvestPins", true);
    open();
    page("tabBPE");
    world.ui.ExpectInput("BESMgmt");
    press("cmdAddDSN");
    EXPECT_THAT(entries("lstDSNs"), ElementsAre("BESMgmt"));
    const auto bob = world.Entry("bob");
    world.ui.ExpectAddressBook(std::vector<PickedRecipient>{{bob->ID(), bob->Name()}});
    press("cmdBES");
    EXPECT_EQ(get<QLineEdit>("txtBES")->text(), "Bob Baker");
    press("cmdApply");
    EXPECT_EQ(key("BPE DSN List"), Value("BESMgmt"));
    EXPECT_EQ(key("BPE Agent Address"), Value("bob@example.test"));
    get<QListWidget>("lstDSNs")->setCurrentRow(0);
    press("cmdRemoveDSN");
    EXPECT_THAT(entries("lstDSNs"), IsEmpty());
    EXPECT_TRUE(dirty());
}

// --- logging

TEST_F(frmHostTest, LevelsSelectTheirOption) {
    const std::vector<std::pair<int16_t, const char*>> levels = {
        {2, "optMinimum"}, {4, "optMedium"}, {8, "optMaximum"}, {6, nullptr}, {12, "optMaximum"}};
    for (const auto& [level, selected] : levels) {
        put("LogLevel", level);
        open();
        for (const char* option : {"optMinimum", "optMedium", "optMaximum"})
            EXPECT_EQ(get<QRadioButton>(option)->isChecked(),
                      selected && std::string_view(selected) == option)
                << level << option;
        EXPECT_EQ(get<QLabel>("lblComplete")->isVisible(), level == 12);
    }
}

TEST_F(frmHostTest, ReportingAndOptionsGoTogether) {
    open();
    choose("optMinimum");
    EXPECT_TRUE(dirty());
    tick("chkReporting");
    EXPECT_TRUE(get<QRadioButton>("optMaximum")->isChecked());
    const char* question = "Diagnostic reporting requires maximum logging. Turn off reporting?";
    world.ui.Expect(question, BoxAnswer::Cancel);
    choose("optMedium");
    EXPECT_TRUE(get<QRadioButton>("optMaximum")->isChecked());
    EXPECT_TRUE(get<QCheckBox>("chkReporting")->isChecked());
    world.ui.Expect(question, BoxAnswer::OK);
    choose("optMedium");
    EXPECT_TRUE(get<QRadioButton>("optMedium")->isChecked());
    EXPECT_FALSE(get<QCheckBox>("chkReporting")->isChecked());
    press("cmdOK");
    EXPECT_EQ(key("LogLevel"), Value(int16_t{4}));
    EXPECT_EQ(key("Reporting"), Value(false));
}

TEST_F(frmHostTest, CtrlLIsTheHiddenSwitch) {
    open();
    world.ui.Expect("Do you want to turn on Complete logging for this agent?", BoxAnswer::Yes);
    QTest::keyClick(form.get(), Qt::Key_L, Qt::ControlModifier);
    EXPECT_TRUE(get<QLabel>("lblComplete")->isVisible());
    EXPECT_TRUE(get<QCheckBox>("chkReporting")->isChecked());
    EXPECT_TRUE(dirty());
    press("cmdApply");
    EXPECT_EQ(key("LogLevel"), Value(int16_t{12}));
    tabs()->tabBar()->setFocus();
    world.ui.Expect("Do you want to turn off Complete logging for this agent?", BoxAnswer::Yes);
    QTest::keyClick(tabs()->tabBar(), Qt::Key_L, Qt::ControlModifier);
    EXPECT_FALSE(get<QLabel>("lblComplete")->isVisible());
    EXPECT_TRUE(get<QRadioButton>("optMaximum")->isChecked());
    press("cmdOK");
    EXPECT_EQ(key("LogLevel"), Value(int16_t{8}));
}

TEST_F(frmHostTest, LogsAreShownWhereThereAreAny) {
    open();
    EXPECT_FALSE(get<QPushButton>("cmdShowLogs")->isEnabled());
    id = hosts.Add("CONSOLE1");
    std::filesystem::create_directories(world.folder() + "/Logs/Tue");
    std::ofstream(world.folder() + "/Logs/Tue/KR-Report-CONSOLE1.log") << "report";
    open();
    press("cmdShowLogs");
    EXPECT_THAT(world.shell.files, ElementsAre(world.folder() + "/Logs/Tue/"));
}

// --- as the console opens it

TEST_F(frmHostTest, TheConsoleHearsWhetherItWasSaved) {
    const HostForms forms = MakeHostForms(*world.session, [] { return nullptr; });
    const auto play = [](bool save) {
        whenModal("frmHost", [save](QWidget* shown) {
            control<QSpinBox>(shown, "udPolling")->setValue(44);
            QTest::mouseClick(control<QPushButton>(shown, save ? "cmdOK" : "cmdCancel"),
                              Qt::LeftButton);
        });
    };
    play(false);
    EXPECT_FALSE(forms.frmHost(id));
    play(true);
    EXPECT_TRUE(forms.frmHost(id));
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{44}));
    hosts.Open(id)->Delete();
    world.ui.Expect("The server's record can't be opened.");
    EXPECT_FALSE(forms.frmHost(id));
}

} // namespace
