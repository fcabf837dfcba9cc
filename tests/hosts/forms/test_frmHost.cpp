#include "hosts/forms/frmHost.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QDateTimeEdit>
#include <QGroupBox>
#include <QListWidget>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "core/basDate.h"
#include "hosts/forms/LimitBox.h"
#include "hosts/forms/MakeHostForms.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class frmHostTest : public ::testing::Test {
protected:
    frmHostTest() {
        world.LogOnConfigured();
        id = hosts.Add("SRVA");
        put("AgentVersion", "3.5.5");
        put("Reporting", false);
    }
    void put(std::string_view name, const Value& value) { hosts.Set(id, name, value); }
    Value key(std::string_view name) { return hosts.Get(id, name); }
    void open() {
        form = std::make_unique<frmHost>(*world.session, id);
        ASSERT_TRUE(form->loaded());
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class W>
    W* get(const char* name) {
        return control<W>(form.get(), name);
    }
    void press(const char* name) { QTest::mouseClick(get<QPushButton>(name), Qt::LeftButton); }
    void tick(const char* name) {
        auto* box = get<QCheckBox>(name);
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    }
    void choose(const char* name) {
        auto* option = get<QRadioButton>(name);
        QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(8, option->height() / 2));
    }
    QTabWidget* tabs() { return get<QTabWidget>("tabPages"); }
    void page(const char* name) { tabs()->setCurrentWidget(get<QWidget>(name)); }
    QSpinBox* number(const char* name) { return get<QSpinBox>(name); }
    void type(const char* name, const char* text) {
        number(name)->setFocus();
        number(name)->selectAll();
        QTest::keyClicks(number(name), text);
    }
    Names entries(const char* name) {
        Names all;
        auto* list = get<QListWidget>(name);
        for (int i = 0; i < list->count(); ++i)
            all.push_back(ToUtf8(list->item(i)->text()));
        return all;
    }
    bool dirty() { return get<QPushButton>("cmdApply")->isEnabled(); }
    using Sent = FakeServices::Sent;

    World world;
    Hosts hosts{world};
    EntryID id;
    std::unique_ptr<frmHost> form;
};

// --- its looks

TEST_F(frmHostTest, HasItsCaptions) {
    open();
    const std::vector<std::pair<const char*, const char*>> captions = {
        {"lblPolling", "Mailbox &polling interval  for this server (in seconds)"},
        {"chkProcess", "Process &messages from users"},
        {"lblWatchdog", "&Watchdog service interval (in minutes)"},
        {"optMaximum", "Max&imum"},
        {"optMedium", "Me&dium"},
        {"optMinimum", "Mi&nimum"},
        {"lblMaximum", "Log each address book entry and each deletion"},
        {"lblMedium", "Log match types and responses"},
        {"lblMinimum", "Log errors plus service Start and Stop events"},
        {"chkReporting", "&Enable diagnostic reporting"},
        {"cmdShowLogs", "S&how Logs"},
        {"chkBPE", "Retrieve &PIN data from BES"},
        {"cmdBES", "&BES Agent..."},
        {"lblPinEvery", "&Refresh PIN data every"},
        {"lblPinNext", "&Next refresh"},
        {"lblDSN", "DSNs for BES databases"},
        {"cmdAddDSN", "&Add"},
        {"cmdRemoveDSN", "&Remove"},
        {"chkEPS", "&Push PIM updates to users"},
        {"lblEPSEvery", "Update &Contacts every"},
        {"lblEPSNext", "&Next update"},
        {"chkMaxEPS", "&End EPS run after "},
        {"chkGAL", "Check &GAL for data"},
        {"chkMCL", "Manage &Mandatory Contacts"},
        {"lblServers", "Update mailboxes on these servers"},
        {"cmdAddServer", "&Add"},
        {"cmdRemoveServer", "&Remove"},
        {"chkSSU", "&Send update requests to users"},
        {"lblSSUEvery", "Chec&k responses every"},
        {"lblSSUNext", "&Next check"},
        {"lblSSUNote", "Use the Properties page of the Self-Service Update container to configure "
                       "the schedule for sending update requests and reminders"},
        {"chkMCC", "Manage &Custom Contacts"},
        {"lblMCCEvery", "Perform &update every"},
        {"lblMCCNext", "&Next update"},
        {"chkMaxMCC", "&End MCC run after "},
        {"cmdOK", "&OK"},
        {"cmdCancel", "&Cancel"},
        {"cmdApply", "&Apply"}};
    for (const auto& [name, caption] : captions)
        EXPECT_EQ(get<QWidget>(name)->property("text").toString(), caption) << name;
    EXPECT_EQ(get<QGroupBox>("fraLogging")->title(), "Logging");
    const std::vector<std::pair<const char*, const char*>> pages = {
        {"&Configuration", ""},
        {"&BPE/BSR", "Retrieve PIN data from BES"},
        {"&EPS", "Push EPS updates to user contacts"},
        {"&SSU", "Generate Self-Service Update notifications"},
        {"&MCC", ""}};
    ASSERT_EQ(tabs()->count(), 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(tabs()->tabText(i), pages[static_cast<size_t>(i)].first);
        EXPECT_EQ(tabs()->tabToolTip(i), pages[static_cast<size_t>(i)].second);
    }
}

