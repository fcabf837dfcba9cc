#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QSplitter>
#include <QStackedWidget>
#include <QTest>
#include <QTreeView>

#include "console/forms/ListAdapter.h"
#include "console/forms/ReportView.h"
#include "console/forms/TreeAdapter.h"
#include "console/forms/frmFleetMain.h"
#include "console/kinds/FixedKinds.h"
#include "core/Settings.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

/// Loads rows of one kind, and remembers what was done with them.
class RowsKind : public NodeKind {
public:
    RowsKind(std::string tag, std::string rowTag, std::vector<std::string> texts)
        : NodeKind(std::move(tag)), m_rowTag(std::move(rowTag)), m_texts(std::move(texts)) {}
    int loads = 0;
    std::function<void()> during;
    void Load(Console& console, TreeNode&) override {
        ++loads;
        console.LoadList({"Loading lists, please wait...",
                          "loading lists",
                          {{"Name", ""}, {"Est. Targets", "inttarget"}, {"", "sortorder"}},
                          "1 list",
                          " lists",
                          [this](Console& c) {
                              int count = 0;
                              for (const std::string& text : m_texts) {
                                  ListRow row;
                                  row.key = "key-" + text;
                                  row.tag = m_rowTag;
                                  row.icon = "imgDL";
                                  row.texts = {text, std::to_string(++count * 7)};
                                  c.AddRow(row);
                              }
                              if (during)
                                  during();
                              return std::string();
                          }});
    }

private:
    std::string m_rowTag;
    std::vector<std::string> m_texts;
};

class DeletableRow : public NodeKind {
public:
    using NodeKind::NodeKind;
    std::string_view DeleteCommand() const override { return "mnuMclDelete"; }
};

class frmFleetMainTest : public ::testing::Test {
protected:
    frmFleetMainTest() {
        world.LogOnConfigured();
        world.session->agentName = "Agent Mailbox";
    }
    void open() {
        form = std::make_unique<frmFleetMain>(*world.session);
        RegisterFixedKinds(console());
        auto lists = std::make_unique<RowsKind>("mclf", "mcl",
                                                std::vector<std::string>{"beta", "alpha", "gamma"});
        kind = lists.get();
        console().RegisterKind(std::move(lists));
        console().RegisterKind(std::make_unique<DeletableRow>("mcl"));
        for (const char* name : {"mnuMclDelete", "mnuActionmnuProps", "mnuSubmnuBackupAll",
                                 "mnuActionmnuFind", "mnuRegFindHandheld"})
            console().RegisterCommand(name, [this, name](Console&) { heard << name; });
        form->Form_Load();
        console().LoadTreeRoot();
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(form.get()));
        form->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    void SetUp() override { open(); }

    Console& console() { return form->console(); }
    template <class W>
    W* find(const char* name) {
        return form->findChild<W*>(name);
    }
    QAction* entry(const char* name) { return form->findChild<QAction*>(name); }
    QTreeView* tree() { return find<QTreeView>("tvMain"); }
    QTreeView* list() { return find<QTreeView>("lvMain"); }
    QModelIndex node(const char* key) {
        auto* model = static_cast<TreeAdapter*>(tree()->model());
        return model->indexOf(*console().tree().Find(key));
    }
    void clickNode(const char* key) {
        tree()->scrollTo(node(key));
        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {},
                          tree()->visualRect(node(key)).center());
        QCoreApplication::processEvents();
    }
    QPoint rowPoint(int row) { return list()->visualRect(list()->model()->index(row, 0)).center(); }
    void clickRow(int row, Qt::KeyboardModifiers keys = {}) {
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, keys, rowPoint(row));
        QCoreApplication::processEvents();
    }
    /// Texts of the entries that the open context menu shows; closes it.
    QStringList contextMenu() {
        QStringList texts;
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return {"no menu"};
        for (const QAction* action : menu->actions())
            if (action->isVisible() && !action->isSeparator())
                texts << action->text();
        menu->close();
        return texts;
    }
    /// What a system sends when the right button was pressed and let go.
    void rightClick(QWidget* viewport, QPoint at) {
        QTest::mouseClick(viewport, Qt::RightButton, {}, at);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
        QApplication::sendEvent(viewport, &event);
    }
    QStringList column0() {
        QStringList texts;
        for (int i = 0; i < list()->model()->rowCount(); ++i)
            texts << list()->model()->index(i, 0).data().toString();
        return texts;
    }
    QString status() { return find<QLabel>("panel1")->text(); }
    double number(const char* name) { return NumberSetting(*world.registry, name); }

    World world;
    std::unique_ptr<frmFleetMain> form;
    RowsKind* kind = nullptr;
    QStringList heard;
};

