#include <gtest/gtest.h>

#include <QTest>
#include <QTreeView>

#include "console/forms/frmDetails.h"
#include "contacts/forms/Members.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class MembersWindow : public ::testing::Test {
protected:
    MembersWindow() { world.LogOn(); }
    void show(const std::string& addresses) {
        ShowMembers(*world.session, "Members of MCL", addresses, nullptr);
    }
    static QString count(QWidget* form) { return control<QLabel>(form, "lblCount")->text(); }
    static QStringList rows(QWidget* form) {
        const QAbstractItemModel* model = control<QTreeView>(form, "lvDetail")->model();
        QStringList result;
        for (int i = 0; i < model->rowCount(); ++i)
            result << model->index(i, 0).data().toString() + "=" +
                          model->index(i, 1).data().toString();
        return result;
    }

    World world;
};

TEST_F(MembersWindow, ShowsEverybodyBehindTheLists) {
    whenModal("frmDetails", [&](QWidget* form) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return count(form) == "Count: 4"; }));
        EXPECT_EQ(form->windowTitle(), "Members of MCL");
        const QAbstractItemModel* model = control<QTreeView>(form, "lvDetail")->model();
        EXPECT_EQ(model->headerData(0, Qt::Horizontal).toString(), "Name");
        EXPECT_EQ(model->headerData(1, Qt::Horizontal).toString(), "E-mail");
        EXPECT_EQ(
            rows(form),
            (QStringList{"Alice Adams=alice@example.test", "Bob Baker=bob@example.test",
                         "Carol Contact=carol@partner.test", "Séan O'Brien=obrien@example.test"}));
        EXPECT_EQ(control<QPushButton>(form, "cmdClose")->text(), "&Close");
        QTest::mouseClick(control<QPushButton>(form, "cmdClose"), Qt::LeftButton);
    });
    show("sales@example.test;carol@partner.test;nested@example.test");
}

TEST_F(MembersWindow, NobodyIsNoRow) {
    whenModal("frmDetails", [&](QWidget* form) {
        EXPECT_EQ(count(form), "Count: 0");
        QTest::keyClick(form, Qt::Key_Escape);
    });
    show("nobody@example.test");
}

TEST_F(MembersWindow, ClosingEndsTheExpansion) {
    int after = -1; // turns since the window was closed
    world.ui.onDoEvents = [&] {
        QApplication::processEvents();
        if (after >= 0)
            ++after;
        for (QWidget* window : QApplication::topLevelWidgets())
            if (after < 0 && window->objectName() == "frmDetails" && window->isVisible()) {
                static_cast<QDialog*>(window)->reject();
                after = 0;
            }
    };
    show("sales@example.test;carol@partner.test;bob@example.test;alice@example.test");
    EXPECT_EQ(after, 0);
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

} // namespace
