#include "core/RecordsetView.h"

#include <algorithm>
#include <numeric>

#include "core/RecordsetConvert.h"
#include "core/RecordsetFilter.h"
#include "core/basListView.h"

namespace kr {

RecordsetView::RecordsetView(RecordsetData& data) : m_data(data) {
    m_data.Attach(this);
    First();
}

RecordsetView::~RecordsetView() { m_data.Detach(this); }

// --- Position

int64_t RecordsetView::Count() const {
    if (!listed())
        return m_data.LiveCount();
    return static_cast<int64_t>(m_rows.size()) + (m_pending && shows(m_row) ? 1 : 0);
}

bool RecordsetView::AtBegin() const {
    return m_where == Where::Before || (m_where == Where::After && Count() == 0);
}

bool RecordsetView::AtEnd() const {
    return m_where == Where::After || (m_where == Where::Before && Count() == 0);
}

std::optional<RowId> RecordsetView::Current() const {
    return m_where == Where::On ? std::optional(m_row) : std::nullopt;
}

/// Stands on the row of that index, or behind the last one.
void RecordsetView::standAt(size_t index) {
    m_at = std::min(index, m_rows.size());
    m_where = m_at < m_rows.size() ? Where::On : Where::After;
    if (m_where == Where::On)
        m_row = m_rows[m_at];
}

/// A new row that is left takes its place among those shown.
void RecordsetView::settle() {
    if (!m_pending)
        return;
    m_pending = false;
    if (!m_data.Live(m_row) || !shows(m_row)) {
        m_at = m_rows.size();
        m_where = Where::Gone;
        return;
    }
    const auto place = placeFor(m_row);
    m_at = static_cast<size_t>(place - m_rows.begin());
    m_rows.insert(place, m_row);
}

void RecordsetView::First() {
    settle();
    if (listed()) {
        standAt(0);
        return;
    }
    m_row = m_data.FirstLive();
    m_where = m_data.Live(m_row) ? Where::On : Where::After;
}

void RecordsetView::Last() {
    settle();
    m_where = Where::After;
    m_at = m_rows.size();
    step(false);
    if (m_where == Where::Before) // no row at all: both ends at once
        m_where = Where::After;
}

void RecordsetView::Next() {
    settle();
    step(true);
}

void RecordsetView::Previous() {
    settle();
    step(false);
}

void RecordsetView::step(bool forward) {
    if (!listed()) {
        stepRows(forward);
        return;
    }
    switch (m_where) {
    case Where::Before:
        if (forward)
            standAt(0);
        return;
    case Where::After:
        m_at = m_rows.size();
        if (forward)
            return;
        break;
    case Where::On:
        m_at += forward ? 1 : 0;
        break;
    case Where::Gone:
        break;
    }
    if (forward)
        standAt(m_at);
    else if (m_at > 0)
        standAt(m_at - 1);
    else
        m_where = Where::Before;
}

/// All rows in the order of insertion, past deleted ones.
void RecordsetView::stepRows(bool forward) {
    if (m_where == (forward ? Where::After : Where::Before))
        return;
    const int64_t count = m_data.RowCount();
    int64_t row = m_where == Where::Before  ? -1
                  : m_where == Where::After ? count
                                            : static_cast<int64_t>(m_row);
    const int64_t first = m_data.FirstLive();
    do
        row += forward ? 1 : -1;
    while (row >= first && row < count && !m_data.Live(static_cast<RowId>(row)));
    if (forward && row < first)
        row = first < count ? first : count;
    m_where = row >= count ? Where::After : row < first ? Where::Before : Where::On;
    if (m_where == Where::On)
        m_row = static_cast<RowId>(row);
}

bool RecordsetView::GoTo(RowId row) {
    settle();
    if (!m_data.Live(row))
        return false;
    if (listed()) {
        const auto found = find(row);
        if (found == m_rows.end())
            return false;
        m_at = static_cast<size_t>(found - m_rows.begin());
    }
    m_row = row;
    m_where = Where::On;
    return true;
}

void RecordsetView::Add() {
    settle();
    m_adding = true;
    m_row = m_data.Add();
    m_adding = false;
    m_where = Where::On;
    m_pending = listed();
}

// --- Filter and sort

bool RecordsetView::SetFilter(std::string_view text) {
    settle();
    m_filterText = text;
    m_filter.reset();
    m_hideAll = false;
    if (!Trim(text).empty()) {
        m_filter = m_data.Filter(text);
        m_hideAll = !m_filter;
    }
    rebuild();
    return !m_hideAll;
}

bool RecordsetView::SetSort(std::string_view text) {
    settle();
    auto fields = parseSort(text);
    if (!fields)
        return false;
    m_sort = std::move(*fields);
    m_sortText = text;
    rebuild();
    return true;
}

std::optional<std::vector<RecordsetView::SortField>>
RecordsetView::parseSort(std::string_view text) const {
    std::vector<SortField> fields;
    std::string rest = Trim(text);
    while (!rest.empty()) {
        const bool bracketed = rest.front() == '[';
        const size_t end = bracketed ? rest.find(']') : rest.find_first_of(" \t\r\n,");
        if (bracketed && end == std::string::npos)
            return std::nullopt;
        SortField field;
        field.field = m_data.FieldIndex(bracketed ? rest.substr(1, end - 1) : rest.substr(0, end));
        rest = end == std::string::npos ? "" : Trim(rest.substr(end + (bracketed ? 1 : 0)));
        const size_t comma = rest.find(',');
        const std::string order = Trim(rest.substr(0, comma));
        field.descending = EqualNoCase(order, "DESC");
        if (field.field < 0 || (!order.empty() && !field.descending && !EqualNoCase(order, "ASC")))
            return std::nullopt;
        fields.push_back(field);
        if (comma == std::string::npos)
            return fields;
        rest = Trim(rest.substr(comma + 1));
        if (rest.empty())
            return std::nullopt;
    }
    return fields;
}

bool RecordsetView::shows(RowId row) const {
    return !m_hideAll && (m_filter ? m_filter->Matches(m_data, row) : m_data.Live(row));
}

void RecordsetView::rebuild() {
    m_rows = {};
    if (m_filter) {
        m_rows = m_filter->Select(m_data);
    } else if (!m_hideAll && !m_sort.empty()) {
        m_rows.reserve(static_cast<size_t>(m_data.LiveCount()));
        for (RowId row = m_data.FirstLive(); row < m_data.RowCount(); ++row)
            if (m_data.Live(row))
                m_rows.push_back(row);
    }
    if (!m_sort.empty())
        sortRows();
    First();
}

/// For each row shown the place of its cell among the others of the field; null is the first.
std::vector<uint32_t> RecordsetView::ranksOf(int field) const {
    const FieldType type = m_data.Fields()[static_cast<size_t>(field)].type;
    if (IsTextField(type)) {
        std::vector<std::string> folded(m_rows.size());
        for (size_t i = 0; i < m_rows.size(); ++i)
            folded[i] = Fold(m_data.Text(m_rows[i], field));
        const std::vector<std::string_view> views(folded.begin(), folded.end());
        std::vector<uint32_t> ranks = TextRanks(views);
        for (size_t i = 0; i < m_rows.size(); ++i)
            ranks[i] = m_data.Cell(m_rows[i], field) == kNullCell ? 0 : ranks[i] + 1;
        return ranks;
    }
    std::vector<uint32_t> order(m_rows.size());
    std::iota(order.begin(), order.end(), 0U);
    const auto compare = [&](uint32_t a, uint32_t b) {
        return compareCells(field, m_rows[a], m_rows[b]);
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return compare(a, b) < 0; });
    std::vector<uint32_t> ranks(m_rows.size());
    for (size_t i = 1; i < order.size(); ++i)
        ranks[order[i]] = ranks[order[i - 1]] + (compare(order[i - 1], order[i]) != 0 ? 1 : 0);
    return ranks;
}