TEST_F(frmFleetMainTest, TitleMenusAndNames) {
    EXPECT_EQ(form->windowTitle(), "zandrelAgent Administrator");
    QStringList tops;
    for (const QAction* action : form->menuBar()->actions())
        tops << action->text();
    EXPECT_EQ(tops, (QStringList{"&Action", "&View", "&Help"}));
    QStringList view;
    for (const QAction* action : find<QMenu>("mnuView")->actions())
        view << action->text();
    EXPECT_EQ(view.mid(0, 6), (QStringList{"Lar&ge Icons", "S&mall Icons", "&List", "&Details",
                                           "&Quick Load", "&Refresh"}));
    QStringList help;
    for (const QAction* action : find<QMenu>("mnuHelp")->actions())
        help << action->text();
    EXPECT_EQ(help, (QStringList{"Contact Support", "Check for Updates",
                                 "About zandrelAgent Administrator"}));
    EXPECT_FALSE(tree()->accessibleName().isEmpty());
    EXPECT_FALSE(list()->accessibleName().isEmpty());
    EXPECT_TRUE(find<QProgressBar>("ProgressBar1")->isHidden());
}

TEST_F(frmFleetMainTest, AClickLoadsTheNodesList) {
    EXPECT_TRUE(tree()->isExpanded(node("agent")));
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    EXPECT_EQ(kind->loads, 1);
    EXPECT_EQ(find<QLabel>("lblTitle")->text(), "Mandatory Contacts ");
    EXPECT_EQ(column0(), (QStringList{"alpha", "beta", "gamma"}));
    EXPECT_EQ(status(), "3 lists");
    EXPECT_TRUE(list()->isColumnHidden(2));
    clickNode("mclf");
    EXPECT_EQ(kind->loads, 1);
}

TEST_F(frmFleetMainTest, ArrowKeysWalkTheTree) {
    tree()->expand(node("epsroot"));
    tree()->setFocus();
    clickNode("mbl-eps");
    QTest::keyClick(tree(), Qt::Key_Down);
    QCoreApplication::processEvents();
    EXPECT_EQ(console().CurrentTag(), "mclf");
    EXPECT_EQ(kind->loads, 1);
}

TEST_F(frmFleetMainTest, ExpandingTheDummyAsksTheKind) {
    ASSERT_EQ(tree()->model()->rowCount(node("besconnectorroot")), 1);
    tree()->expand(node("besconnectorroot"));
    EXPECT_EQ(tree()->model()->rowCount(node("besconnectorroot")), 0);
}

TEST_F(frmFleetMainTest, AnAmpersandShowsInTheTitle) {
    console().tree().Add("acfroot", "rd", "acf", "R & D", "imgContact");
    tree()->expand(node("epsroot"));
    tree()->expand(node("acfroot"));
    clickNode("rd");
    EXPECT_EQ(find<QLabel>("lblTitle")->text(), "R && D ");
    // it is as wide as a label without mnemonics that shows one ampersand
    QLabel plain("R & D ");
    plain.setTextFormat(Qt::PlainText);
    plain.setFont(find<QLabel>("lblTitle")->font());
    plain.setMargin(find<QLabel>("lblTitle")->margin());
    EXPECT_EQ(find<QLabel>("lblTitle")->sizeHint().width(), plain.sizeHint().width());
}