TEST_F(frmHostTest, EveryFieldHasAnAccessibleNameAndTheFormFits) {
    open();
    for (QWidget* widget : form->findChildren<QWidget*>()) {
        const bool field = qobject_cast<QSpinBox*>(widget) || qobject_cast<QComboBox*>(widget) ||
                           qobject_cast<QDateTimeEdit*>(widget) ||
                           qobject_cast<QListWidget*>(widget);
        if (field && !widget->objectName().startsWith("qt_")) {
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
                << widget->objectName().toStdString();
        }
    }
    EXPECT_LE(form->width(), 1024);
    EXPECT_LE(form->height(), 740);
}

TEST_F(frmHostTest, ALetterStandsForOneControlOfAPageButWhereTheCaptionsAreGivenSo) {
    put("AgentVersion", "3.10.0"); // with all fields and pages
    open();
    // with the pages' own letters and those of the buttons, which are always there
    const auto letterOf = [](const QString& text) {
        const int place = static_cast<int>(QString(text).replace("&&", "  ").indexOf('&'));
        return place < 0 ? QChar() : text[place + 1].toUpper();
    };
    const std::array<const char*, 5> clashes = {"CEM", "ABCR", "ACEM", "CS", "CE"};
    for (int i = 0; i < 5; ++i) {
        tabs()->setCurrentIndex(i);
        QHash<QChar, int> letters;
        for (int t = 0; t < 5; ++t)
            ++letters[letterOf(tabs()->tabText(t))];
        for (QWidget* widget : form->findChildren<QWidget*>()) {
            const QString text = widget->property("text").toString();
            if (widget->isVisible() && !letterOf(text).isNull())
                ++letters[letterOf(text)];
        }
        QString twice;
        for (auto it = letters.cbegin(); it != letters.cend(); ++it)
            if (it.value() > 1)
                twice += it.key();
        std::sort(twice.begin(), twice.end());
        EXPECT_EQ(ToUtf8(twice), clashes[static_cast<size_t>(i)]) << i;
    }
}

TEST_F(frmHostTest, TabGoesThroughThePageInOrder) {
    open();
    get<QWidget>("udPolling")->setFocus();
    Names order;
    for (int i = 0; i < 8; ++i) {
        order.push_back(ToUtf8(QApplication::focusWidget()->objectName()));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_THAT(order, ElementsAre("udPolling", "chkProcess", "udWatchdog", "optMaximum",
                                   "chkReporting", "cmdOK", "cmdCancel", "qt_tabwidget_tabbar"));
}

TEST_F(frmHostTest, LettersReachTheFields) {
    open();
    QTest::keyClick(form.get(), Qt::Key_W, Qt::AltModifier);
    EXPECT_EQ(form->focusWidget(), get<QWidget>("udWatchdog"));
    EXPECT_EQ(get<QLineEdit>("txtWatchdog")->text(), "5");
    QTest::keyClick(form.get(), Qt::Key_O, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !form->isVisible(); }));
}

