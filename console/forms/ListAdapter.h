#pragma once

#include <QAbstractItemModel>
#include <QBrush>
#include <QFont>

#include "console/forms/Theme.h"
#include "core/ListModel.h"

class QAbstractItemView;
class QTreeView;

namespace kr {

/// Shows a ListModel in any item view; no object stands for a cell. Between Freeze(true) and
/// Freeze(false) it shows nothing, and what happens meanwhile costs nothing.
class ListAdapter : public QAbstractItemModel, private ListModel::Listener {
    Q_OBJECT
public:
    enum Roles { KeyRole = Qt::UserRole, TagRole, ImageRole };

    explicit ListAdapter(ListModel& list, QObject* parent = nullptr);
    ~ListAdapter() override;

    void Freeze(bool freeze);
    /// Colours and fonts follow the palette and the view's font.
    void setColors(const ThemeColors& colors);
    void setFont(const QFont& font);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex&) const override { return {}; }
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// A check mark set by hand only asks: the console changes the row.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

signals:
    void checkToggled(int position, bool checked);

private:
    void OnReset() override;
    void OnAppended(size_t first, size_t count) override;
    void OnRemoved(size_t position) override;
    void OnChanged(size_t position) override;
    void BeforeReorder() override;
    void AfterReorder(const std::vector<uint32_t>& oldOrder) override;
    const ListRow* rowAt(const QModelIndex& index) const;
    Qt::Alignment alignment(int column) const;
    QVariant rowData(const ListRow& row, const QModelIndex& index, int role) const;
    QVariant firstColumnData(const ListRow& row, int role) const;

    ListModel& m_list;
    int m_rows = 0; // as the views know it
    int m_columns = 0;
    int m_removing = -1; // place of a row that is gone already while views are being told
    bool m_frozen = false;
    QBrush m_ghosted;
    QBrush m_red;
    QFont m_bold;
    QModelIndexList m_held; // persistent indexes during a reorder
};

/// Width in pixels that the widest cell of a column takes, with icon and check mark; where no row
/// is ever bold that is less.
int WidestText(const QAbstractItemView& view, const ListModel& list, int column,
               bool boldRows = true);
/// Sizes every column to its content and header and hides the helper columns: the 64 longest texts
/// of each column are measured, in bold where rows may be so.
void FitColumns(QTreeView& view, const ListModel& list, bool boldRows = true);

} // namespace kr
