#include "eps/forms/frmEPSNow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QGroupBox>
#include <QListWidget>
#include <QRadioButton>
#include <QTest>

#include "eps/forms/MakeEpsForms.h"
#include "eps/forms/frmEPSAdvanced.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/eps/EpsNowTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;
using Texts = std::vector<std::string>;

constexpr const char* kNoTargets = "You must select at least on address when choosing \n"
                                   "the option to target only specific mailboxes!";

class frmEPSNowTest : public EpsNowTest {
protected:
    void open() {
        form = std::make_unique<frmEPSNow>(session(), id);
        ASSERT_TRUE(form->loaded());
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class W>
    W* get(const char* name) {
        return control<W>(form.get(), name);
    }
    bool on(const char* name) { return get<QWidget>(name)->isEnabled(); }
    bool ticked(const char* name) { return get<QAbstractButton>(name)->isChecked(); }
    void tick(const char* name) {
        auto* box = get<QAbstractButton>(name);
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    }
    void press(const char* name) { QTest::mouseClick(get<QPushButton>(name), Qt::LeftButton); }
    Texts targets() {
        Texts all;
        auto* list = get<QListWidget>("lstTargets");
        for (int i = 0; i < list->count(); ++i)
            all.push_back(ToUtf8(list->item(i)->text()));
        return all;
    }
    PickedRecipient picked(const char* name) {
        const auto entry = world.Entry(name);
        return {entry->ID(), entry->Name()};
    }

    std::unique_ptr<frmEPSNow> form;
};

TEST_F(frmEPSNowTest, BeginsWithAPlainRun) {
    put("EPS.ReportOnly", true);
    put("EPS.OnDemand.RemoveObsolete", "1");
    put("EPS.OnDemand.UseTargetList", true);
    open();
    EXPECT_EQ(form->windowTitle(), "EPS - On Demand");
    EXPECT_FALSE(ticked("chkSpecial"));
    EXPECT_EQ(form->focusWidget(), get<QWidget>("chkSpecial"));
    for (const QWidget* each : form->findChildren<QWidget*>())
        if (each->focusPolicy() != Qt::NoFocus && each->objectName().size() > 3 &&
            !each->objectName().startsWith("qt_"))
            EXPECT_EQ(
                each->isEnabled(),
                QStringList({"chkSpecial", "cmdOK", "cmdCancel"}).contains(each->objectName()))
                << each->objectName().toStdString();
}

TEST_F(frmEPSNowTest, HasItsCaptions) {
    open();
    const std::vector<std::pair<const char*, const char*>> captions = {
        {"chkSpecial", "Use s&pecial settings for this EPS run"},
        {"chkReference", "Read data from cac&hed Reference files (don't refetch)"},
        {"chkObsolete", "Override handling &obsolete Mandatory Contacts"},
        {"chkValidate", "Remo&ve obsolete Mandatory Contacts"},
        {"chkUpdate", "Override &Update Notifications"},
        {"chkNotification", "Se&nd notification of all contact updates"},
        {"chkTargets", "&Target only specific mailbox(es)"},
        {"chkNoSummary", "Send summar&y report"},
        {"chkReportOnly", "Re&port Only - do not update user contacts"},
        {"chkReportToAdmin", "Send update notifications to ad&min"},
        {"chkReportToUser", "Send update notifications to us&er"},
        {"optMove0", "Al&ways"},
        {"optMove1", "E&xcept if restored"},
        {"optMove2", "Use Glo&bal Setting"},
        {"optMove3", "Ne&ver"},
        {"cmdTarget", "&Select..."},
        {"cmdAdvanced", "&Advanced"},
        {"cmdOK", "&Run Now"}};
    for (const auto& [name, caption] : captions)
        EXPECT_EQ(get<QAbstractButton>(name)->text(), caption) << name;
    EXPECT_EQ(get<QGroupBox>("fraMove")->title(), "Move Mandatory Contacts to Subfolder");
    EXPECT_TRUE(ticked("optMove2"));
    auto* full = get<QComboBox>("cboFull");
    EXPECT_EQ(full->count(), 2);
    EXPECT_EQ(full->itemText(0), "Full");
    EXPECT_EQ(full->itemText(1), "Incremental");
}

TEST_F(frmEPSNowTest, TheBoxesEnableWhatTheyRule) {
    open();
    tick("chkSpecial");
    EXPECT_FALSE(on("chkReportToAdmin"));
    EXPECT_FALSE(on("chkReportToUser"));
    tick("chkReportOnly");
    EXPECT_TRUE(on("chkReportToAdmin"));
    EXPECT_TRUE(on("chkReportToUser"));
    EXPECT_FALSE(on("chkValidate"));
    tick("chkObsolete");
    EXPECT_TRUE(on("chkValidate"));
    EXPECT_FALSE(on("chkNotification"));
    tick("chkUpdate");
    EXPECT_TRUE(on("chkNotification"));
    EXPECT_FALSE(on("cmdTarget"));
    EXPECT_FALSE(on("lstTargets"));
    tick("chkTargets");
    EXPECT_TRUE(on("cmdTarget"));
    EXPECT_TRUE(on("lstTargets"));
    for (const char* name : {"cboFull", "chkReference", "chkNoSummary", "optMove0"})
        EXPECT_TRUE(on(name)) << name;
    tick("chkSpecial");
    for (const char* name : {"chkReportToAdmin", "chkValidate", "chkNotification", "cmdTarget",
                             "lstTargets", "chkReference", "cboFull", "optMove0"})
        EXPECT_FALSE(on(name)) << name;
}

TEST_F(frmEPSNowTest, AdvancedIsForAFullUpdateOnly) {
    open();
    tick("chkSpecial");
    EXPECT_EQ(get<QComboBox>("cboFull")->currentText(), "Incremental");
    EXPECT_FALSE(on("cmdAdvanced"));
    get<QComboBox>("cboFull")->setCurrentIndex(0);
    EXPECT_TRUE(on("cmdAdvanced"));
    get<QComboBox>("cboFull")->setCurrentIndex(1);
    EXPECT_FALSE(on("cmdAdvanced"));
}

TEST_F(frmEPSNowTest, ShowsWhatTheLastSpecialRunLeft) {
    put("EPS.OnDemand.UseCachedData", true);
    put("EPS.OnDemand.FullUpdate", true);
    put("EPS.OnDemand.RemoveObsolete", "1");
    put("EPS.OnDemand.SendUpdates", "0");
    put("EPS.OnDemand.UseTargetList", true);
    put("EPS.OnDemand.TargetList", "alice@example.test;bob@example.test");
    put("EPS.OnDemand.TargetNames", "Alice Adams;Bob Baker");
    put("EPS.OnDemand.NoSummary", true);
    put("EPS.ReportOnly", true);
    put("EPS.ReportOnly.Admin", true);
    open();
    for (const char* name : {"chkReference", "chkObsolete", "chkValidate", "chkUpdate",
                             "chkTargets", "chkReportOnly", "chkReportToAdmin"})
        EXPECT_TRUE(ticked(name)) << name;
    for (const char* name : {"chkSpecial", "chkNotification", "chkNoSummary", "chkReportToUser"})
        EXPECT_FALSE(ticked(name)) << name;
    EXPECT_EQ(get<QComboBox>("cboFull")->currentText(), "Full");
    EXPECT_EQ(targets(), (Texts{"Alice Adams", "Bob Baker"}));
    tick("chkSpecial");
    for (const char* name :
         {"chkValidate", "chkNotification", "chkReportToUser", "cmdTarget", "cmdAdvanced"})
        EXPECT_TRUE(on(name)) << name;
}

TEST_F(frmEPSNowTest, APlainRunGivesItsCodeAndWritesNothing) {
    open();
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->code(), 200);
    EXPECT_TRUE(untouched());
}