TEST_F(frmFleetMainTest, KeysRunTheirCommands) {
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClick(tree(), Qt::Key_B, Qt::ControlModifier);
    EXPECT_EQ(heard, (QStringList{"mnuActionmnuFind", "mnuSubmnuBackupAll"}));
    heard.clear();
    tree()->expand(node("mgmt"));
    clickNode("reg");
    list()->setFocus();
    QTest::keyClick(list(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(heard, QStringList{"mnuRegFindHandheld"});
}

TEST_F(frmFleetMainTest, F5RefreshesWhateverElseIsHeld) {
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    QTest::keyClick(form.get(), Qt::Key_F5);
    EXPECT_EQ(kind->loads, 2);
    QTest::keyClick(list(), Qt::Key_F5, Qt::ShiftModifier);
    EXPECT_EQ(kind->loads, 3);
    EXPECT_EQ(tree()->currentIndex(), node("mclf"));
    EXPECT_TRUE(world.logHas("RefreshView: saving state; Tag = mclf; Key = mclf"));
}

TEST_F(frmFleetMainTest, DeleteKeyGoesToTheRows) {
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    clickRow(1);
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_Delete);
    EXPECT_TRUE(heard.isEmpty()) << "the node has no delete command";
    list()->setFocus();
    QTest::keyClick(list(), Qt::Key_Delete);
    EXPECT_EQ(heard, QStringList{"mnuMclDelete"});
}

TEST_F(frmFleetMainTest, ContextMenuOfARowAndOfTheEmptyList) {
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    rightClick(list()->viewport(), rowPoint(0));
    EXPECT_EQ(contextMenu(),
              (QStringList{"Add MCL (Target is User Mailbox)", "Add MCL (Target is Public Folder)",
                           "Delete MCL", "Make PIN Distribution List",
                           "Remove PIN Distribution List", "Make Inactive", "Properties"}));
    EXPECT_EQ(find<QMenu>("mnuSub")->defaultAction(), entry("mnuActionmnuProps"));
    rightClick(list()->viewport(), list()->viewport()->rect().bottomLeft() - QPoint(-5, 5));
    EXPECT_EQ(contextMenu(), (QStringList{"Set Folder Path", "Add MCL (Target is User Mailbox)",
                                          "Add MCL (Target is Public Folder)", "Properties"}));
    EXPECT_TRUE(list()->selectionModel()->selection().isEmpty());
}

TEST_F(frmFleetMainTest, ContextMenuOfANodeByMouseAndKeys) {
    const QStringList agent{"Connect to mailbox",
                            "Backup Configuration",
                            "Restore Configuration",
                            "Backup Mandatory Contact Lists",
                            "Restore Mandatory Contact Lists",
                            "Backup All",
                            "Proxy Configuration",
                            "Properties"};
    rightClick(tree()->viewport(), tree()->visualRect(node("agent")).center());
    EXPECT_EQ(contextMenu(), agent);
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(contextMenu(), agent);
    QTest::keyClick(tree(), Qt::Key_Menu);
    EXPECT_EQ(contextMenu(), agent);
    rightClick(tree()->viewport(), tree()->visualRect(node("langroot")).center());
    EXPECT_EQ(contextMenu(), (QStringList{"Add Language Pack", "Properties"}));
    EXPECT_EQ(console().CurrentTag(), "langroot");
    EXPECT_EQ(find<QMenu>("mnuSub")->defaultAction(), nullptr) << "nothing to choose there";
}

TEST_F(frmFleetMainTest, ContextEntriesStandInTheActionMenuToo) {
    clickNode("langroot");
    QStringList texts;
    for (const QAction* action : find<QMenu>("mnuAction")->actions())
        if (action->isVisible() && !action->isSeparator())
            texts << action->objectName();
    EXPECT_TRUE(texts.contains("mnuLanguageAdd"));
    EXPECT_FALSE(texts.contains("mnuProxy"));
    EXPECT_EQ(texts.front(), "mnuActionmnuConnect");
    EXPECT_EQ(texts.back(), "mnuActionmnuExit");
}

TEST_F(frmFleetMainTest, EntriesWithoutCommandSaySo) {
    clickNode("langroot");
    entry("mnuLanguageAdd")->trigger();
    EXPECT_EQ(status(), "This feature is not there yet.");
}

TEST_F(frmFleetMainTest, DoubleClickAndEnterActivate) {
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    clickRow(0);
    QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {}, rowPoint(0));
    QCoreApplication::processEvents();
    EXPECT_EQ(heard, QStringList{"mnuActionmnuProps"});
    list()->setFocus();
    QTest::keyClick(list(), Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(heard.size(), 2);
}

TEST_F(frmFleetMainTest, HeaderClickSortsAndKeepsTheSelection) {
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    clickRow(0);
    QHeaderView* header = list()->header();
    const auto click = [&](int section) {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(section) + 10, 5));
    };
    click(0);
    EXPECT_EQ(column0(), (QStringList{"gamma", "beta", "alpha"}));
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::DescendingOrder);
    EXPECT_EQ(list()->currentIndex().data().toString(), "alpha");
    click(1);
    EXPECT_EQ(column0(), (QStringList{"beta", "alpha", "gamma"}));
    EXPECT_EQ(header->sortIndicatorSection(), 1);
    EXPECT_EQ(form->SelectedRows(), std::vector<size_t>{1});
}