void RecordsetView::sortRows() {
    std::vector<std::vector<uint32_t>> ranks;
    for (const SortField& field : m_sort)
        ranks.push_back(ranksOf(field.field));
    std::vector<uint32_t> order(m_rows.size());
    std::iota(order.begin(), order.end(), 0U);
    // rows come in the order of insertion, so a stable sort leaves equal ones in it
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
        for (size_t i = 0; i < m_sort.size(); ++i)
            if (ranks[i][a] != ranks[i][b])
                return (ranks[i][a] < ranks[i][b]) != m_sort[i].descending;
        return false;
    });
    Rows sorted(m_rows.size());
    std::transform(order.begin(), order.end(), sorted.begin(),
                   [&](uint32_t at) { return m_rows[at]; });
    m_rows = std::move(sorted);
    if (!m_collator)
        m_collator = std::make_unique<Collator>();
}

int RecordsetView::compareCells(int field, RowId a, RowId b) const {
    const RawCell x = m_data.Cell(a, field);
    const RawCell y = m_data.Cell(b, field);
    if (x == kNullCell || y == kNullCell)
        return (x == kNullCell ? 0 : 1) - (y == kNullCell ? 0 : 1);
    const FieldType type = m_data.Fields()[static_cast<size_t>(field)].type;
    if (IsTextField(type))
        return m_collator->compare(Fold(TextArena::Text(x).text), Fold(TextArena::Text(y).text));
    double p = 0;
    double q = 0;
    if (type == FieldType::Variant) { // numbers before texts
        StoredText s;
        StoredText t;
        const bool sText = TextArena::VariantText(x, s);
        const bool tText = TextArena::VariantText(y, t);
        if (sText && tText)
            return CompareNoCase(s.text, t.text);
        if (sText != tText)
            return sText ? 1 : -1;
        p = NumberOf(TextArena::Variant(x)).value_or(0);
        q = NumberOf(TextArena::Variant(y)).value_or(0);
    } else {
        p = CellNumber(type, x);
        q = CellNumber(type, y);
    }
    return p < q ? -1 : p > q ? 1 : 0;
}

