#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTreeView>

#include "console/forms/Icons.h"
#include "console/forms/ListAdapter.h"

namespace {

using namespace kr;

ListRow row(std::string key, std::vector<std::string> texts) {
    ListRow made;
    made.key = std::move(key);
    made.tag = "mcl";
    made.icon = "imgUser";
    made.texts = std::move(texts);
    return made;
}

class ListAdapterTest : public ::testing::Test {
protected:
    ListAdapterTest()
        : adapter(list), tester(&adapter, QAbstractItemModelTester::FailureReportingMode::Fatal) {
        list.SetColumns({{"Name", ""}, {"Count", "intcount"}, {"Order", "sortorder"}});
        list.AddAll({row("k1", {"Pear", "3", "x"}), row("k2", {"apple", "20"}),
                     row("k3", {"Fig", "100", "z"})});
    }
    QVariant at(int position, int column, int role = Qt::DisplayRole) {
        return adapter.data(adapter.index(position, column), role);
    }
    QString column0() {
        QString texts;
        for (int i = 0; i < adapter.rowCount(); ++i)
            texts += at(i, 0).toString() + " ";
        return texts;
    }

    ListModel list;
    ListAdapter adapter;
    QAbstractItemModelTester tester;
};

TEST_F(ListAdapterTest, ShowsTextsHeadersAndPictures) {
    EXPECT_EQ(adapter.rowCount(), 3);
    EXPECT_EQ(adapter.columnCount(), 3);
    EXPECT_EQ(at(1, 1).toString(), "20");
    EXPECT_EQ(at(1, 2).toString(), "") << "a row may have fewer texts than columns";
    EXPECT_EQ(adapter.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), "Count");
    EXPECT_FALSE(at(0, 0, Qt::DecorationRole).value<QIcon>().isNull());
    EXPECT_FALSE(at(0, 1, Qt::DecorationRole).isValid());
    EXPECT_EQ(at(2, 0, ListAdapter::KeyRole).toString(), "k3");
    EXPECT_FALSE(at(0, 0, Qt::CheckStateRole).isValid());
}

TEST_F(ListAdapterTest, NumbersStandRightWithTheirHeader) {
    const int right = Qt::AlignRight | Qt::AlignVCenter;
    EXPECT_EQ(at(0, 1, Qt::TextAlignmentRole).toInt(), right);
    EXPECT_EQ(adapter.headerData(1, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), right);
    EXPECT_NE(at(0, 0, Qt::TextAlignmentRole).toInt(), right);
}

TEST_F(ListAdapterTest, GhostedRedAndBoldRows) {
    ListRow ghost = row("g", {"Ghost", "1"});
    ghost.ghosted = true;
    ListRow loud = row("l", {"Loud", "2"});
    loud.red = loud.bold = true;
    list.AddAll({ghost, loud});
    adapter.setColors(ThemeColors::of(Theme::PaletteOf(false)));
    EXPECT_EQ(at(3, 1, Qt::ForegroundRole).value<QBrush>().color(), QColor("#767676"));
    EXPECT_EQ(at(4, 0, Qt::ForegroundRole).value<QBrush>().color(), QColor("#c00000"));
    EXPECT_TRUE(at(4, 1, Qt::FontRole).value<QFont>().bold());
    EXPECT_FALSE(at(3, 0, Qt::FontRole).isValid());
    EXPECT_FALSE(at(0, 0, Qt::ForegroundRole).isValid());
    EXPECT_EQ(at(3, 0, Qt::AccessibleTextRole).toString(), "Ghost, inactive");
    EXPECT_EQ(at(0, 0, Qt::AccessibleTextRole).toString(), "Pear");
    adapter.setColors(ThemeColors::of(Theme::PaletteOf(true)));
    EXPECT_EQ(at(4, 0, Qt::ForegroundRole).value<QBrush>().color(), QColor("#ff8080"));
    EXPECT_GT(at(3, 0, Qt::ForegroundRole).value<QBrush>().color().lightness(), 128);
}