TEST_F(frmFleetMainTest, ViewModesShareTheSelection) {
    tree()->expand(node("epsroot"));
    clickNode("mclf");
    clickRow(2);
    auto* stack = find<QStackedWidget>("stkMain");
    auto* icons = find<QListView>("lvMainIcons");
    EXPECT_TRUE(entry("mnuListViewMode(3)")->isChecked());
    entry("mnuListViewMode(0)")->trigger();
    EXPECT_EQ(stack->currentWidget(), icons);
    EXPECT_EQ(icons->viewMode(), QListView::IconMode);
    EXPECT_TRUE(entry("mnuListViewMode(0)")->isChecked());
    EXPECT_FALSE(entry("mnuListViewMode(3)")->isChecked());
    EXPECT_EQ(form->SelectedRows(), std::vector<size_t>{2});
    QTest::mouseClick(icons->viewport(), Qt::LeftButton, {},
                      icons->visualRect(icons->model()->index(0, 0)).center());
    EXPECT_EQ(form->SelectedRows(), std::vector<size_t>{0});
    entry("mnuListViewMode(2)")->trigger();
    EXPECT_EQ(icons->viewMode(), QListView::ListMode);
    entry("mnuListViewMode(3)")->trigger();
    EXPECT_EQ(stack->currentWidget(), list());
}

TEST_F(frmFleetMainTest, ReportReplacesTheList) {
    auto* stack = find<QStackedWidget>("stkMain");
    clickNode("bsrroot");
    EXPECT_EQ(stack->currentWidget(), find<ReportView>("wb1"));
    form->ShowReport("<h1>BES</h1>");
    EXPECT_EQ(find<ReportView>("wb1")->toPlainText(), "BES");
    entry("mnuListViewMode(1)")->trigger();
    EXPECT_EQ(stack->currentWidget(), find<ReportView>("wb1"));
    clickNode("langroot");
    EXPECT_EQ(stack->currentWidget(), find<QListView>("lvMainIcons"));
}

TEST_F(frmFleetMainTest, QuickLoadIsACheckMark) {
    EXPECT_FALSE(entry("mnuViewQuick")->isChecked());
    entry("mnuViewQuick")->trigger();
    EXPECT_TRUE(entry("mnuViewQuick")->isChecked());
    EXPECT_TRUE(world.session->quickLoad);
}

TEST_F(frmFleetMainTest, SettingsMakeTwoEntriesVisible) {
    EXPECT_FALSE(entry("mnuActionmnuDelete")->isVisible());
    EXPECT_FALSE(entry("mnuActionmnuLoad")->isVisible());
    RegValue on;
    on.type = RegType::Dword;
    on.number = 1;
    world.registry->Write(Hive::CurrentUser, kSettingsKey, "DeleteUsers", on);
    form->Form_Load();
    EXPECT_TRUE(entry("mnuActionmnuDelete")->isVisible());
    EXPECT_FALSE(entry("mnuActionmnuLoad")->isVisible());
}

