#include <algorithm>
#include <map>
#include <utility>

#include "platform/store/sqlite/Arena.h"
#include "platform/store/sqlite/Match.h"
#include "platform/store/sqlite/RowCells.h"

namespace kr::sqlite {

namespace {

/// All content tests of a restriction, whose And is flat in the end.
void collectTests(const Restriction& restriction, std::vector<ContentTest>& tests) {
    if (restriction.kind == Restriction::Content)
        return tests.push_back(ContentTest(restriction));
    for (const Restriction& part : restriction.parts)
        collectTests(part, tests);
}

std::vector<PropTag> tagsOf(const std::vector<ContentTest>& tests) {
    std::vector<PropTag> tags;
    for (const ContentTest& test : tests)
        tags.push_back(test.tag());
    return tags;
}

bool asksForClass(const ContentTest& test) {
    return PropId(test.tag()) == PropId(PR_MESSAGE_CLASS);
}

/// Tells which rows a restriction lets through, from the row as SQLite shows it.
class RowFilter {
public:
    RowFilter(const SessionPtr& session, const StoreRef& store, int64_t folder,
              std::vector<ContentTest> tests)
        : m_session(session), m_tests(std::move(tests)),
          m_classTests(std::stable_partition(m_tests.begin(), m_tests.end(),
                                             [](const auto& test) { return !asksForClass(test); })),
          m_cells(session, store, folder, tagsOf({m_tests.begin(), m_classTests})),
          m_row(m_cells.Count()) {}
    RowFilter(const RowFilter&) = delete;
    RowFilter& operator=(const RowFilter&) = delete;

    /// What is cheap to know comes first: the class, then the row's own columns, then the blob.
    bool Passes(Statement& row) {
        if (!passesClass(row.Integer(2)))
            return false;
        m_arena.Clear();
        m_cells.FillPromoted(row, m_row.data(), m_arena, false);
        if (!passes(true))
            return false;
        m_long.clear();
        m_cells.FillFromBlob(row, m_row.data(), m_arena, false, m_long);
        for (const RowCells::LongValue& value : m_long)
            fetch(row.Integer(0), value);
        return passes(false);
    }

    const std::vector<ContentTest>& Tests() const { return m_tests; }

private:
    bool passes(bool promoted) const {
        for (size_t i = 0; i < m_row.size(); ++i)
            if (m_cells.Promoted(i) == promoted && !m_tests[i].Matches(m_row[i]))
                return false;
        return true;
    }
    /// Classes are few: each is looked at once.
    bool passesClass(int64_t id) {
        if (m_classTests == m_tests.end())
            return true;
        const auto known = m_classes.find(id);
        if (known != m_classes.end())
            return known->second;
        TableCell cell;
        cell.type = PropType::String;
        cell.bytes = m_session->file().ClassName(id);
        return m_classes[id] =
                   std::all_of(m_classTests, m_tests.end(),
                               [&](const ContentTest& test) { return test.Matches(cell); });
    }
    void fetch(int64_t message, const RowCells::LongValue& value) {
        Use found = m_session->file().Query("SELECT value FROM big WHERE owner=? AND tag=?",
                                            message, PropId(m_tests[value.column].tag()));
        if (found->Step())
            DecodeCell(value.type, m_arena.Keep(found->Text(0)), m_row[value.column]);
    }

    SessionPtr m_session;
    std::vector<ContentTest> m_tests; // those for the class stand last
    std::vector<ContentTest>::iterator m_classTests;
    std::map<int64_t, bool> m_classes;
    RowCells m_cells;
    std::vector<TableCell> m_row;
    std::vector<RowCells::LongValue> m_long;
    Arena m_arena;
};

/// The first `count` characters of a UTF-8 text.
std::string_view cutText(std::string_view text, size_t count) {
    for (size_t at = 0; at < text.size(); ++at)
        if ((text[at] & 0xC0) != 0x80 && count-- == 0)
            return text.substr(0, at);
    return text;
}

class Table : public MAPITable {
public:
    Table(SessionPtr session, StoreRef store, int64_t folder, bool associated)
        : m_session(std::move(session)), m_store(std::move(store)), m_folder(folder),
          m_range(ContentsRange(folder, associated)) {}

    void Columns(std::vector<PropTag> tags) override {
        m_shown.emplace(m_session, m_store, m_folder, std::move(tags));
        restart();
    }
    void Restrict(std::optional<Restriction> restriction) override {
        std::vector<ContentTest> tests;
        if (restriction)
            collectTests(*restriction, tests);
        m_filter.reset();
        if (!tests.empty())
            m_filter.emplace(m_session, m_store, m_folder, std::move(tests));
        restart();
    }
    TableRows GetRows(size_t count) override;

private:
    void restart() {
        m_started = m_done = false;
        m_next = m_range.first;
    }
    void findCandidates();
    std::vector<int64_t> candidatesOf(const ContentTest& test);
    void readCandidates(size_t count);
    void readRange(size_t count);
    void add(Statement& row);
    void fetchLongValues();
    void cut();

