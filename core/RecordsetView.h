#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/RecordsetData.h"
#include "core/Text.h"

namespace kr {

/// What one recordset adds to the rows that it shares: filter, sort and position. With a filter or
/// a sort it keeps the numbers of the rows shown, and a changed row is placed anew at once.
class RecordsetView : public RecordsetObserver {
public:
    explicit RecordsetView(RecordsetData& data);
    ~RecordsetView() override;

    int64_t Count() const;
    bool AtBegin() const;
    bool AtEnd() const;
    void First();
    void Next();
    void Previous();
    void Last();
    /// The current row when it can be read.
    std::optional<RowId> Current() const;
    bool GoTo(RowId row);
    /// Makes a new row the current one. It stays so until a move, also where the filter hides it.
    void Add();

    bool SetFilter(std::string_view text);
    const std::string& Filter() const { return m_filterText; }
    bool SetSort(std::string_view text);
    const std::string& Sort() const { return m_sortText; }

    void RowAdded(RowId row) override;
    void RowChanged(RowId row, int field) override;
    void RowDeleted(RowId row) override;

private:
    struct SortField {
        int field = 0;
        bool descending = false;
    };
    /// Gone: on a deleted row.
    enum class Where { Before, On, Gone, After };
    using Rows = std::vector<RowId>;

    std::optional<std::vector<SortField>> parseSort(std::string_view text) const;
    bool listed() const { return m_filter || m_hideAll || !m_sort.empty(); }
    bool shows(RowId row) const;
    void rebuild();
    void sortRows();
    std::vector<uint32_t> ranksOf(int field) const;
    bool before(RowId a, RowId b) const;
    int compareCells(int field, RowId a, RowId b) const;
    Rows::iterator find(RowId row);
    Rows::iterator placeFor(RowId row);
    void insert(RowId row);
    void replace(RowId row);
    void standAt(size_t index);
    void settle();
    void step(bool forward);
    void stepRows(bool forward);

    RecordsetData& m_data;
    std::shared_ptr<const RecordsetFilter> m_filter;
    bool m_hideAll = false; // the filter did not parse
    std::string m_filterText;
    std::vector<SortField> m_sort;
    std::string m_sortText;
    std::unique_ptr<Collator> m_collator; // made at the first sort

    Rows m_rows; // those shown, in order; only while listed()
    Where m_where = Where::After;
    RowId m_row = 0;        // On and Gone
    size_t m_at = 0;        // its index in m_rows; Gone: of the row behind it
    bool m_pending = false; // the current row is new and not in m_rows yet
    bool m_adding = false;
};

} // namespace kr