// --- loading and closing

TEST_F(frmHostTest, LoadsWithoutBeingDirty) {
    put("PollingInterval", int32_t{1}); // brought into its limits, silently
    put("EPS UpdateClients", true);
    put("EPS.MaxInterval", "2;h");
    put("ClientUpdateInterval", "5;n");
    open();
    EXPECT_EQ(form->windowTitle(), "SRVA - Server Properties");
    EXPECT_FALSE(dirty());
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "5");
    EXPECT_EQ(number("udInterval1")->value(), 30);
    EXPECT_EQ(get<QComboBox>("cboUnit1")->currentText(), "minutes");
    EXPECT_TRUE(get<QCheckBox>("chkMaxEPS")->isChecked());
    EXPECT_EQ(number("udInterval3")->value(), 2);
    EXPECT_EQ(get<QDateTimeEdit>("dtpEPS")->text(), "3/10/2026 6:00 PM");
    EXPECT_THAT(entries("lstServers"), ElementsAre("*"));
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(form->saved());
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{1}));
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(frmHostTest, CancelAndEscapeWriteNothing) {
    for (const bool escape : {false, true}) {
        open();
        type("udPolling", "99");
        EXPECT_TRUE(dirty());
        if (escape)
            QTest::keyClick(form.get(), Qt::Key_Escape);
        else
            press("cmdCancel");
        EXPECT_FALSE(form->isVisible());
        EXPECT_FALSE(form->saved());
    }
    EXPECT_TRUE(key("PollingInterval").empty());
}

TEST_F(frmHostTest, ApplySavesAndStaysOpen) {
    open();
    type("udPolling", "99");
    press("cmdApply");
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(dirty());
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{99}));
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 130}));
    press("cmdCancel");
    EXPECT_TRUE(form->saved());
}

TEST_F(frmHostTest, EnterSavesWhatStandsInTheBox) {
    open();
    type("udPolling", "2"); // too small, and the box isn't left
    QTest::keyClick(number("udPolling"), Qt::Key_Return);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{5}));
}

TEST_F(frmHostTest, TheWatchdogIsToldOfItsInterval) {
    open();
    type("udWatchdog", "12");
    press("cmdOK");
    EXPECT_EQ(key("ServiceWatchdog.Interval"), Value(int32_t{12}));
    EXPECT_THAT(world.services.sent,
                ElementsAre(Sent{"SRVA", "zandrelAgent", 130}, Sent{"SRVA", "kRWatchdog", 130}));
}

TEST_F(frmHostTest, SavesEveryPage) {
    open();
    tick("chkProcess");
    page("tabBPE");
    tick("chkBPE");
    type("udInterval0", "12");
    page("tabEPS");
    tick("chkEPS");
    get<QComboBox>("cboUnit1")->setCurrentIndex(0);
    type("udInterval1", "400");
    get<QDateTimeEdit>("dtpEPS")->setDateTime(QDateTime({2026, 4, 1}, {8, 30}, Qt::UTC));
    tick("chkGAL");
    tick("chkMCL");
    page("tabSSU");
    tick("chkSSU");
    get<QComboBox>("cboUnit2")->setCurrentIndex(1);
    type("udInterval2", "3");
    page("tabMCC");
    tick("chkMCC");
    tick("chkMaxMCC");
    type("udInterval5", "2");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("NoMsgProcessing"), Value(true));
    EXPECT_EQ(key("BPE HarvestPins"), Value(true));
    EXPECT_EQ(key("PinHarvestInterval"), Value("12;h"));
    EXPECT_EQ(key("ClientUpdateInterval"), Value("400;n"));
    EXPECT_EQ(key("NextClientUpdate"), Value(LocalToUTC(at(2026, 4, 1, 8, 30), world.clock)));
    EXPECT_EQ(key("AddFromGAL"), Value(true));
    EXPECT_EQ(key("ProcessMCL"), Value(true));
    EXPECT_EQ(key("EPS.MaxInterval"), Value(""));
    EXPECT_EQ(key("SSUInterval"), Value("3;ww"));
    EXPECT_EQ(key("MCC.MaxInterval"), Value("2;h"));
}