TEST_F(frmFleetMainTest, CloseWritesTheSettingsAndTheNextStartHasThem) {
    form->resize(800, 500);
    find<QSplitter>("imgSplitter")->setSizes({300, 500});
    entry("mnuListViewMode(2)")->trigger();
    entry("mnuViewQuick")->trigger();
    world.session->ExServer = "MAIL01";
    const int left = find<QSplitter>("imgSplitter")->sizes().at(0);
    ASSERT_TRUE(form->close());
    EXPECT_EQ(number("MainWidth"), 800 * 15);
    EXPECT_EQ(number("MainHeight"), 500 * 15);
    EXPECT_EQ(number("SplitterLeft"), left * 15);
    EXPECT_EQ(number("ViewMode"), 2);
    EXPECT_TRUE(BooleanSetting(*world.registry, "QuickLoad"));
    EXPECT_EQ(TextSetting(*world.registry, "ExServer"), "MAIL01");
    EXPECT_EQ(world.session->rdo, nullptr);

    form.reset();
    world.LogOn();
    world.session->agentInfo =
        world.session->rdo->Stores().DefaultStore()->RootFolder()->Folders()->Item(
            "zandrelAgentInfo");
    open();
    EXPECT_EQ(form->size(), QSize(800, 500));
    EXPECT_NEAR(find<QSplitter>("imgSplitter")->sizes().at(0), left, 2);
    EXPECT_TRUE(entry("mnuListViewMode(2)")->isChecked());
    EXPECT_TRUE(entry("mnuViewQuick")->isChecked());
}

TEST_F(frmFleetMainTest, ClosedWhileMinimisedThePlaceStays) {
    form->resize(800, 500);
    form->SaveSettings();
    form->resize(600, 400);
    form->showMinimized();
    QCoreApplication::processEvents();
    entry("mnuListViewMode(1)")->trigger();
    ASSERT_TRUE(form->close());
    EXPECT_EQ(number("MainWidth"), 800 * 15);
    EXPECT_EQ(number("ViewMode"), 1);
}

TEST_F(frmFleetMainTest, NeverNarrowerThan3000Twips) {
    form->resize(50, 300);
    EXPECT_GE(form->width(), 200);
}

TEST_F(frmFleetMainTest, ATooFarPlaceComesOntoTheScreen) {
    SaveSetting(*world.registry, "MainLeft", 900000.0);
    SaveSetting(*world.registry, "MainTop", -900000.0);
    form->Form_Load();
    EXPECT_TRUE(form->screen()->availableGeometry().contains(form->geometry()));
}

TEST_F(frmFleetMainTest, ExitCloses) {
    entry("mnuActionmnuExit")->trigger();
    EXPECT_TRUE(form->isHidden());
}

TEST_F(frmFleetMainTest, ClosingDuringALoadWaitsForItsEnd) {
    tree()->expand(node("epsroot"));
    bool overtaken = false;
    kind->during = [&] {
        EXPECT_FALSE(form->close());
        EXPECT_NE(world.session->rdo, nullptr) << "the load still works with the session";
        overtaken = console().LoadOvertaken();
    };
    clickNode("mclf");
    EXPECT_TRUE(overtaken);
    EXPECT_TRUE(QTest::qWaitFor([&] { return form->isHidden(); }, 2000));
    EXPECT_EQ(world.session->rdo, nullptr);
}

TEST_F(frmFleetMainTest, FormsAreShownByName) {
    EXPECT_FALSE(form->ShowForm("frmAbout"));
    int shown = 0;
    form->RegisterForm("frmAbout", [&](QWidget* parent) {
        ++shown;
        EXPECT_EQ(parent, form.get());
    });
    entry("mnuHelpAbout")->trigger();
    EXPECT_EQ(shown, 1);
}

TEST_F(frmFleetMainTest, DiagnosticsAskFirst) {
    world.ui.Expect("Do you want to run logon diagnostics?", BoxAnswer::No);
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_F1, Qt::ControlModifier);
    ASSERT_EQ(world.ui.boxes().size(), 1U);
    EXPECT_TRUE(world.shell.files.empty());
}

TEST_F(frmFleetMainTest, ProgressShowsOnlyWhileThereIsOne) {
    auto* bar = find<QProgressBar>("ProgressBar1");
    form->SetProgress(50, 200);
    EXPECT_TRUE(bar->isVisible());
    EXPECT_EQ(bar->value() * 4, bar->maximum());
    form->SetProgress(5'000'000'000, 10'000'000'000);
    EXPECT_EQ(bar->value() * 2, bar->maximum());
    form->SetProgress(0, 0);
    EXPECT_TRUE(bar->isHidden());
}

