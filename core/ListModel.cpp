#include "core/ListModel.h"

#include <algorithm>
#include <utility>

#include "core/Text.h"
#include "core/basListView.h"

namespace kr {

namespace {

constexpr std::string_view kHiddenPrefix = "sort";
constexpr size_t kMaxDrift = 1000; // removed rows after which positions are counted anew

/// Sorts row numbers by their keys; equal keys keep their present order in both directions.
template <class Key>
void sortByKey(std::vector<uint32_t>& rows, const std::vector<Key>& keys, SortOrder order) {
    std::vector<std::pair<Key, uint32_t>> pairs;
    pairs.reserve(rows.size());
    for (const uint32_t row : rows)
        pairs.emplace_back(keys[row], row);
    if (order == SortOrder::Ascending)
        std::stable_sort(pairs.begin(), pairs.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
    else
        std::stable_sort(pairs.begin(), pairs.end(),
                         [](const auto& a, const auto& b) { return a.first > b.first; });
    std::transform(pairs.begin(), pairs.end(), rows.begin(),
                   [](const auto& pair) { return pair.second; });
}

} // namespace

bool ListColumn::visible() const { return !StartsWithNoCase(key, kHiddenPrefix); }

SortKind ListColumn::kind() const {
    const std::string prefix = ToLower(std::string_view(key).substr(0, 3));
    if (prefix == "dat")
        return SortKind::Date;
    if (prefix == "int")
        return SortKind::Number;
    return prefix == "chk" ? SortKind::Check : SortKind::Text;
}

void ListModel::forgetKeys() {
    m_numbers.clear();
    m_ranks.clear();
}

/// The sort order stays: it belongs to the list and not to its content.
void ListModel::Clear() {
    m_rows.clear();
    m_order.clear();
    m_index.clear();
    m_indexReady = false;
    m_positionsReady = false;
    forgetKeys();
    if (m_listener)
        m_listener->OnReset();
}

void ListModel::SetColumns(std::vector<ListColumn> columns) {
    m_columns = std::move(columns);
    if (m_sortColumn >= static_cast<int>(m_columns.size()))
        m_sortColumn = 0;
    forgetKeys();
    if (m_listener)
        m_listener->OnReset();
}

std::string_view ListModel::cell(uint32_t row, int column) const {
    const auto& texts = m_rows[row].texts;
    const auto at = static_cast<size_t>(column);
    return at < texts.size() ? std::string_view(texts[at]) : std::string_view();
}

std::string_view ListModel::Text(size_t position, int column) const {
    return cell(m_order[position], column);
}

void ListModel::append(ListRow row) {
    const auto number = static_cast<uint32_t>(m_rows.size());
    m_rows.push_back(std::move(row));
    if (m_positionsReady)
        m_positions.push_back(static_cast<uint32_t>(m_order.size()));
    m_order.push_back(number);
    if (m_indexReady)
        indexRow(number);
}

void ListModel::Add(ListRow row) {
    forgetKeys();
    append(std::move(row));
    if (m_listener)
        m_listener->OnAppended(m_order.size() - 1, 1);
}

void ListModel::AddAll(std::vector<ListRow> rows) {
    if (rows.empty())
        return;
    forgetKeys();
    const size_t first = m_order.size();
    for (ListRow& row : rows)
        append(std::move(row));
    if (m_listener)
        m_listener->OnAppended(first, rows.size());
}

/// The other rows keep their numbers, so that the sort keys stay good when many rows go one by one.
void ListModel::Remove(size_t position) {
    if (position >= m_order.size())
        return;
    m_rows[m_order[position]] = {};
    m_order.erase(m_order.begin() + static_cast<std::ptrdiff_t>(position));
    ++m_removedSince;
    if (m_rows.size() > 64 && m_order.size() < m_rows.size() / 2)
        compact();
    if (m_listener)
        m_listener->OnRemoved(position);
}

void ListModel::compact() {
    std::vector<uint32_t> kept = m_order;
    std::sort(kept.begin(), kept.end());
    std::vector<uint32_t> numberNow(m_rows.size());
    for (size_t i = 0; i < kept.size(); ++i) {
        numberNow[kept[i]] = static_cast<uint32_t>(i);
        if (kept[i] != i)
            m_rows[i] = std::move(m_rows[kept[i]]);
    }
    m_rows.resize(kept.size());
    for (uint32_t& row : m_order)
        row = numberNow[row];
    m_index.clear();
    m_indexReady = false;
    m_positionsReady = false;
    forgetKeys();
}

void ListModel::Change(size_t position, ListRow row) {
    if (position >= m_order.size())
        return;
    const uint32_t number = m_order[position];
    const bool otherKey = m_rows[number].key != row.key;
    const bool otherTexts = m_rows[number].texts != row.texts;
    m_rows[number] = std::move(row);
    if (otherKey && m_indexReady)
        indexRow(number);
    if (otherTexts)
        forgetKeys();
    if (m_listener)
        m_listener->OnChanged(position);
}

void ListModel::SetChecked(size_t position, bool checked) {
    if (position >= m_order.size())
        return;
    m_rows[m_order[position]].checked = checked;
    if (m_listener)
        m_listener->OnChanged(position);
}

void ListModel::indexRow(uint32_t row) const {
    if (const std::string& key = m_rows[row].key; !key.empty())
        m_index.emplace(std::hash<std::string_view>{}(key), row);
}

/// Removals only move rows forward, so a row is looked for from its last known place downwards.
size_t ListModel::positionOf(uint32_t row) const {
    if (!m_positionsReady || m_removedSince > kMaxDrift) {
        m_positions.assign(m_rows.size(), 0);
        for (size_t i = 0; i < m_order.size(); ++i)
            m_positions[m_order[i]] = static_cast<uint32_t>(i);
        m_removedSince = 0;
        m_positionsReady = true;
    }
    const size_t from = m_positions[row];
    const size_t lowest = from - std::min(from, m_removedSince);
    for (size_t at = from + 1; at-- > lowest;)
        if (at < m_order.size() && m_order[at] == row)
            return at;
    return npos;
}

size_t ListModel::Find(std::string_view key) const {
    if (key.empty())
        return npos;
    if (!m_indexReady) {
        m_index.reserve(m_order.size());
        for (const uint32_t row : m_order)
            indexRow(row);
        m_indexReady = true;
    }
    uint32_t found = UINT32_MAX;
    const auto [begin, end] = m_index.equal_range(std::hash<std::string_view>{}(key));
    for (auto at = begin; at != end; ++at)
        if (m_rows[at->second].key == key) // an entry may be older than the row's present key
            found = std::min(found, at->second);
    return found == UINT32_MAX ? npos : positionOf(found);
}

const std::vector<double>& ListModel::numbersOf(int column) {
    auto [at, fresh] = m_numbers.try_emplace(column);
    if (!fresh)
        return at->second;
    const auto keyOf = m_columns[static_cast<size_t>(column)].kind() == SortKind::Date
                           ? DateSortKey
                           : NumberSortKey;
    at->second.resize(m_rows.size());
    for (uint32_t row = 0; row < m_rows.size(); ++row)
        at->second[row] = keyOf(cell(row, column));
    return at->second;
}

const std::vector<uint32_t>& ListModel::ranksOf(int column) {
    auto [at, fresh] = m_ranks.try_emplace(column);
    if (!fresh)
        return at->second;
    std::vector<std::string_view> texts(m_rows.size());
    for (uint32_t row = 0; row < m_rows.size(); ++row)
        texts[row] = cell(row, column);
    return at->second = TextRanks(texts);
}

void ListModel::Sort(int column, SortOrder order) {
    if (column < 0 || column >= static_cast<int>(m_columns.size()))
        return;
    m_sortColumn = column;
    m_sortOrder = order;
    if (m_listener)
        m_listener->BeforeReorder();
    const std::vector<uint32_t> oldOrder = m_order;
    switch (m_columns[static_cast<size_t>(column)].kind()) {
    case SortKind::Text:
        sortByKey(m_order, ranksOf(column), order);
        break;
    case SortKind::Check: {
        std::vector<uint8_t> marks(m_rows.size());
        std::transform(m_rows.begin(), m_rows.end(), marks.begin(),
                       [](const ListRow& row) { return row.checked ? 1 : 0; });
        sortByKey(m_order, marks, order);
        break;
    }
    case SortKind::Date:
    case SortKind::Number:
        sortByKey(m_order, numbersOf(column), order);
        break;
    }
    m_positionsReady = false;
    if (m_listener)
        m_listener->AfterReorder(oldOrder);
}

void ListModel::ColumnClick(int column) {
    Sort(column,
         m_sortOrder == SortOrder::Ascending ? SortOrder::Descending : SortOrder::Ascending);
}

} // namespace kr