// --- number boxes

TEST_F(frmHostTest, NumberBoxesTakeDigitsAlone) {
    open();
    type("udPolling", "1a-2 .0");
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "120");
    QTest::keyClick(number("udPolling"), Qt::Key_Backspace);
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "12");
    QTest::keyClick(number("udPolling"), Qt::Key_Up);
    EXPECT_EQ(number("udPolling")->value(), 13);
}

TEST_F(frmHostTest, NumberBoxesKeepTheirLimits) {
    open();
    type("udPolling", "3");
    QTest::keyClick(number("udPolling"), Qt::Key_Tab);
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "5");
    EXPECT_TRUE(dirty());
    type("udPolling", "9999");
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "3600"); // at once
    type("udPolling", "");
    QTest::keyClick(number("udPolling"), Qt::Key_Delete);
    QTest::keyClick(number("udPolling"), Qt::Key_Tab);
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "5");
    get<QLineEdit>("txtWatchdog")->setText("77");
    EXPECT_EQ(get<QLineEdit>("txtWatchdog")->text(), "30");
    get<QLineEdit>("txtPolling")->setText("1");
    EXPECT_EQ(get<QLineEdit>("txtPolling")->text(), "5");
}

TEST_F(frmHostTest, TheUnitSetsTheLimits) {
    put("EPS UpdateClients", true);
    open();
    page("tabEPS");
    EXPECT_EQ(number("udInterval1")->value(), 24);
    get<QComboBox>("cboUnit1")->setCurrentIndex(0);
    EXPECT_EQ(number("udInterval1")->value(), 30); // minutes begin there
    EXPECT_TRUE(dirty());
    type("udInterval1", "1441");
    EXPECT_EQ(number("udInterval1")->value(), 1440);
    get<QComboBox>("cboUnit1")->setCurrentIndex(1);
    EXPECT_EQ(number("udInterval1")->value(), 180);
    EXPECT_EQ(number("udInterval4")->minimum(), 1);
    EXPECT_EQ(number("udInterval2")->maximum(), 168);
}

// --- what is enabled and shown

TEST_F(frmHostTest, FieldsFollowTheirMasterBox) {
    open();
    const std::vector<std::pair<const char*, std::vector<const char*>>> masters = {
        {"chkBPE",
         {"cmdBES", "txtBES", "udInterval0", "cboUnit0", "dtpPin", "lstDSNs", "cmdAddDSN",
          "cmdRemoveDSN"}},
        {"chkEPS",
         {"udInterval1", "cboUnit1", "dtpEPS", "chkMaxEPS", "chkGAL", "chkMCL", "lstServers",
          "cmdAddServer", "cmdRemoveServer"}},
        {"chkSSU", {"udInterval2", "cboUnit2", "dtpSSU"}},
        {"chkMCC", {"udInterval4", "cboUnit4", "dtpMCC", "chkMaxMCC"}}};
    for (const bool on : {true, false})
        for (const auto& [master, fields] : masters) {
            get<QCheckBox>(master)->setChecked(on);
            for (const char* field : fields)
                EXPECT_EQ(get<QWidget>(field)->isEnabled(), on) << master << " " << field;
        }
}