TEST_F(frmFleetMainTest, ThemesAreChosenAndKept) {
    const QPalette before = QApplication::palette();
    entry("mnuViewTheme(2)")->trigger();
    EXPECT_TRUE(IsDark(QApplication::palette()));
    EXPECT_EQ(Theme::Read(*world.registry), ThemeMode::Dark);
    EXPECT_TRUE(entry("mnuViewTheme(2)")->isChecked());
    entry("mnuViewTheme(1)")->trigger();
    EXPECT_FALSE(IsDark(QApplication::palette()));
    QApplication::setPalette(before);
}

TEST_F(frmFleetMainTest, LanguagesBelowAnEntry) {
    form->SetSubEntries("mnuSSULanguage", {{"mnuSSULanguagePack(1033)", "English"},
                                           {"mnuSSULanguagePack(1031)", "German"}});
    console().RegisterCommand("mnuSSULanguagePack(1031)", [&](Console&) { heard << "German"; });
    entry("mnuSSULanguagePack(1031)")->trigger();
    EXPECT_EQ(heard, QStringList{"German"});
    form->SetSubEntries("mnuSSULanguage", {});
    EXPECT_EQ(entry("mnuSSULanguagePack(1031)"), nullptr);
}

class FirstLogonTest : public frmFleetMainTest {
protected:
    void SetUp() override {
        frmFleetMainTest::SetUp();
        for (const char* name : {"frmLogon", "frmFirstRun"})
            form->RegisterForm(name, [this, name](QWidget*) { shown << name; });
    }
    QStringList shown;
};

TEST_F(FirstLogonTest, WithDataItLogsOnAndShowsTheTree) {
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "agentbox";
    form->FirstLogon();
    EXPECT_TRUE(shown.isEmpty());
    EXPECT_TRUE(world.logHas("finished initial load of main form"));
    EXPECT_EQ(console().CurrentTag(), "agent");
    EXPECT_TRUE(form->isVisible());
}

TEST_F(FirstLogonTest, WithoutDataItAsksAndThenEnds) {
    world.session->ExServer.clear();
    form->FirstLogon();
    EXPECT_EQ(shown, QStringList{"frmLogon"});
    EXPECT_TRUE(world.logHas("no profile, no server+alias"));
    EXPECT_TRUE(world.logHas("no logon parameters: unloading"));
    EXPECT_TRUE(form->isHidden());
}

TEST_F(FirstLogonTest, AFailureRaisesTheDialogOnce) {
    console().ResetConnection();
    world.session->rdo.reset();
    world.session->ExServer = "NOWHERE";
    world.session->ExAlias = "agentbox";
    world.ui.Expect("");
    form->FirstLogon();
    EXPECT_EQ(shown, QStringList{"frmLogon"});
    EXPECT_TRUE(world.logHas("logon failed; raise frmLogon"));
    EXPECT_TRUE(form->isVisible()) << "the person can still connect by hand";
}

TEST_F(FirstLogonTest, AFirstRunShowsTheWizardThenTheServers) {
    world.session->FirstRun = true;
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "agentbox";
    form->FirstLogon();
    EXPECT_EQ(shown, QStringList{"frmFirstRun"});
    EXPECT_FALSE(world.session->FirstRun);
    EXPECT_EQ(console().CurrentTag(), "serverroot");
    EXPECT_EQ(tree()->currentIndex(), node("serverroot"));
}

TEST_F(FirstLogonTest, AMailboxWithoutAgentMessageRaisesTheWizardOnce) {
    console().ResetConnection();
    world.session->rdo.reset();
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "bob";
    form->FirstLogon();
    // the wizard left without a message; its own logon must not raise it for ever
    EXPECT_EQ(shown, (QStringList{"frmFirstRun", "frmLogon"}));
    EXPECT_TRUE(world.logHas("logon failed; raise frmLogon"));
}

TEST_F(FirstLogonTest, AWizardThatConnectedNeedsNoLogonDialog) {
    console().ResetConnection();
    world.session->rdo.reset();
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "bob";
    form->RegisterForm("frmFirstRun", [this](QWidget*) {
        shown << "frmFirstRun";
        auto message = world.session->agentInfo->Items()->Add("zandrel.Agent");
        message->SetSubject("zandrelAgent");
        message->Save();
    });
    form->FirstLogon();
    EXPECT_EQ(shown, QStringList{"frmFirstRun"});
    EXPECT_EQ(console().CurrentTag(), "serverroot");
}

} // namespace
