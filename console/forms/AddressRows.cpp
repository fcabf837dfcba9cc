#include "console/forms/AddressRows.h"

#include <algorithm>

#include "console/forms/Icons.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr size_t kFirst = 200;     // rows of a search
constexpr size_t kGrowth = 4;      // a further fetch asks for so many times as many more,
constexpr size_t kMostMore = 4000; // but for no more than a person waits for unaware

} // namespace

std::string_view AddressImage(int displayType) {
    switch (displayType) {
    case 1:
    case 3:
    case 4:
    case 5:
        return "imgDL";
    case 2:
        return "imgFolder";
    case 6:
        return "imgContact";
    default:
        return "imgUser";
    }
}

AddressRows::AddressRows(AddressBookPtr book, QObject* parent)
    : QAbstractTableModel(parent), m_book(std::move(book)) {}

void AddressRows::Search(std::string_view prefix, std::optional<AddressRow> extra) {
    beginResetModel();
    m_prefix = prefix;
    m_extra = std::move(extra);
    m_limit = kFirst;
    m_rows.clear();
    m_whole = true;
    try {
        m_rows = m_book->Search(m_prefix, m_limit);
    } catch (...) {
        endResetModel();
        throw;
    }
    m_whole = m_rows.size() < m_limit;
    if (m_extra && std::ranges::any_of(
                       m_rows, [this](const AddressRow& row) { return row.id == m_extra->id; }))
        m_extra.reset();
    endResetModel();
}

const AddressRow& AddressRows::At(int row) const {
    const auto place = static_cast<size_t>(row);
    return place < m_rows.size() ? m_rows[place] : *m_extra;
}

int AddressRows::Find(const EntryID& id) const {
    const auto found = std::ranges::find(m_rows, id, &AddressRow::id);
    if (found != m_rows.end())
        return static_cast<int>(found - m_rows.begin());
    return m_extra && m_extra->id == id ? static_cast<int>(m_rows.size()) : -1;
}

int AddressRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size()) + (m_extra ? 1 : 0);
}

int AddressRows::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : 2; }

QVariant AddressRows::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const AddressRow& row = At(index.row());
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return FromUtf8(index.column() == 0 ? row.name : row.smtp);
    if (role == Qt::DecorationRole && index.column() == 0)
        return IconOf(AddressImage(row.displayType));
    return {};
}

QVariant AddressRows::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::DisplayRole)
        return section == 0 ? tr("Name") : tr("E-mail");
    return role == Qt::TextAlignmentRole ? QVariant(Qt::AlignLeft | Qt::AlignVCenter) : QVariant();
}

bool AddressRows::canFetchMore(const QModelIndex& parent) const {
    return !parent.isValid() && !m_whole;
}

void AddressRows::fetchMore(const QModelIndex&) {
    m_limit += std::min(m_limit * kGrowth, kMostMore);
    std::vector<AddressRow> rows;
    try {
        rows = m_book->Search(m_prefix, m_limit);
    } catch (const PlatformError& error) {
        m_whole = true;
        emit failed(error);
        return;
    }
    m_whole = rows.size() < m_limit;
    // the book may have changed meanwhile: only what still begins alike grows
    const bool grown =
        rows.size() > m_rows.size() && rows[m_rows.size() - 1].id == m_rows.back().id;
    if (!grown) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
        return;
    }
    beginInsertRows({}, static_cast<int>(m_rows.size()), static_cast<int>(rows.size()) - 1);
    m_rows = std::move(rows);
    endInsertRows();
}

} // namespace kr