bool RecordsetView::before(RowId a, RowId b) const {
    for (const SortField& field : m_sort)
        if (const int order = compareCells(field.field, a, b); order != 0)
            return (order < 0) != field.descending;
    return a < b;
}

// --- Changes of the shared rows

RecordsetView::Rows::iterator RecordsetView::find(RowId row) {
    if (!m_sort.empty()) // the row's cells have changed already, so its old place can't be computed
        return std::find(m_rows.begin(), m_rows.end(), row);
    const auto found = std::lower_bound(m_rows.begin(), m_rows.end(), row);
    return found != m_rows.end() && *found == row ? found : m_rows.end();
}

RecordsetView::Rows::iterator RecordsetView::placeFor(RowId row) {
    return std::upper_bound(m_rows.begin(), m_rows.end(), row,
                            [&](RowId a, RowId b) { return before(a, b); });
}

void RecordsetView::insert(RowId row) {
    const auto place = placeFor(row);
    const auto index = static_cast<size_t>(place - m_rows.begin());
    m_rows.insert(place, row);
    if (m_where == Where::Gone ? index < m_at : index <= m_at)
        ++m_at;
}

void RecordsetView::RowAdded(RowId row) {
    if (listed() && !m_adding && shows(row))
        insert(row);
}

void RecordsetView::RowChanged(RowId row, int field) {
    if (!listed() || (m_pending && row == m_row))
        return;
    const bool placed =
        (m_filter && m_filter->Uses(field)) ||
        std::any_of(m_sort.begin(), m_sort.end(), [&](auto& s) { return s.field == field; });
    if (placed)
        replace(row);
}

/// Takes the row out and puts it in again where it belongs now; where that is another place, the
/// row behind it becomes the current one.
void RecordsetView::replace(RowId row) {
    const auto found = find(row);
    if (found == m_rows.end()) {
        if (shows(row))
            insert(row);
        return;
    }
    const auto old = static_cast<size_t>(found - m_rows.begin());
    m_rows.erase(found);
    const bool stays = shows(row);
    if (stays && placeFor(row) == m_rows.begin() + static_cast<std::ptrdiff_t>(old)) {
        m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(old), row);
        return;
    }
    const bool current = m_where == Where::On && !m_pending && m_at == old;
    if (old < m_at)
        --m_at;
    if (current)
        standAt(old);
    if (stays)
        insert(row);
}

void RecordsetView::RowDeleted(RowId row) {
    const bool current = m_where == Where::On && m_row == row;
    if (listed() && !(m_pending && current)) {
        const auto found = find(row);
        if (found != m_rows.end()) {
            if (static_cast<size_t>(found - m_rows.begin()) < m_at)
                --m_at;
            m_rows.erase(found);
        }
    }
    if (current)
        m_where = Where::Gone;
}

} // namespace kr
