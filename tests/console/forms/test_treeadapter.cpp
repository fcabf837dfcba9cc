#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QTreeView>

#include "console/forms/TreeAdapter.h"

namespace {

using namespace kr;

class TreeAdapterTest : public ::testing::Test {
protected:
    TreeAdapterTest()
        : adapter(tree), tester(&adapter, QAbstractItemModelTester::FailureReportingMode::Fatal) {
        tree.Add("", "agent", "agent", "zandrelAgent - A", "imgAgent");
        tree.Add("agent", "acfroot", "acfroot", "Alternate Contact Sources", "imgContact");
        for (const char* key : {"a", "b", "c"})
            tree.Add("acfroot", key, "acf", std::string("Source ") + key, "imgContact");
    }
    QModelIndex at(const char* key) { return adapter.indexOf(*tree.Find(key)); }

    TreeModel tree;
    TreeAdapter adapter;
    QAbstractItemModelTester tester;
};

TEST_F(TreeAdapterTest, MirrorsTheModel) {
    EXPECT_EQ(adapter.rowCount({}), 1);
    EXPECT_EQ(adapter.rowCount(at("acfroot")), 3);
    EXPECT_EQ(at("b").row(), 1);
    EXPECT_EQ(at("b").parent(), at("acfroot"));
    EXPECT_EQ(at("b").data().toString(), "Source b");
    EXPECT_EQ(at("b").data(TreeAdapter::TagRole).toString(), "acf");
    EXPECT_EQ(adapter.nodeOf(at("c")), tree.Find("c"));
}

TEST_F(TreeAdapterTest, ViewsFollowAddingMovingAndRemoving) {
    QTreeView view;
    view.setModel(&adapter);
    view.expandAll();
    view.setCurrentIndex(at("b"));
    tree.Move(*tree.Find("c"), 0);
    EXPECT_EQ(view.currentIndex(), at("b"));
    EXPECT_EQ(at("c").row(), 0);
    tree.Remove(*tree.Find("c"));
    tree.Add("a", "a1", "x", "Below", "");
    EXPECT_EQ(view.currentIndex(), at("b"));
    EXPECT_EQ(adapter.rowCount(at("a")), 1);
    tree.Clear();
    EXPECT_EQ(adapter.rowCount({}), 0);
    EXPECT_FALSE(view.currentIndex().isValid());
}

TEST_F(TreeAdapterTest, ARemovalIsKnownWhileItHappens) {
    QTreeView view;
    view.setModel(&adapter);
    view.setCurrentIndex(at("b"));
    bool during = false;
    QObject::connect(view.selectionModel(), &QItemSelectionModel::currentChanged, &view,
                     [&] { during = adapter.removing(); });
    tree.Remove(*tree.Find("b"));
    EXPECT_TRUE(during);
    EXPECT_FALSE(adapter.removing());
}

TEST_F(TreeAdapterTest, GhostedNodes) {
    tree.SetGhosted(*tree.Find("a"), true);
    adapter.setColors(ThemeColors::of(Theme::PaletteOf(false)));
    EXPECT_EQ(at("a").data(Qt::ForegroundRole).value<QBrush>().color(), QColor("#767676"));
    EXPECT_EQ(at("a").data(Qt::AccessibleTextRole).toString(), "Source a, inactive");
    EXPECT_FALSE(at("b").data(Qt::ForegroundRole).isValid());
}

TEST_F(TreeAdapterTest, DummiesShowNothing) {
    tree.Add("agent", "pdlroot", "pdlroot", "PIN Distribution Lists", "imgUser");
    tree.Add("pdlroot", "dummypdl", "dummypdl", "", "");
    EXPECT_EQ(adapter.rowCount(at("pdlroot")), 1);
    EXPECT_FALSE(at("dummypdl").data(Qt::DecorationRole).isValid());
}

} // namespace