TEST_F(ListAdapterTest, FollowsAddingRemovingAndChanging) {
    list.Add(row("k4", {"Kiwi", "7"}));
    EXPECT_EQ(adapter.rowCount(), 4);
    list.Remove(0);
    EXPECT_EQ(column0(), "apple Fig Kiwi ");
    QSignalSpy changed(&adapter, &QAbstractItemModel::dataChanged);
    list.Change(1, row("k3", {"Date", "9"}));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 1);
    EXPECT_EQ(column0(), "apple Date Kiwi ");
    list.Clear();
    EXPECT_EQ(adapter.rowCount(), 0);
    EXPECT_EQ(adapter.columnCount(), 3);
}

TEST_F(ListAdapterTest, SelectionStaysOnItsRowsWhenSorted) {
    QTreeView view;
    view.setSelectionMode(QAbstractItemView::ExtendedSelection);
    view.setModel(&adapter);
    const auto mode = QItemSelectionModel::Select | QItemSelectionModel::Rows;
    view.selectionModel()->select(adapter.index(0, 0), mode);
    view.selectionModel()->select(adapter.index(2, 0), mode);
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(column0(), "apple Fig Pear ");
    QSet<QString> selected;
    for (const QModelIndex& index : view.selectionModel()->selectedRows())
        selected << index.data(ListAdapter::KeyRole).toString();
    EXPECT_EQ(selected, (QSet<QString>{"k1", "k3"}));
    list.Sort(1, SortOrder::Descending);
    EXPECT_EQ(column0(), "Fig apple Pear ");
    selected.clear();
    for (const QModelIndex& index : view.selectionModel()->selectedRows())
        selected << index.data(ListAdapter::KeyRole).toString();
    EXPECT_EQ(selected, (QSet<QString>{"k1", "k3"}));
}

TEST_F(ListAdapterTest, SortingAfterRemovalKeepsTheSelection) {
    QTreeView view;
    view.setModel(&adapter);
    list.Remove(1);
    view.selectionModel()->setCurrentIndex(adapter.index(1, 0), QItemSelectionModel::SelectCurrent);
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(view.currentIndex().data(ListAdapter::KeyRole).toString(), "k3");
    EXPECT_EQ(column0(), "Fig Pear ");
}

TEST_F(ListAdapterTest, FrozenShowsNothingAndTellsNothing) {
    adapter.Freeze(true);
    EXPECT_EQ(adapter.rowCount(), 0);
    EXPECT_EQ(adapter.columnCount(), 0);
    QSignalSpy inserted(&adapter, &QAbstractItemModel::rowsInserted);
    QSignalSpy reset(&adapter, &QAbstractItemModel::modelReset);
    list.Add(row("k4", {"Kiwi"}));
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(inserted.count(), 0);
    adapter.Freeze(false);
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(column0(), "apple Fig Kiwi Pear ");
}

TEST_F(ListAdapterTest, ACheckMarkByHandAsks) {
    ListRow checkable = row("c", {"Check"});
    checkable.checkable = true;
    list.Add(checkable);
    EXPECT_EQ(at(3, 0, Qt::CheckStateRole).toInt(), Qt::Unchecked);
    EXPECT_TRUE(adapter.flags(adapter.index(3, 0)) & Qt::ItemIsUserCheckable);
    EXPECT_FALSE(adapter.flags(adapter.index(3, 1)) & Qt::ItemIsUserCheckable);
    QSignalSpy toggled(&adapter, &ListAdapter::checkToggled);
    EXPECT_TRUE(adapter.setData(adapter.index(3, 0), Qt::Checked, Qt::CheckStateRole));
    EXPECT_FALSE(adapter.setData(adapter.index(0, 0), Qt::Checked, Qt::CheckStateRole));
    ASSERT_EQ(toggled.count(), 1);
    EXPECT_EQ(toggled[0][0].toInt(), 3);
    EXPECT_TRUE(toggled[0][1].toBool());
    list.SetChecked(3, true);
    EXPECT_EQ(at(3, 0, Qt::CheckStateRole).toInt(), Qt::Checked);
}