TEST_F(frmEPSNowTest, ASpecialRunSavesEachControl) {
    open();
    tick("chkSpecial");
    const std::vector<std::pair<const char*, const char*>> boxes = {
        {"chkReference", "EPS.OnDemand.UseCachedData"},
        {"chkReportOnly", "EPS.ReportOnly"},
        {"chkReportToAdmin", "EPS.ReportOnly.Admin"}};
    for (const auto& [box, name] : boxes)
        tick(box);
    tick("chkObsolete");
    tick("chkUpdate");
    tick("chkNotification");
    tick("optMove0");
    press("cmdOK");
    EXPECT_EQ(form->code(), 199);
    EXPECT_FALSE(form->isVisible());
    for (const auto& [box, name] : boxes)
        EXPECT_EQ(key(name), Value(true)) << name;
    EXPECT_EQ(key("EPS.ReportOnly.User"), Value(false));
    EXPECT_EQ(key("EPS.OnDemand.FullUpdate"), Value(false));
    EXPECT_EQ(key("EPS.OnDemand.RemoveObsolete"), Value("0"));
    EXPECT_EQ(key("EPS.OnDemand.SendUpdates"), Value("1"));
    EXPECT_EQ(key("EPS.OnDemand.NoSummary"), Value(false)); // the box is ticked
    EXPECT_EQ(key("EPS.OnDemand.UseTargetList"), Value(false));
    EXPECT_EQ(key("EPS.OnDemand.TargetList"), Value(""));
    EXPECT_EQ(key("EPS.OnDemand.MergeEmailDupes"), Value(false));
}

