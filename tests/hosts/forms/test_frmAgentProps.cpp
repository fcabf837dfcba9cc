#include "tests/hosts/forms/AgentPropsFormTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- its looks

TEST_F(frmAgentPropsTest, HasItsCaptions) {
    open();
    EXPECT_EQ(form->windowTitle(), "zandrelAgent Properties");
    const std::vector<std::pair<const char*, const char*>> captions = {
        {"lblDelete", "&Delay before deletion (minutes)"},
        {"chkClean", "Delete req&uests and replies from sender's mailbox"},
        {"lblAttach", "Maximum &attachments returned"},
        {"lblList", "Maximum addresses returned as &list"},
        {"lblBrowser", "Maximum wait for &web connect (seconds)"},
        {"lblStale", "&Maximum age of valid request (hours)"},
        {"optBackup0", "Run at"},
        {"optBackup1", "Disable"},
        {"lblAdmin", "Send &trouble alerts to admin:"},
        {"cmdAdmin", "&Select"},
        {"lblReport", "Accept report requests from:"},
        {"cmdReport", "Selec&t"},
        {"lblDomains", "Accept requests from these domains"},
        {"lblRefuse", "Refuse requests from these domains"},
        {"lblExclude", "Block conversion of these file types"},
        {"lblTrusted", "Check these trusted domains when doing Active Directory lookups"},
        {"lblField", "AddressBook field"},
        {"lblAttribute", "Exchange Attribute"},
        {"lblEX0", "BlackBerry &PIN"},
        {"lblEX1", "User&1"},
        {"lblEX4", "User&4"},
        {"lblFax", "&Fax support"},
        {"lblSyntax", "Fax s&yntax"},
        {"chkSendAs", "&Relay as original sender"},
        {"cmdOK", "&OK"},
        {"cmdCancel", "&Cancel"},
        {"cmdApply", "Apply"}};
    for (const auto& [name, caption] : captions)
        EXPECT_EQ(get<QWidget>(name)->property("text").toString(), caption) << name;
    EXPECT_EQ(get<QGroupBox>("fraBackup")->title(), "Daily Backups");
    EXPECT_EQ(get<QGroupBox>("fraCustom")->title(), "Custom Attributes");
    ASSERT_EQ(tabs()->count(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(tabs()->widget(i)->objectName(), "pic" + QString::number(i));
}

TEST_F(frmAgentPropsTest, APageIsShownWithItsTab) {
    open();
    const std::vector<std::pair<int, Qt::Key>> keys = {
        {1, Qt::Key_E}, {2, Qt::Key_N}, {3, Qt::Key_I}, {4, Qt::Key_X}, {0, Qt::Key_B}};
    for (const auto& [place, letter] : keys) {
        QTest::keyClick(form.get(), letter, Qt::AltModifier);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(tabs()->widget(i)->isVisible(), i == place) << place << " " << i;
    }
}

TEST_F(frmAgentPropsTest, EveryFieldHasAnAccessibleNameAndTheFormFits) {
    put("Fax", int32_t{2});
    open();
    for (QWidget* widget : form->findChildren<QWidget*>()) {
        const bool field = qobject_cast<QSpinBox*>(widget) || qobject_cast<QComboBox*>(widget) ||
                           qobject_cast<QDateTimeEdit*>(widget) ||
                           qobject_cast<QListWidget*>(widget) ||
                           qobject_cast<QAbstractButton*>(widget);
        if (field && !widget->objectName().startsWith("qt_") &&
            widget->parent()->objectName() != "qt_tabwidget_tabbar") {
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
                << widget->objectName().toStdString();
        }
    }
    EXPECT_LE(form->width(), 1024);
    EXPECT_LE(form->height(), 740);
}

TEST_F(frmAgentPropsTest, ALetterStandsForOneControlOfAPageButWhereTheCaptionsAreGivenSo) {
    open();
    const auto letterOf = [](const QString& caption) {
        const int place = static_cast<int>(QString(caption).replace("&&", "  ").indexOf('&'));
        return place < 0 ? QChar() : caption[place + 1].toUpper();
    };
    const auto twiceOn = [&](int index) {
        page(index);
        QHash<QChar, int> letters;
        for (int t = 0; t < 5; ++t)
            ++letters[letterOf(tabs()->tabText(t))];
        for (QWidget* widget : form->findChildren<QWidget*>()) {
            const QString caption = widget->property("text").toString();
            if (widget->isVisible() && !letterOf(caption).isNull())
                ++letters[letterOf(caption)];
        }
        QString twice;
        for (auto it = letters.cbegin(); it != letters.cend(); ++it)
            if (it.value() > 1)
                twice += it.key();
        return ToUtf8(twice);
    };
    const std::array<const char*, 5> clashes = {"", "T", "", "", ""};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(twiceOn(i), clashes[static_cast<size_t>(i)]) << i;
    get<QComboBox>("cboFax")->setCurrentIndex(kFaxSecure);
    EXPECT_EQ(twiceOn(4), "R");
}

TEST_F(frmAgentPropsTest, TabGoesThroughThePageInOrder) {
    open();
    Names order;
    for (int i = 0; i < 11; ++i) {
        order.push_back(ToUtf8(QApplication::focusWidget()->objectName()));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_THAT(order, ElementsAre("udDeleteDelay", "chkClean", "udAttach", "udList", "udBrowser",
                                   "udStaleDate", "optBackup0", "dtpBackup", "dtpBackup",
                                   "dtpBackup", "cmdOK"));
}

// --- loading and closing

TEST_F(frmAgentPropsTest, LoadsWithoutBeingDirty) {
    put("DeleteDelay", int32_t{3}); // brought into its limits, silently
    put("MaxAttach", int32_t{9});
    put("MaxList", int32_t{5});
    put("BrowserWait", int32_t{10000});
    put("StaleDate", int32_t{72});
    put("CleanSender", true);
    put("Reporting", true);
    put("AdminNames", "Alice Adams");
    put("ReportNames", "Bob Baker");
    put("SenderDomains", "a.test;b.test");
    put("RefuseDomains", "c.test");
    put("ExcludeExt", "exe;js");
    put("BPE.TrustedDomains", "d.test");
    put("FaxSendAs", true);
    put("DailyBackup.Time", at(2026, 3, 1, 22, 15));
    put("CustomAttribute.User2", "extensionAttribute7");
    put("CustomAttribute.User3", "ownAttribute");
    open();
    EXPECT_FALSE(dirty());
    EXPECT_EQ(text("txtDelete"), "5");
    EXPECT_EQ(text("txtMaxAttach"), "9");
    EXPECT_EQ(text("txtMaxList"), "10");
    EXPECT_EQ(text("txtBrowserWait"), "9000");
    EXPECT_EQ(text("txtStaleDate"), "72");
    EXPECT_TRUE(get<QCheckBox>("chkClean")->isChecked());
    EXPECT_TRUE(get<QCheckBox>("chkReporting")->isChecked());
    EXPECT_TRUE(get<QCheckBox>("chkSendAs")->isChecked());
    EXPECT_EQ(text("txtAdmin"), "Alice Adams");
    EXPECT_EQ(text("txtReport"), "Bob Baker");
    EXPECT_THAT(entries("lstDomains"), ElementsAre("a.test", "b.test"));
    EXPECT_THAT(entries("lstRefuse"), ElementsAre("c.test"));
    EXPECT_THAT(entries("lstExclude"), ElementsAre("exe", "js"));
    EXPECT_THAT(entries("lstTrusted"), ElementsAre("d.test"));
    EXPECT_TRUE(get<QRadioButton>("optBackup0")->isChecked());
    EXPECT_EQ(get<QDateTimeEdit>("dtpBackup")->text(), "11:15 PM");
    EXPECT_EQ(get<QComboBox>("cboEX0")->currentText(), "");
    EXPECT_EQ(get<QComboBox>("cboEX2")->currentText(), "extensionAttribute7");
    EXPECT_EQ(get<QComboBox>("cboEX3")->currentText(), "ownAttribute");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{3}));
    EXPECT_TRUE(key("Fax").empty());
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(frmAgentPropsTest, AnEmptyFaxSyntaxSelectsTheFirst) {
    open();
    EXPECT_EQ(get<QComboBox>("cboFax")->currentText(), "None");
    EXPECT_EQ(get<QComboBox>("cboSyntax")->currentText(), "[FAX:recipient_name@phone_number]");
}

TEST_F(frmAgentPropsTest, WithoutAnAgentMessageItShowsTheDefaults) {
    world.session->AgentMsgID = {};
    open();
    EXPECT_TRUE(world.logHas("frmAgentProps: missing agent message"));
    EXPECT_EQ(text("txtDelete"), "60");
    EXPECT_EQ(entries("lstExclude").size(), 39U);
    type("udDeleteDelay", "99");
    world.ui.Expect("The agent's settings can't be saved.\nThe agent message can't be opened.");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(dirty());
}

TEST_F(frmAgentPropsTest, CancelAndEscapeWriteNothing) {
    for (const bool escape : {false, true}) {
        open();
        type("udDeleteDelay", "99");
        EXPECT_TRUE(dirty());
        if (escape)
            QTest::keyClick(form.get(), Qt::Key_Escape);
        else
            press("cmdCancel");
        EXPECT_FALSE(form->isVisible());
    }
    EXPECT_TRUE(key("DeleteDelay").empty());
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(frmAgentPropsTest, WhatWasAppliedStaysAfterCancel) {
    open();
    type("udDeleteDelay", "99");
    press("cmdApply");
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(dirty());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{99}));
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"", "zandrelAgent", 128}));
    type("udDeleteDelay", "100");
    press("cmdCancel");
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{99}));
    EXPECT_EQ(world.services.sent.size(), 1U);
}

