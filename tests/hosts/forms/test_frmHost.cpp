#include <QTabBar>

#include "tests/hosts/forms/HostFormTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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

} // namespace