TEST_F(frmEPSNowTest, AnOverrideThatIsTakenBackIsAnEmptyText) {
    put("EPS.OnDemand.RemoveObsolete", "1");
    open();
    tick("chkSpecial");
    tick("chkObsolete"); // its choice stays ticked
    EXPECT_TRUE(ticked("chkValidate"));
    tick("chkNoSummary");
    press("cmdOK");
    EXPECT_EQ(key("EPS.OnDemand.RemoveObsolete"), Value(""));
    EXPECT_EQ(key("EPS.OnDemand.NoSummary"), Value(true));
}

TEST_F(frmEPSNowTest, PicksTheTargets) {
    open();
    tick("chkSpecial");
    tick("chkTargets");
    world.ui.ExpectAddressBook(std::vector{picked("alice"), picked("bob")});
    press("cmdTarget");
    EXPECT_EQ(targets(), (Texts{"Alice Adams", "Bob Baker"}));
    world.ui.ExpectAddressBook(std::nullopt); // cancelled
    press("cmdTarget");
    EXPECT_EQ(targets(), (Texts{"Alice Adams", "Bob Baker"}));
    EXPECT_EQ(world.ui.preselected().back().size(), 2U);
    press("cmdOK");
    EXPECT_EQ(form->code(), 199);
    EXPECT_EQ(key("EPS.OnDemand.TargetList"), Value("alice@example.test;bob@example.test"));
    EXPECT_EQ(key("EPS.OnDemand.TargetNames"), Value("Alice Adams;Bob Baker"));
}

TEST_F(frmEPSNowTest, StoredTargetsArePreselected) {
    put("EPS.OnDemand.UseTargetList", true);
    put("EPS.OnDemand.TargetList", "bob@example.test");
    put("EPS.OnDemand.TargetNames", "Bob Baker");
    open();
    tick("chkSpecial");
    world.ui.ExpectAddressBook(std::vector{picked("obrien")});
    press("cmdTarget");
    ASSERT_EQ(world.ui.preselected().back().size(), 1U);
    EXPECT_EQ(world.ui.preselected().back()[0].name, "Bob Baker");
    EXPECT_EQ(targets(), Texts{"Séan O'Brien"});
}

TEST_F(frmEPSNowTest, NoTargetsKeepTheDialogAndLeadToTheirButton) {
    open();
    tick("chkSpecial");
    tick("chkTargets");
    world.ui.Expect(kNoTargets);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->code(), 0);
    EXPECT_EQ(form->focusWidget(), get<QWidget>("cmdTarget"));
    EXPECT_TRUE(untouched());
    tick("chkSpecial"); // without its settings it may run
    press("cmdOK");
    EXPECT_EQ(form->code(), 200);
}