TEST_F(frmHostTest, LimitsAreOfferedWhenTicked) {
    put("EPS UpdateClients", true);
    open();
    page("tabEPS");
    EXPECT_FALSE(number("udInterval3")->isEnabled());
    tick("chkMaxEPS");
    EXPECT_TRUE(number("udInterval3")->isEnabled());
    EXPECT_TRUE(get<QComboBox>("cboUnit3")->isEnabled());
    EXPECT_EQ(number("udInterval3")->value(), 3);
    EXPECT_EQ(get<QComboBox>("cboUnit3")->currentText(), "hours");
    tick("chkEPS");
    EXPECT_FALSE(number("udInterval3")->isEnabled());
}

TEST_F(frmHostTest, VersionsHideFieldsAndThePage) {
    const auto hidden = [&] {
        return get<QWidget>("cmdBES")->isHidden() && get<QWidget>("txtBES")->isHidden() &&
               get<QWidget>("cmdAddDSN")->isHidden() && get<QWidget>("cmdRemoveDSN")->isHidden() &&
               get<QWidget>("lblDSN")->isHidden() && get<QWidget>("lstDSNs")->isHidden();
    };
    open();
    EXPECT_TRUE(hidden());
    EXPECT_EQ(tabs()->count(), 5);
    put("AgentVersion", "3.10.0"); // below 3.2 as text
    open();
    EXPECT_FALSE(hidden());
    put("AgentVersion", "3.1");
    open();
    EXPECT_FALSE(hidden());
    ASSERT_EQ(tabs()->count(), 4);
    EXPECT_EQ(tabs()->tabText(3), "&SSU");
    type("udPolling", "99");
    press("cmdOK"); // without the page
    EXPECT_EQ(key("MCC.Enabled"), Value(false));
}

// --- stops

TEST_F(frmHostTest, AMissingLimitLeadsToItsBox) {
    put("EPS UpdateClients", true);
    open();
    page("tabEPS");
    tick("chkMaxEPS");
    page("tabConfiguration");
    const std::string question = "The option is checked to only let EPS run for a specific time,\n"
                                 "but no limit has been set.\n"
                                 "Do you want to enter that now?";
    world.ui.Expect(question, BoxAnswer::Yes);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(tabs()->currentWidget(), get<QWidget>("tabEPS"));
    EXPECT_EQ(form->focusWidget(), number("udInterval3"));
    QTest::keyClick(number("udInterval3"), Qt::Key_Down); // 2 hours: now there is one
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("EPS.MaxInterval"), Value("2;h"));
}

TEST_F(frmHostTest, APastDateLeadsToItsPicker) {
    put("SSU", true);
    put("EPS UpdateClients", true);
    open();
    page("tabSSU");
    get<QDateTimeEdit>("dtpSSU")->setDateTime(QDateTime({2026, 3, 1}, {8, 30}, Qt::UTC));
    page("tabConfiguration");
    world.ui.Expect("", BoxAnswer::No);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(tabs()->currentWidget(), get<QWidget>("tabSSU"));
    EXPECT_EQ(form->focusWidget(), get<QWidget>("dtpSSU"));
    page("tabBPE"); // deliberately stays there
    world.ui.Expect("", BoxAnswer::No);
    press("cmdOK");
    EXPECT_EQ(tabs()->currentWidget(), get<QWidget>("tabBPE"));
    world.ui.Expect("", BoxAnswer::Yes);
    press("cmdApply");
    EXPECT_TRUE(form->saved());
    EXPECT_EQ(get<QDateTimeEdit>("dtpSSU")->text(), "3/10/2026 10:31 AM");
}

TEST_F(frmHostTest, AReducedLimitIsShown) {
    put("EPS UpdateClients", true);
    put("EPS.MaxInterval", "3;h");
    open();
    page("tabEPS");
    type("udInterval1", "2");
    world.ui.Expect("The maximum runtime for EPS has been reduced to match the update interval.");
    press("cmdApply");
    EXPECT_EQ(number("udInterval3")->value(), 2);
    EXPECT_FALSE(dirty());
}

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
