#include "console/forms/TreeAdapter.h"

#include <QBrush>
#include <QFont>
#include <QIcon>

#include "console/forms/Icons.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

TreeAdapter::TreeAdapter(TreeModel& tree, QObject* parent)
    : QAbstractItemModel(parent), m_tree(tree) {
    m_bold.setBold(true);
    setColors(ThemeColors::of(QPalette()));
    m_tree.SetListener(this);
}

TreeAdapter::~TreeAdapter() { m_tree.SetListener(nullptr); }

void TreeAdapter::setColors(const ThemeColors& colors) { m_ghosted = colors.ghosted; }

TreeNode* TreeAdapter::nodeOf(const QModelIndex& index) const {
    return index.isValid() ? static_cast<TreeNode*>(index.internalPointer()) : &m_tree.Top();
}

QModelIndex TreeAdapter::indexOf(TreeNode& node) const {
    return &node == &m_tree.Top() ? QModelIndex()
                                  : createIndex(static_cast<int>(node.row()), 0, &node);
}

QModelIndex TreeAdapter::index(int row, int column, const QModelIndex& parent) const {
    const TreeNode* node = nodeOf(parent);
    if (row < 0 || column != 0 || static_cast<size_t>(row) >= node->children.size())
        return {};
    return createIndex(row, 0, node->children[static_cast<size_t>(row)].get());
}

QModelIndex TreeAdapter::parent(const QModelIndex& index) const {
    const TreeNode* node = nodeOf(index);
    return node->parent ? indexOf(*node->parent) : QModelIndex();
}

int TreeAdapter::rowCount(const QModelIndex& parent) const {
    return static_cast<int>(nodeOf(parent)->children.size());
}

QVariant TreeAdapter::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const TreeNode& node = *nodeOf(index);
    switch (role) {
    case Qt::DisplayRole:
        return FromUtf8(node.text);
    case Qt::AccessibleTextRole:
        return FromUtf8(node.text) + (node.ghosted ? tr(", inactive") : QString());
    case Qt::DecorationRole:
        return node.isDummy() ? QVariant() : QVariant(IconOf(node.image, node.ghosted));
    case Qt::ForegroundRole:
        return node.ghosted ? QVariant(m_ghosted) : QVariant();
    case Qt::FontRole:
        return node.bold ? QVariant(m_bold) : QVariant();
    case KeyRole:
        return FromUtf8(node.key);
    case TagRole:
        return FromUtf8(node.tag);
    case ImageRole:
        return FromUtf8(node.image);
    default:
        return {};
    }
}

void TreeAdapter::OnReset() {
    m_removing = true;
    beginResetModel();
    endResetModel();
    m_removing = false;
}

void TreeAdapter::BeforeInsert(TreeNode& parent, size_t row) {
    beginInsertRows(indexOf(parent), static_cast<int>(row), static_cast<int>(row));
}

void TreeAdapter::BeforeRemove(TreeNode& parent, size_t row) {
    m_removing = true;
    beginRemoveRows(indexOf(parent), static_cast<int>(row), static_cast<int>(row));
}

void TreeAdapter::AfterRemove() {
    endRemoveRows();
    m_removing = false;
}

void TreeAdapter::OnChanged(TreeNode& node) {
    const QModelIndex index = indexOf(node);
    emit dataChanged(index, index);
}

} // namespace kr