TEST_F(ListAdapterTest, ColumnsFitContentAndHeader) {
    QTreeView view;
    view.setRootIsDecorated(false);
    view.setModel(&adapter);
    list.Add(row("long", {std::string(80, 'm'), "1"}));
    FitColumns(view, list);
    // the view's own measure of a bold cell with its icon: nothing is cut off
    ListRow bold = list.At(3);
    bold.bold = true;
    list.Change(3, bold);
    EXPECT_GE(view.columnWidth(0), static_cast<QAbstractItemView&>(view).sizeHintForColumn(0));
    EXPECT_LT(view.columnWidth(0), static_cast<QAbstractItemView&>(view).sizeHintForColumn(0) + 30);
    EXPECT_GE(view.columnWidth(1), view.header()->sectionSizeHint(1));
    EXPECT_LT(view.columnWidth(1), view.columnWidth(0) / 2);
    EXPECT_TRUE(view.isColumnHidden(2)) << "helper columns only exist to be sorted on";
    EXPECT_FALSE(view.isColumnHidden(1));
}

TEST(IconsTest, EveryImageNameHasItsPicture) {
    const char* const names[] = {"imgAccess",
                                 "imgAddr",
                                 "imgAddrLate",
                                 "imgAgent",
                                 "imgBES",
                                 "imgBESGhost",
                                 "imgBrowserMessage",
                                 "imgCCL",
                                 "imgCCLDB",
                                 "imgCalendar",
                                 "imgCatalog",
                                 "imgCensus",
                                 "imgConnectorBES",
                                 "imgContact",
                                 "imgContactGhost",
                                 "imgDL",
                                 "imgData",
                                 "imgDeletedItems",
                                 "imgDomain",
                                 "imgExcel",
                                 "imgExclamation",
                                 "imgFolder",
                                 "imgFolderOff",
                                 "imgGlobe",
                                 "imgInbox",
                                 "imgJournal",
                                 "imgLang",
                                 "imgLookup",
                                 "imgMail",
                                 "imgMailbox",
                                 "imgMandatory",
                                 "imgNoUser",
                                 "imgNotes",
                                 "imgOutbox",
                                 "imgPDL",
                                 "imgPopup",
                                 "imgPushEnabled",
                                 "imgSentItems",
                                 "imgServerMid",
                                 "imgServerOff",
                                 "imgServerOn",
                                 "imgServerUnknown",
                                 "imgStats",
                                 "imgStickyNote",
                                 "imgStore",
                                 "imgTasks",
                                 "imgText",
                                 "imgTextBlastEnabled",
                                 "imgUser",
                                 "imgUserCustom",
                                 "imgUserOnly"};
    QSet<QByteArray> pictures;
    for (const char* name : names) {
        EXPECT_TRUE(HasIcon(name)) << name;
        const QImage image = IconOf(name).pixmap(16, 16).toImage();
        ASSERT_FALSE(image.isNull()) << name << ": is the SVG icon engine there?";
        pictures << QByteArray(reinterpret_cast<const char*>(image.constBits()),
                               image.sizeInBytes());
    }
    EXPECT_EQ(pictures.size(), static_cast<qsizetype>(std::size(names))) << "all are different";
    EXPECT_FALSE(HasIcon("imgNothing"));
    EXPECT_FALSE(IconOf("").isNull());
}

TEST(IconsTest, DimmedPicturesAreFainter) {
    const QImage plain = IconOf("imgUser").pixmap(16, 16).toImage();
    const QImage dim = IconOf("imgUser", true).pixmap(16, 16).toImage();
    EXPECT_EQ(qAlpha(plain.pixel(8, 4)), 255);
    EXPECT_GT(qAlpha(dim.pixel(8, 4)), 60);
    EXPECT_LT(qAlpha(dim.pixel(8, 4)), 180);
}

} // namespace
