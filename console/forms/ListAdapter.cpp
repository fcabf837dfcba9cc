#include "console/forms/ListAdapter.h"

#include <QHeaderView>
#include <QIcon>
#include <QStyle>
#include <QTreeView>
#include <algorithm>

#include "console/forms/Icons.h"
#include "core/basListView.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

ListAdapter::ListAdapter(ListModel& list, QObject* parent)
    : QAbstractItemModel(parent), m_list(list) {
    setFont(QFont());
    setColors(ThemeColors::of(QPalette()));
    m_rows = static_cast<int>(m_list.Count());
    m_columns = static_cast<int>(m_list.Columns().size());
    m_list.SetListener(this);
}

ListAdapter::~ListAdapter() { m_list.SetListener(nullptr); }

void ListAdapter::setColors(const ThemeColors& colors) {
    m_ghosted = colors.ghosted;
    m_red = colors.red;
}

void ListAdapter::setFont(const QFont& font) {
    m_bold = font;
    m_bold.setBold(true);
}

void ListAdapter::Freeze(bool freeze) {
    if (freeze == m_frozen)
        return;
    m_frozen = freeze;
    OnReset();
}

QModelIndex ListAdapter::index(int row, int column, const QModelIndex& parent) const {
    if (parent.isValid() || row < 0 || row >= m_rows || column < 0 || column >= m_columns)
        return {};
    return createIndex(row, column);
}

int ListAdapter::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_rows; }

int ListAdapter::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_columns;
}

Qt::Alignment ListAdapter::alignment(int column) const {
    const ListColumn& definition = m_list.Columns()[static_cast<size_t>(column)];
    if (definition.centred)
        return Qt::AlignCenter;
    const bool right = column > 0 && definition.kind() == SortKind::Number;
    return (right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
}

const ListRow* ListAdapter::rowAt(const QModelIndex& index) const {
    const bool behind = m_removing >= 0 && index.row() > m_removing;
    const auto position = static_cast<size_t>(index.row() - (behind ? 1 : 0));
    if (!index.isValid() || index.row() == m_removing || position >= m_list.Count())
        return nullptr;
    return &m_list.At(position);
}

QVariant ListAdapter::data(const QModelIndex& index, int role) const {
    const ListRow* row = rowAt(index);
    if (!row)
        return {};
    const QVariant value = rowData(*row, index, role);
    return value.isValid() || index.column() != 0 ? value : firstColumnData(*row, role);
}

QVariant ListAdapter::rowData(const ListRow& row, const QModelIndex& index, int role) const {
    const auto column = static_cast<size_t>(index.column());
    const auto text = [&] {
        return column < row.texts.size() ? FromUtf8(row.texts[column]) : QString();
    };
    switch (role) {
    case Qt::DisplayRole:
        return text();
    case Qt::AccessibleTextRole:
        return text() + (row.ghosted && column == 0 ? tr(", inactive") : QString());
    case Qt::ForegroundRole:
        if (row.red)
            return m_red;
        return row.ghosted ? QVariant(m_ghosted) : QVariant();
    case Qt::FontRole:
        return row.bold ? QVariant(m_bold) : QVariant();
    case Qt::TextAlignmentRole:
        return QVariant(alignment(index.column()));
    case KeyRole:
        return FromUtf8(row.key);
    case TagRole:
        return FromUtf8(row.tag);
    case ImageRole:
        return FromUtf8(row.icon);
    default:
        return {};
    }
}

QVariant ListAdapter::firstColumnData(const ListRow& row, int role) const {
    if (role == Qt::DecorationRole && !row.icon.empty())
        return IconOf(row.icon, row.ghosted);
    if (role == Qt::CheckStateRole && row.checkable)
        return row.checked ? Qt::Checked : Qt::Unchecked;
    return {};
}

QVariant ListAdapter::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= m_columns)
        return {};
    if (role == Qt::DisplayRole)
        return FromUtf8(m_list.Columns()[static_cast<size_t>(section)].title);
    if (role == Qt::TextAlignmentRole)
        return QVariant(alignment(section));
    return {};
}

