#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kr {

/// A column's sort kind, told by the first three letters of its key.
enum class SortKind { Text, Date, Number, Check };

struct ListColumn {
    std::string title;
    /// Sort kind and, from "sort" on, a hidden helper column.
    std::string key;
    /// Header and cells stand in the middle.
    bool centred = false;
    bool visible() const;
    SortKind kind() const;
};

/// One row; `texts` holds the item's text and its sub-items.
struct ListRow {
    std::string key;
    std::string tag;
    std::string icon;
    std::vector<std::string> texts;
    bool ghosted = false;
    bool bold = false;
    bool red = false;
    bool checkable = false;
    bool checked = false;
};

enum class SortOrder { Ascending, Descending };

/// The content of a list view without any widget. Rows keep their place in `rows()`; the order
/// shown is `order()`, a permutation. Listeners hear of changes in batches.
class ListModel {
public:
    struct Listener {
        virtual ~Listener() = default;
        /// Columns or everything changed.
        virtual void OnReset() = 0;
        virtual void OnAppended(size_t first, size_t count) = 0;
        virtual void OnRemoved(size_t position) = 0;
        virtual void OnChanged(size_t position) = 0;
        virtual void BeforeReorder() = 0;
        virtual void AfterReorder(const std::vector<uint32_t>& oldOrder) = 0;
    };

    void SetListener(Listener* listener) { m_listener = listener; }

    void Clear();
    void SetColumns(std::vector<ListColumn> columns);
    const std::vector<ListColumn>& Columns() const { return m_columns; }

    /// Appends at the end of the present order.
    void Add(ListRow row);
    void AddAll(std::vector<ListRow> rows);
    void Remove(size_t position);
    /// Replaces the row shown at that position.
    void Change(size_t position, ListRow row);
    void SetChecked(size_t position, bool checked);

    size_t Count() const { return m_order.size(); }
    const ListRow& At(size_t position) const { return m_rows[m_order[position]]; }
    /// The text of a cell; "" when the row has no such sub-item.
    std::string_view Text(size_t position, int column) const;
    /// The row numbers in the order shown; a row keeps its number when the order changes.
    const std::vector<uint32_t>& order() const { return m_order; }
    /// Position of the row with that key, the first added when several have it; npos when there is
    /// none, and for an empty key.
    size_t Find(std::string_view key) const;
    static constexpr size_t npos = static_cast<size_t>(-1);

    /// Sorts by the column's kind (see SortKey in core/basListView.h). Stable.
    void Sort(int column, SortOrder order);
    int SortColumn() const { return m_sortColumn; }
    SortOrder Order() const { return m_sortOrder; }
    /// What a click on a header does: the opposite of the present order, whichever column was last.
    void ColumnClick(int column);

private:
    std::string_view cell(uint32_t row, int column) const;
    void append(ListRow row);
    void forgetKeys();
    const std::vector<double>& numbersOf(int column);
    const std::vector<uint32_t>& ranksOf(int column);
    void indexRow(uint32_t row) const;
    size_t positionOf(uint32_t row) const;
    void compact();

    std::vector<ListColumn> m_columns;
    std::vector<ListRow> m_rows; // a removed row leaves an empty one until the next compact()
    std::vector<uint32_t> m_order;
    // Sort keys by row number, computed once per column at its first sort.
    std::unordered_map<int, std::vector<double>> m_numbers;
    std::unordered_map<int, std::vector<uint32_t>> m_ranks;
    // Row numbers by their key's hash, and positions by row number; made at the first Find.
    mutable std::unordered_multimap<size_t, uint32_t> m_index;
    mutable std::vector<uint32_t> m_positions;
    mutable size_t m_removedSince = 0; // a row stands at most so many places before m_positions
    mutable bool m_indexReady = false;
    mutable bool m_positionsReady = false;
    Listener* m_listener = nullptr;
    int m_sortColumn = 0;
    SortOrder m_sortOrder = SortOrder::Ascending;
};

} // namespace kr