TEST_F(frmEPSNowTest, CancelAndEscapeRunNothing) {
    for (const bool key : {false, true}) {
        open();
        tick("chkSpecial");
        tick("chkReference");
        if (key)
            QTest::keyClick(form.get(), Qt::Key_Escape);
        else
            press("cmdCancel");
        EXPECT_FALSE(form->isVisible());
        EXPECT_EQ(form->code(), 0);
        EXPECT_TRUE(untouched());
    }
}

TEST_F(frmEPSNowTest, AFailedSaveKeepsTheDialog) {
    open();
    tick("chkSpecial");
    host()->Delete();
    world.ui.Expect("");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->code(), 0);
}

TEST_F(frmEPSNowTest, EnterRunsAndAltKeysTick) {
    open();
    QTest::keyClick(form.get(), Qt::Key_P, Qt::AltModifier);
    // the button stays down for a moment
    ASSERT_TRUE(QTest::qWaitFor([this] { return ticked("chkSpecial"); }));
    QTest::keyClick(form.get(), Qt::Key_H, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([this] { return ticked("chkReference"); }));
    QTest::keyClick(form.get(), Qt::Key_F, Qt::AltModifier);
    EXPECT_EQ(form->focusWidget(), get<QWidget>("cboFull"));
    get<QWidget>("chkReference")->setFocus();
    QTest::keyClick(form->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(form->code(), 199);
    EXPECT_EQ(key("EPS.OnDemand.UseCachedData"), Value(true));
}

// --- frmEPSAdvanced

TEST_F(frmEPSNowTest, AdvancedSettingsAreSavedWithTheOthers) {
    open();
    tick("chkSpecial");
    get<QComboBox>("cboFull")->setCurrentIndex(0);
    whenModal("frmEPSAdvanced", [](QWidget* shown) {
        EXPECT_EQ(shown->windowTitle(), "EPS - Advanced Settings");
        EXPECT_EQ(control<QLabel>(shown, "lblOnDemand")->text(), "When EPS runs on demand:");
        auto* merge = control<QCheckBox>(shown, "chkMergeEmailDupes");
        EXPECT_EQ(merge->text(), "Merge duplicate email addresses on target contacts (this "
                                 "procedure only runs during a Full update)");
        EXPECT_FALSE(merge->isChecked());
        merge->click();
        QTest::mouseClick(control<QPushButton>(shown, "cmdOK"), Qt::LeftButton);
    });
    press("cmdAdvanced");
    EXPECT_TRUE(untouched());
    whenModal("frmEPSAdvanced", [](QWidget* shown) {
        auto* merge = control<QCheckBox>(shown, "chkMergeEmailDupes");
        EXPECT_TRUE(merge->isChecked());
        merge->click();
        QTest::mouseClick(control<QPushButton>(shown, "cmdCancel"), Qt::LeftButton);
    });
    press("cmdAdvanced");
    press("cmdOK");
    EXPECT_EQ(key("EPS.OnDemand.MergeEmailDupes"), Value(true));
    EXPECT_EQ(key("EPS.OnDemand.FullUpdate"), Value(true));
}

TEST_F(frmEPSNowTest, AnIncrementalRunKeepsTheAdvancedChoice) {
    put("EPS.OnDemand.MergeEmailDupes", true);
    open();
    tick("chkSpecial");
    press("cmdOK");
    EXPECT_EQ(key("EPS.OnDemand.MergeEmailDupes"), Value(true));
}

// --- as the menu asks for it

TEST_F(frmEPSNowTest, GivesTheCodeToTheMenu) {
    const auto ask = MakeEPSNow(session(), [] { return nullptr; });
    whenModal("frmEPSNow", [](QWidget* shown) {
        QTest::mouseClick(control<QPushButton>(shown, "cmdOK"), Qt::LeftButton);
    });
    EXPECT_EQ(ask(id), 200);
    whenModal("frmEPSNow", [](QWidget* shown) { shown->close(); });
    EXPECT_EQ(ask(id), 0);
    host()->Delete();
    world.ui.Expect("The server's record can't be opened.");
    EXPECT_EQ(ask(id), 0);
}

} // namespace