TEST_F(frmAgentPropsTest, EnterSavesWhatStandsInTheBox) {
    open();
    type("udDeleteDelay", "2"); // too small, and the box isn't left
    QTest::keyClick(number("udDeleteDelay"), Qt::Key_Return);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{5}));
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"", "zandrelAgent", 128}));
}

TEST_F(frmAgentPropsTest, AFailedSaveKeepsTheDialog) {
    FailingSession failing(world);
    failing.LogOn();
    open(failing.session);
    type("udDeleteDelay", "99");
    failing.store.plan().FailFrom(1);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(dirty());
    ASSERT_EQ(failing.ui.shown.size(), 1U);
    EXPECT_TRUE(failing.ui.shown[0].starts_with("The agent's settings can't be saved.\n"));
    EXPECT_THAT(world.services.sent, IsEmpty());
    failing.store.plan().FailAt(0);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{99}));
}

TEST_F(frmAgentPropsTest, SavesEveryPage) {
    RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "FaxRelay", "relay@fax.test");
    open();
    type("udDeleteDelay", "30");
    click("chkClean");
    type("udAttach", "4");
    type("udList", "50");
    type("udBrowser", "60");
    type("udStaleDate", "12");
    get<QDateTimeEdit>("dtpBackup")->setTime(QTime(1, 30));
    page(1);
    click("chkReporting");
    const auto alice = world.Entry("alice");
    world.ui.ExpectAddressBook(std::vector<PickedRecipient>{{alice->ID(), alice->Name()}});
    press("cmdAdmin");
    EXPECT_EQ(text("txtAdmin"), "Alice Adams");
    world.ui.ExpectAddressBook(std::vector<PickedRecipient>{{alice->ID(), alice->Name()}});
    press("cmdReport");
    page(2);
    world.ui.ExpectInput("a.test");
    press("cmdAddDomain");
    world.ui.ExpectInput("b.test");
    press("cmdAddRefuse");
    world.ui.ExpectInput(".zip");
    press("cmdAddExt");
    page(3);
    world.directory.answers["(objectClass=*)"] = {{{"objectClass", {"domain"}}}};
    world.ui.ExpectInput("c.test");
    world.ui.Expect("");
    press("cmdAddTrusted");
    get<QComboBox>("cboEX0")->setCurrentText("extensionAttribute2");
    page(4);
    get<QComboBox>("cboFax")->setCurrentIndex(kFaxGateway);
    get<QComboBox>("cboSyntax")->setCurrentIndex(3);
    click("chkSendAs");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{30}));
    EXPECT_EQ(key("CleanSender"), Value(true));
    EXPECT_EQ(key("MaxAttach"), Value(int32_t{4}));
    EXPECT_EQ(key("MaxList"), Value(int32_t{50}));
    EXPECT_EQ(key("BrowserWait"), Value(int32_t{60}));
    EXPECT_EQ(key("StaleDate"), Value(int32_t{12}));
    EXPECT_EQ(key("DailyBackup.Disable"), Value(false));
    EXPECT_EQ(key("DailyBackup.Time"), Value(at(2026, 3, 10, 0, 30)));
    EXPECT_EQ(key("Reporting"), Value(true));
    EXPECT_EQ(key("AdminNames"), Value("Alice Adams"));
    EXPECT_EQ(key("AdminEmail"), Value("alice@example.test"));
    EXPECT_EQ(key("ReportEmail"), Value("alice@example.test"));
    EXPECT_EQ(key("SenderDomains"), Value("a.test"));
    EXPECT_EQ(key("RefuseDomains"), Value("b.test"));
    EXPECT_TRUE(key("ExcludeExt").text().ends_with(";wsh;zip"));
    EXPECT_EQ(key("BPE.TrustedDomains"), Value("c.test"));
    EXPECT_EQ(key("CustomAttribute.PIN"), Value("extensionAttribute2"));
    EXPECT_EQ(key("Fax"), Value(int32_t{1}));
    EXPECT_EQ(key("FaxSyntax"), Value("[FAXINAT:phone_number];relay@fax.test"));
    EXPECT_EQ(key("FaxSendAs"), Value(true));
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"", "zandrelAgent", 128}));
}

