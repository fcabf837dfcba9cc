#pragma once

#include <QAbstractItemModel>
#include <QBrush>
#include <QFont>

#include "console/TreeModel.h"
#include "console/forms/Theme.h"

namespace kr {

/// Shows a TreeModel in a QTreeView. An index's internal pointer is its node.
class TreeAdapter : public QAbstractItemModel, private TreeModel::Listener {
    Q_OBJECT
public:
    enum Roles { KeyRole = Qt::UserRole, TagRole, ImageRole };

    explicit TreeAdapter(TreeModel& tree, QObject* parent = nullptr);
    ~TreeAdapter() override;

    TreeNode* nodeOf(const QModelIndex& index) const;
    QModelIndex indexOf(TreeNode& node) const;
    /// Nodes are going at this moment: what views make the current one is not a click.
    bool removing() const { return m_removing; }
    /// Colours follow the palette.
    void setColors(const ThemeColors& colors);

    QModelIndex index(int row, int column, const QModelIndex& parent) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent) const override;
    int columnCount(const QModelIndex&) const override { return 1; }
    QVariant data(const QModelIndex& index, int role) const override;

private:
    void OnReset() override;
    void BeforeInsert(TreeNode& parent, size_t row) override;
    void AfterInsert() override { endInsertRows(); }
    void BeforeRemove(TreeNode& parent, size_t row) override;
    void AfterRemove() override;
    void OnChanged(TreeNode& node) override;

    TreeModel& m_tree;
    bool m_removing = false;
    QBrush m_ghosted;
    QFont m_bold;
};

} // namespace kr
