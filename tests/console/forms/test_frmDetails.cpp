#include <gtest/gtest.h>

#include <QHeaderView>
#include <QTest>
#include <QTreeView>

#include "console/forms/frmDetails.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

void fill(ListModel& list, const std::vector<std::vector<std::string>>& rows) {
    list.SetColumns({{"Name", "name"}, {"Count", "intcount"}, {"Helper", "sorthelper"}});
    for (const auto& texts : rows) {
        ListRow row;
        row.icon = "imgUser";
        row.texts = texts;
        list.Add(row);
    }
}

QStringList column(const QTreeView* view, int at) {
    QStringList texts;
    for (int i = 0; i < view->model()->rowCount(); ++i)
        texts << view->model()->index(i, at).data().toString();
    return texts;
}

void clickHeader(QTreeView* view, int section) {
    QHeaderView* header = view->header();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(section) + 5, header->height() / 2));
}

TEST(frmDetailsTest, ShowsRowsCountAndWarning) {
    frmDetails form;
    EXPECT_EQ(form.windowTitle(), "Details");
    fill(form.list(), {{"Alice", "9", "x"}, {"Bob", "10", "y"}});
    form.SetCount("Count: 2");
    form.show();
    auto* view = control<QTreeView>(&form, "lvDetail");
    EXPECT_EQ(column(view, 0), (QStringList{"Alice", "Bob"}));
    EXPECT_TRUE(view->isColumnHidden(2));
    EXPECT_EQ(control<QLabel>(&form, "lblCount")->text(), "Count: 2");
    EXPECT_FALSE(control<QLabel>(&form, "lblWarning")->isVisible());
    form.SetWarning("Some members were left out");
    EXPECT_TRUE(control<QLabel>(&form, "lblWarning")->isVisible());
    form.SetWarning("");
    EXPECT_FALSE(control<QLabel>(&form, "lblWarning")->isVisible());
}

TEST(frmDetailsTest, AColumnClickSortsByItsKind) {
    frmDetails form;
    fill(form.list(), {{"a", "9"}, {"b", "10"}, {"c", "2"}});
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));
    auto* view = control<QTreeView>(&form, "lvDetail");
    clickHeader(view, 1);
    EXPECT_EQ(column(view, 1), (QStringList{"10", "9", "2"}));
    EXPECT_EQ(view->header()->sortIndicatorSection(), 1);
    EXPECT_EQ(view->header()->sortIndicatorOrder(), Qt::DescendingOrder);
    clickHeader(view, 1);
    EXPECT_EQ(column(view, 1), (QStringList{"2", "9", "10"}));
    EXPECT_EQ(view->header()->sortIndicatorOrder(), Qt::AscendingOrder);
}

TEST(frmDetailsTest, ClosesByButtonAndEscape) {
    frmDetails form;
    form.show();
    QTest::mouseClick(control<QPushButton>(&form, "cmdClose"), Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    form.show();
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_FALSE(form.isVisible());
}

TEST(frmDetailsTest, TheTwinOfCustomContactLists) {
    frmDetailsCCL form;
    EXPECT_EQ(form.objectName(), "frmDetailsCCL");
    EXPECT_EQ(form.windowTitle(), "Details");
    fill(form.list(), {{"Alice", "1"}});
    form.SetCount("Query returned 1 records");
    EXPECT_EQ(control<QLabel>(&form, "lblResult")->text(), "Query returned 1 records");
    EXPECT_EQ(form.findChild<QLabel*>("lblCount"), nullptr);
}

} // namespace