Qt::ItemFlags ListAdapter::flags(const QModelIndex& index) const {
    const ListRow* row = rowAt(index);
    if (!row)
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (index.column() == 0 && row->checkable)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool ListAdapter::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole || !(flags(index) & Qt::ItemIsUserCheckable))
        return false;
    emit checkToggled(index.row(), value.toInt() == Qt::Checked);
    return true;
}

void ListAdapter::OnReset() {
    beginResetModel();
    m_rows = m_frozen ? 0 : static_cast<int>(m_list.Count());
    m_columns = m_frozen ? 0 : static_cast<int>(m_list.Columns().size());
    endResetModel();
}

void ListAdapter::OnAppended(size_t first, size_t count) {
    if (m_frozen || count == 0)
        return;
    beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + count - 1));
    m_rows += static_cast<int>(count);
    endInsertRows();
}

void ListAdapter::OnRemoved(size_t position) {
    if (m_frozen)
        return;
    m_removing = static_cast<int>(position);
    beginRemoveRows({}, m_removing, m_removing);
    --m_rows;
    m_removing = -1;
    endRemoveRows();
}

void ListAdapter::OnChanged(size_t position) {
    if (!m_frozen && m_columns > 0)
        emit dataChanged(index(static_cast<int>(position), 0),
                         index(static_cast<int>(position), m_columns - 1));
}

void ListAdapter::BeforeReorder() {
    if (m_frozen)
        return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    m_held = persistentIndexList();
}

void ListAdapter::AfterReorder(const std::vector<uint32_t>& oldOrder) {
    if (m_frozen)
        return;
    QModelIndexList moved;
    moved.reserve(m_held.size());
    if (!m_held.isEmpty()) {
        std::vector<uint32_t> positions(*std::ranges::max_element(oldOrder) + 1U);
        for (uint32_t i = 0; i < m_list.order().size(); ++i)
            positions[m_list.order()[i]] = i;
        for (const QModelIndex& held : std::as_const(m_held)) {
            const uint32_t row = oldOrder[static_cast<size_t>(held.row())];
            moved << createIndex(static_cast<int>(positions[row]), held.column());
        }
    }
    changePersistentIndexList(m_held, moved);
    m_held.clear();
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

namespace {

constexpr size_t kLongest = 64; // texts of a column that are measured

int iconWidth(const QAbstractItemView& view) {
    const QSize size = view.iconSize();
    return size.isValid() ? size.width()
                          : view.style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, &view);
}

/// What stands before and around the text of the first column.
int firstColumnExtra(const QAbstractItemView& view, const ListModel& list) {
    const QStyle* style = view.style();
    const int gap = 2 * (style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &view) + 1);
    const bool checks = list.Count() > 0 && list.At(0).checkable;
    return iconWidth(view) + gap +
           (checks ? style->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, &view) + gap : 0);
}

} // namespace

int WidestText(const QAbstractItemView& view, const ListModel& list, int column, bool boldRows) {
    QFont font = view.font();
    font.setBold(boldRows);
    const QFontMetrics metrics(font);
    int width = 0;
    for (const std::string_view text : ColumnFitTexts(list, column, kLongest))
        width = std::max(width, metrics.horizontalAdvance(FromUtf8(text)));
    const int margin = view.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &view) + 4;
    return width + 2 * margin + (column == 0 ? firstColumnExtra(view, list) : 0);
}

void FitColumns(QTreeView& view, const ListModel& list, bool boldRows) {
    for (int column = 0; column < static_cast<int>(list.Columns().size()); ++column) {
        const bool visible = list.Columns()[static_cast<size_t>(column)].visible();
        view.setColumnHidden(column, !visible);
        if (visible)
            view.setColumnWidth(column, std::max(WidestText(view, list, column, boldRows),
                                                 view.header()->sectionSizeHint(column)));
    }
}

} // namespace kr