TEST_F(frmAgentPropsTest, EachControlMakesItDirty) {
    put("SenderDomains", "a.test");
    const std::vector<std::pair<const char*, std::function<void()>>> changes = {
        {"udDeleteDelay", [&] { type("udDeleteDelay", "61"); }},
        {"udAttach", [&] { type("udAttach", "6"); }},
        {"udList", [&] { type("udList", "26"); }},
        {"udBrowser", [&] { type("udBrowser", "7"); }},
        {"udStaleDate", [&] { type("udStaleDate", "3"); }},
        {"chkClean", [&] { get<QCheckBox>("chkClean")->toggle(); }},
        {"optBackup1", [&] { get<QRadioButton>("optBackup1")->click(); }},
        {"dtpBackup", [&] { get<QDateTimeEdit>("dtpBackup")->stepBy(1); }},
        {"chkReporting", [&] { get<QCheckBox>("chkReporting")->toggle(); }},
        {"lstDomains",
         [&] {
             get<QListWidget>("lstDomains")->setCurrentRow(0);
             get<QPushButton>("cmdDeleteDomain")->click();
         }},
        {"cboEX4", [&] { get<QComboBox>("cboEX4")->setCurrentIndex(1); }},
        {"cboFax", [&] { get<QComboBox>("cboFax")->setCurrentIndex(3); }},
        {"cboSyntax", [&] { get<QComboBox>("cboSyntax")->setCurrentIndex(1); }},
        {"chkSendAs", [&] { get<QCheckBox>("chkSendAs")->toggle(); }},
    };
    for (const auto& [name, change] : changes) {
        open();
        EXPECT_FALSE(dirty()) << name;
        change();
        EXPECT_TRUE(dirty()) << name;
    }
}

} // namespace
