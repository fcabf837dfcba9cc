#include <gtest/gtest.h>

#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>
#include <QTest>
#include <QTreeView>

#include "console/basUsers.h"
#include "console/forms/frmFindUser.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmFindUserTest : public ::testing::Test {
protected:
    frmFindUserTest() {
        world.LogOnConfigured();
        alice = world.AddUserRecord("alice@example.test", "Alice Adams");
        world.AddUserRecord("obrien@example.test", "Séan O'Brien");
        world.AddUserRecord("bob@example.test", "Bob Baker");
        LoadUsers(*world.session);
        form = std::make_unique<frmFindUser>(*world.session, [this](const std::string& key) {
            goneTo << QString::fromStdString(key);
        });
        form->show();
    }
    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowActive(form.get())); }
    QLineEdit* name() { return control<QLineEdit>(form.get(), "txtName"); }
    QTreeView* list() { return control<QTreeView>(form.get(), "lvUsers"); }
    QStringList found() {
        QStringList names;
        for (int i = 0; i < list()->model()->rowCount(); ++i)
            names << list()->model()->index(i, 0).data().toString();
        return names;
    }
    void query() {
        QTest::mouseClick(control<QPushButton>(form.get(), "cmdQuery"), Qt::LeftButton);
    }

    World world;
    EntryID alice;
    std::unique_ptr<frmFindUser> form;
    QStringList goneTo;
};

TEST_F(frmFindUserTest, OffersTheOperators) {
    EXPECT_EQ(form->windowTitle(), "Find User");
    for (const char* combo : {"cboName", "cboEmail"}) {
        QStringList items;
        for (int i = 0; i < control<QComboBox>(form.get(), combo)->count(); ++i)
            items << control<QComboBox>(form.get(), combo)->itemText(i);
        EXPECT_EQ(items, (QStringList{"Any", "is (exactly)", "contains", "starts with"}));
    }
    EXPECT_EQ(form->focusWidget(), name());
}

/// The last column takes what the others leave, whether there is much or nothing.
TEST_F(frmFindUserTest, ColumnsFitTheWindow) {
    const auto fits = [this](const char* when) {
        QCoreApplication::processEvents();
        const QHeaderView& header = *list()->header();
        EXPECT_EQ(header.length(), list()->viewport()->width()) << when;
        EXPECT_EQ(list()->horizontalScrollBar()->maximum(), 0) << when;
    };
    control<QLineEdit>(form.get(), "txtEmail")->setText("example");
    query();
    fits("a few short rows");
    for (int i = 0; i < 200; ++i)
        world.AddUserRecord("user" + std::to_string(i) + "@example.test",
                            "User Number " + std::to_string(i));
    LoadUsers(*world.session);
    query();
    fits("more rows than the window shows");
    query();
    fits("once more");
    form->resize(form->width() + 200, form->height());
    fits("a wider window");
    form->resize(form->width() - 200, form->height());
    fits("a narrower one");
    // an address that just fits: a bold one would not, but no row is bold
    const QFontMetrics metrics(list()->font());
    const int room = list()->viewport()->width() - list()->columnWidth(0);
    std::string address = "@example.test";
    while (metrics.horizontalAdvance(QString::fromStdString(address)) < room - 32)
        address.insert(0, "w");
    world.AddUserRecord(address, "Zoe");
    LoadUsers(*world.session);
    query();
    fits("a text that needs the whole room");
    world.AddUserRecord("wwwwwwwwwwww" + address, "Zoe");
    LoadUsers(*world.session);
    query();
    QCoreApplication::processEvents();
    EXPECT_GT(list()->horizontalScrollBar()->maximum(), 0) << "no text is cut";
}

TEST_F(frmFindUserTest, FindsByEnterAndGoesToTheRow) {
    QTest::keyClicks(name(), "adams");
    QTest::keyClick(name(), Qt::Key_Return);
    EXPECT_EQ(found(), QStringList{"Alice Adams"});
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->focusWidget(), list());
    QTest::keyClick(list(), Qt::Key_Return);
    EXPECT_EQ(goneTo.size(), 1);
    EXPECT_EQ(goneTo.value(0).toStdString(), alice.text());
}

TEST_F(frmFindUserTest, ANameWithAnApostropheFindsItself) {
    name()->setText("Séan O'Brien");
    control<QComboBox>(form.get(), "cboName")->setCurrentIndex(1);
    query();
    EXPECT_EQ(found(), QStringList{"Séan O'Brien"});
}

TEST_F(frmFindUserTest, BothCriteriaMustHold) {
    name()->setText("b");
    control<QLineEdit>(form.get(), "txtEmail")->setText("bob@");
    control<QComboBox>(form.get(), "cboEmail")->setCurrentIndex(3);
    query();
    EXPECT_EQ(found(), QStringList{"Bob Baker"});
}

TEST_F(frmFindUserTest, SaysWhatIsMissingAndWhatIsNotThere) {
    world.ui.Expect("You must supply a Display Name or Email Address on which to search.");
    query();
    name()->setText("nobody");
    world.ui.Expect("No users found matching supplied parameters.");
    query();
    EXPECT_TRUE(found().isEmpty());
}

TEST_F(frmFindUserTest, GoToByContextMenu) {
    name()->setText("bob");
    query();
    const QPoint at = list()->visualRect(list()->currentIndex()).center();
    emit list()->customContextMenuRequested(at);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->objectName(), "mnuGoTo");
    EXPECT_EQ(menu->actions()[0]->text(), "Go To");
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    EXPECT_EQ(goneTo.size(), 1);
}

TEST_F(frmFindUserTest, CloseAndEscapeEnd) {
    QTest::mouseClick(control<QPushButton>(form.get(), "cmdExit"), Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
    form->show();
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
}

} // namespace
