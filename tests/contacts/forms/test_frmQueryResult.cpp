#include <gtest/gtest.h>

#include <QHeaderView>
#include <QTest>
#include <QTreeView>

#include "contacts/forms/frmQueryResult.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmQueryResultTest : public ::testing::Test {
protected:
    frmQueryResultTest() {
        world.database.sources["cxn"].answers["people"] = {
            {"Email1", "UniqueID", "Shoe"}, {{"b@x", 9, "left"}, {"a@x", 10, Value()}}};
    }
    World world;
};

TEST_F(frmQueryResultTest, ShowsTheGridUntilItIsClosed) {
    QStringList seen;
    whenModal("frmDetailsCCL", [&](QWidget* form) {
        auto* grid = control<QTreeView>(form, "lvDetail");
        const auto* model = grid->model();
        for (int i = 0; i < model->columnCount(); ++i)
            seen << model->headerData(i, Qt::Horizontal).toString();
        EXPECT_FALSE(grid->header()->isSortIndicatorShown());
        QTest::mouseClick(grid->header()->viewport(), Qt::LeftButton, {},
                          QPoint(grid->header()->sectionViewportPosition(0) + 5, 5));
        EXPECT_TRUE(grid->header()->isSortIndicatorShown());
        seen << model->index(0, 0).data().toString() << form->windowTitle()
             << control<QLabel>(form, "lblResult")->text();
        QTest::mouseClick(control<QPushButton>(form, "cmdClose"), Qt::LeftButton);
    });
    ShowQueryResult(*world.session, {"cxn", "people", "Partners - Mapped Fields", false, "", ""},
                    nullptr);
    EXPECT_EQ(seen, (QStringList{"SMTP", "UniqueID", "Shoe", "b@x", "Partners - Mapped Fields",
                                 "Query returned 2 records"}));
}

TEST_F(frmQueryResultTest, WithoutAResultThereIsNoWindow) {
    world.ui.Expect("Unable to open connection \nThe server was not found.");
    ShowQueryResult(*world.session, {"elsewhere", "people", "", false, "", ""}, nullptr);
    world.ui.Expect("No results were returned from \nwrong\nThere is no such table.");
    ShowQueryResult(*world.session, {"cxn", "wrong", "", false, "", ""}, nullptr);
    ShowQueryResult(*world.session, {"", "people", "", false, "", ""}, nullptr);
    ShowQueryResult(*world.session, {"cxn", "", "", false, "", ""}, nullptr);
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

} // namespace