    SessionPtr m_session;
    StoreRef m_store;
    int64_t m_folder;
    IdRange m_range;
    std::optional<RowCells> m_shown;
    std::optional<RowFilter> m_filter;

    bool m_started = false;
    bool m_done = false;
    int64_t m_next = 0;                               // first row id not looked at yet
    std::optional<std::vector<int64_t>> m_candidates; // rows that an index names
    size_t m_candidate = 0;

    struct LongCell {
        size_t row;
        int64_t message;
        RowCells::LongValue value;
        uint16_t id;
    };
    size_t m_rows = 0;
    std::vector<TableCell> m_cells;
    std::vector<LongCell> m_longCells;
    std::vector<RowCells::LongValue> m_long;
    Arena m_arena;
};

TableRows Table::GetRows(size_t count) {
    m_arena.Clear();
    m_longCells.clear();
    m_rows = 0;
    if (!m_shown)
        m_shown.emplace(m_session, m_store, m_folder, std::vector<PropTag>());
    if (!std::exchange(m_started, true))
        findCandidates();
    if (!m_done && count > 0)
        m_candidates ? readCandidates(count) : readRange(count);
    fetchLongValues();
    cut();
    return {m_rows, m_shown->Count(), m_cells.data()};
}

/// Of the equalities on indexed properties the one with the fewest rows gives those to look at.
void Table::findCandidates() {
    m_candidates.reset();
    m_candidate = 0;
    if (!m_filter)
        return;
    for (const ContentTest& test : m_filter->Tests()) {
        if (!test.Equality() ||
            !m_session->file().names().IsIndexed(m_store->id, PropId(test.tag())))
            continue;
        auto candidates = candidatesOf(test);
        if (!m_candidates || candidates.size() < m_candidates->size())
            m_candidates = std::move(candidates);
    }
}

std::vector<int64_t> Table::candidatesOf(const ContentTest& test) {
    std::vector<int64_t> found;
    Use rows = m_session->file().Query(
        "SELECT msg FROM pidx WHERE folder=? AND tag=? AND key=? AND msg BETWEEN ? AND ?", m_folder,
        PropId(test.tag()), test.Key(), m_range.first, m_range.last);
    while (rows->Step())
        found.push_back(rows->Integer(0));
    return found;
}

void Table::readCandidates(size_t count) {
    for (; m_candidate < m_candidates->size() && m_rows < count; ++m_candidate) {
        Use row = m_session->file().Query("SELECT " KR_ROW_COLUMNS " FROM msg WHERE id=?",
                                          (*m_candidates)[m_candidate]);
        if (row->Step() && m_filter->Passes(*row))
            add(*row);
    }
}

void Table::readRange(size_t count) {
    // a restriction may have to look at any number of rows before it has its batch
    const int64_t limit = m_filter ? -1 : static_cast<int64_t>(count);
    Use rows = m_session->file().Query("SELECT " KR_ROW_COLUMNS
                                       " FROM msg WHERE id>=? AND id<=? ORDER BY id LIMIT ?",
                                       m_next, m_range.last, limit);
    while (m_rows < count) {
        if (!rows->Step()) {
            m_done = m_filter.has_value() || m_rows == 0;
            return;
        }
        m_next = rows->Integer(0) + 1;
        if (!m_filter || m_filter->Passes(*rows))
            add(*rows);
    }
}

void Table::add(Statement& row) {
    const size_t columns = m_shown->Count();
    if (m_cells.size() < (m_rows + 1) * columns)
        m_cells.resize(std::max(m_cells.size() * 2, (m_rows + 1) * columns));
    TableCell* cells = m_cells.data() + m_rows * columns;
    m_long.clear();
    m_shown->FillPromoted(row, cells, m_arena, true);
    m_shown->FillFromBlob(row, cells, m_arena, true, m_long);
    for (const RowCells::LongValue& value : m_long)
        m_longCells.push_back({m_rows, row.Integer(0), value, m_shown->IdOfColumn(value.column)});
    ++m_rows;
}

void Table::fetchLongValues() {
    for (const LongCell& cell : m_longCells) {
        Use found = m_session->file().Query("SELECT value FROM big WHERE owner=? AND tag=?",
                                            cell.message, cell.id);
        if (found->Step())
            DecodeCell(cell.value.type, m_arena.Keep(found->Text(0)),
                       m_cells[cell.row * m_shown->Count() + cell.value.column]);
    }
}

void Table::cut() {
    const size_t most = m_session->cutTexts;
    if (most == 0)
        return;
    for (size_t i = 0; i < m_rows * m_shown->Count(); ++i) {
        TableCell& cell = m_cells[i];
        if (cell.isText())
            cell.bytes = cutText(cell.bytes, most);
        else if (cell.type == PropType::Binary)
            cell.bytes = cell.bytes.substr(0, most);
    }
}

} // namespace

MAPITablePtr OpenTable(const SessionPtr& session, const StoreRef& store, int64_t folder,
                       bool associated) {
    return std::make_shared<Table>(session, store, folder, associated);
}

} // namespace kr::sqlite
