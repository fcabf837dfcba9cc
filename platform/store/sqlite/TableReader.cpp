#include <algorithm>
#include <utility>

#include "core/Text.h"
#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

namespace {

/// Bytes of a batch that cells point into; chunks never move while the batch lives.
class Arena {
public:
    void Clear() {
        m_chunk = 0;
        m_used = 0;
    }
    std::string_view Keep(std::string_view bytes) {
        if (m_chunks.empty() || m_used + bytes.size() > m_chunks[m_chunk].size)
            grow(bytes.size());
        char* place = m_chunks[m_chunk].bytes.get() + m_used;
        std::copy(bytes.begin(), bytes.end(), place);
        m_used += bytes.size();
        return {place, bytes.size()};
    }

private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        size_t size;
    };
    void grow(size_t size) {
        if (!m_chunks.empty())
            ++m_chunk;
        m_used = 0;
        while (m_chunk < m_chunks.size() && m_chunks[m_chunk].size < size)
            ++m_chunk;
        if (m_chunk < m_chunks.size())
            return;
        const size_t wanted = std::max<size_t>(size, 512 * 1024);
        m_chunks.push_back({std::unique_ptr<char[]>(new char[wanted]), wanted});
    }
    std::vector<Chunk> m_chunks;
    size_t m_chunk = 0;
    size_t m_used = 0;
};

/// A content restriction on one column, with its value folded once.
struct Test {
    size_t column = 0;
    uint32_t level = 0;
    Value value;
    std::string text; // folded when the case is ignored
    bool isText = false;
};

bool matchesText(const Test& test, std::string_view cell) {
    std::string folded;
    if (test.level & FL_IGNORECASE) {
        folded = Fold(cell);
        cell = folded;
    }
    switch (test.level & 0xFFFF) {
    case FL_SUBSTRING:
        return cell.find(test.text) != std::string_view::npos;
    case FL_PREFIX:
        return cell.starts_with(test.text);
    default:
        return cell == test.text;
    }
}

/// A property that the row doesn't have matches nothing; what is no text matches when equal.
bool matches(const Test& test, const TableCell& cell) {
    if (cell.empty())
        return false;
    if (test.isText)
        return cell.isText() && matchesText(test, cell.bytes);
    return cell.value() == test.value;
}

class Table : public MAPITable {
public:
    Table(SessionPtr session, int64_t folder, bool associated)
        : m_session(std::move(session)), m_folder(folder), m_associated(associated),
          m_range(ContentsRange(folder, associated)),
          m_store(m_session->file->StoreOfFolder(folder)) {}

    void Columns(std::vector<PropTag> tags) override {
        m_shown = std::move(tags);
        restart();
    }
    void Restrict(std::optional<Restriction> restriction) override {
        m_restriction = std::move(restriction);
        restart();
    }

    TableRows GetRows(size_t count) override {
        if (!m_planned)
            plan();
        m_arena.Clear();
        m_cells.clear();
        m_rowIds.clear();
        TableRows rows;
        rows.columns = m_shown.size();
        while (rows.rows == 0 && !m_done && count > 0) {
            if (m_indexed)
                readCandidates(count);
            else
                readRange(count);
            rows.rows = m_rowIds.size();
        }
        fetchLongValues();
        if (m_columns.size() != m_shown.size())
            dropHelpers();
        rows.cells = m_cells.data();
        return rows;
    }

private:
    struct Column {
        uint16_t id;
        size_t place; // in a row of m_columns
    };
    /// A column that the row itself answers and not its blob.
    enum Promoted : uint8_t {
        FromBlob,
        Subject,
        Class,
        Created,
        Modified,
        EntryId,
        LongTermId,
        Parent,
        HasAttach,
        Associated,
        StoreId_,
        HasNamed
    };

    void restart() {
        m_planned = m_done = false;
        m_lastId = m_range.first;
    }

    static Promoted promoted(uint16_t id) {
        switch (id) {
        case PropId(PR_SUBJECT):
        case PropId(PR_NORMALIZED_SUBJECT):
            return Subject;
        case PropId(PR_MESSAGE_CLASS):
            return Class;
        case PropId(PR_CREATION_TIME):
            return Created;
        case PropId(PR_LAST_MODIFICATION_TIME):
            return Modified;
        case PropId(PR_ENTRYID):
            return EntryId;
        case PropId(PR_LONGTERM_ENTRYID_FROM_TABLE):
            return LongTermId;
        case PropId(PR_PARENT_ENTRYID):
            return Parent;
        case PropId(PR_STORE_ENTRYID):
            return StoreId_;
        case PropId(PR_HASATTACH):
            return HasAttach;
        case PropId(PR_ASSOCIATED):
            return Associated;
        case PropId(PR_HAS_NAMED_PROPERTIES):
            return HasNamed;
        default:
            return FromBlob;
        }
    }

    void plan() {
        m_planned = true;
        m_columns = m_shown;
        m_tests.clear();
        if (m_restriction)
            addTests(*m_restriction);
        m_blobColumns.clear();
        m_promoted.clear();
        for (size_t i = 0; i < m_columns.size(); ++i) {
            const uint16_t id = PropId(m_columns[i]);
            const Promoted kind = promoted(id);
            if (kind == FromBlob && id != 0)
                m_blobColumns.push_back({id, i});
            else if (id != 0)
                m_promoted.emplace_back(kind, i);
        }
        std::ranges::stable_sort(m_blobColumns, {}, &Column::id);
        findCandidates();
    }

    void addTests(const Restriction& restriction) {
        if (restriction.kind == Restriction::And) {
            for (const Restriction& part : restriction.parts)
                addTests(part);
            return;
        }
        Test test;
        test.column = m_columns.size();
        test.level = restriction.fuzzyLevel;
        test.value = restriction.value;
        if (const auto* text = restriction.value.get<std::string>()) {
            test.isText = true;
            test.text = (test.level & FL_IGNORECASE) ? Fold(*text) : *text;
        }
        m_columns.push_back(restriction.tag);
        m_tests.push_back(std::move(test));
    }

    /// An equality on an indexed property gives the rows to look at.
    void findCandidates() {
        m_indexed = false;
        m_candidates.clear();
        for (const Test& test : m_tests) {
            const uint16_t id = PropId(m_columns[test.column]);
            if (!test.isText || (test.level & 0xFFFF) != FL_FULLSTRING ||
                !m_session->file->IsIndexed(m_store, id))
                continue;
            Use rows(m_session->file->Sql(
                "SELECT msg FROM pidx WHERE folder=? AND tag=? AND key=? ORDER BY msg"));
            rows->Bind(1, m_folder << 1 | (m_associated ? 1 : 0))
                .Bind(2, id)
                .Bind(3, IndexKey(test.text));
            while (rows->Step())
                m_candidates.push_back(rows->Integer(0));
            m_indexed = true;
            return;
        }
    }

    void readCandidates(size_t count) {
        size_t at = 0;
        for (; at < m_candidates.size() && m_rowIds.size() < count; ++at) {
            Use row(m_session->file->Sql("SELECT id,flags,class,ctime,mtime,subject,body FROM msg "
                                         "WHERE id=?"));
            row->Bind(1, m_candidates[at]);
            if (row->Step())
                addRow(*row);
        }
        m_candidates.erase(m_candidates.begin(),
                           m_candidates.begin() + static_cast<std::ptrdiff_t>(at));
        m_done = m_candidates.empty();
    }

    void readRange(size_t count) {
        Use rows(m_session->file->Sql("SELECT id,flags,class,ctime,mtime,subject,body FROM msg "
                                      "WHERE id>? AND id<=? ORDER BY id LIMIT ?"));
        // a restriction that drops most rows is read in larger steps
        const size_t step = m_tests.empty() ? count : std::max<size_t>(count, 2000);
        rows->Bind(1, m_lastId).Bind(2, m_range.last).Bind(3, static_cast<int64_t>(step));
        size_t seen = 0;
        while (m_rowIds.size() < count && rows->Step()) {
            ++seen;
            m_lastId = rows->Integer(0);
            addRow(*rows);
        }
        m_done = seen < step && m_rowIds.size() < count;
    }

    /// Fills a row of cells; takes it back when the restriction doesn't hold.
    void addRow(Statement& row) {
        const size_t first = m_cells.size();
        m_cells.resize(first + m_columns.size());
        TableCell* cells = m_cells.data() + first;
        m_hasLong = false;
        fillPromoted(row, cells);
        const std::string_view blob = row.Text(6);
        const bool keepFirst = m_tests.empty();
        fillBlob(keepFirst ? m_arena.Keep(blob) : blob, cells);
        if (!keepFirst) {
            if (m_hasLong)
                fetchTested(row.Integer(0), cells);
            if (!passes(cells)) {
                m_cells.resize(first);
                return;
            }
            keepTexts(cells);
        }
        m_rowIds.push_back(row.Integer(0));
        if (m_hasLong)
            m_longRows.push_back(m_rowIds.size() - 1);
    }

    /// Long values that the restriction looks at.
    void fetchTested(int64_t owner, TableCell* cells) {
        for (const Test& test : m_tests) {
            TableCell& cell = cells[test.column];
            if (cell.integer != -1 || !isVariable(cell))
                continue;
            Use value(m_session->file->Sql("SELECT value FROM big WHERE owner=? AND tag=?"));
            value->Bind(1, owner).Bind(2, PropId(m_columns[test.column]));
            if (value->Step())
                cell.bytes = m_arena.Keep(value->Text(0));
            cell.integer = 0;
        }
    }

    bool passes(const TableCell* cells) const {
        return std::ranges::all_of(m_tests, [&](const Test& test) {
            TableCell cell = cells[test.column];
            return matches(test, cell);
        });
    }

    void keepTexts(TableCell* cells) {
        for (size_t i = 0; i < m_columns.size(); ++i)
            if (!cells[i].bytes.empty())
                cells[i].bytes = m_arena.Keep(cells[i].bytes);
    }

    void fillPromoted(Statement& row, TableCell* cells) {
        for (const auto& [kind, place] : m_promoted)
            fillOne(kind, row, cells[place]);
    }

    void text(TableCell& cell, std::string_view value) {
        cell.type = PropType::String;
        cell.bytes = m_tests.empty() ? m_arena.Keep(value) : value;
    }
    void id(TableCell& cell, const EntryID& value) {
        const auto bytes = UnHex(value.text());
        cell.type = PropType::Binary;
        cell.bytes = m_arena.Keep(*bytes);
    }
    static void flag(TableCell& cell, bool value) {
        cell.type = PropType::Boolean;
        cell.integer = value;
    }
    static void time(TableCell& cell, int64_t ticks) {
        cell.type = PropType::Time;
        cell.integer = ticks / kTicksPerSecond - kFileTimeEpoch;
    }

    void fillOne(Promoted kind, Statement& row, TableCell& cell) {
        StoreFile& file = *m_session->file;
        const StoreRow* store = file.StoreById(m_store);
        switch (kind) {
        case Subject:
            if (const std::string_view subject = row.Text(5); !subject.empty())
                text(cell, subject);
            break;
        case Class:
            text(cell, file.ClassName(row.Integer(2)));
            break;
        case Created:
            time(cell, row.Integer(3));
            break;
        case Modified:
            time(cell, row.Integer(4));
            break;
        case EntryId:
            id(cell, ShortTermId(m_session->number, ObjectId::Message, row.Integer(0)));
            break;
        case LongTermId:
            id(cell, MessageId(store->guid, store->isPublic, row.Integer(0)));
            break;
        case Parent:
            id(cell, FolderId(store->guid, store->isPublic, m_folder));
            break;
        case StoreId_:
            id(cell, StoreId(store->guid, store->isPublic));
            break;
        case HasAttach:
            flag(cell, (row.Integer(1) & 1) != 0);
            break;
        case Associated:
            flag(cell, m_associated);
            break;
        case HasNamed: {
            BlobReader reader(row.Text(6));
            bool named = false;
            for (RawProperty p; !named && reader.Next(p);)
                named = PropId(p.tag) >= 0x8000;
            flag(cell, named);
            break;
        }
        case FromBlob:
            break;
        }
    }

    /// One pass over the blob beside the columns in the order of their ids.
    void fillBlob(std::string_view blob, TableCell* cells) {
        if (m_blobColumns.empty())
            return;
        BlobReader reader(blob);
        auto column = m_blobColumns.begin();
        for (RawProperty p; column != m_blobColumns.end() && reader.Next(p);) {
            const uint16_t id = PropId(p.tag);
            while (column != m_blobColumns.end() && column->id < id)
                ++column;
            for (; column != m_blobColumns.end() && column->id == id; ++column) {
                TableCell& cell = cells[column->place];
                if (p.big)
                    longValue(cell, p);
                else
                    DecodeCell(TypeOf(p.tag), p.payload, cell);
            }
        }
    }

    /// A value kept outside is fetched when the rows are there; with a restriction on it, at once.
    void longValue(TableCell& cell, const RawProperty& p) {
        cell.type = TypeOf(p.tag);
        cell.integer = -1;
        m_hasLong = true;
    }

    void fetchLongValues() {
        for (const size_t r : std::exchange(m_longRows, {})) {
            TableCell* cells = m_cells.data() + r * m_columns.size();
            for (const Column& column : m_blobColumns) {
                TableCell& cell = cells[column.place];
                if (cell.integer != -1 || !cell.bytes.empty() || cell.empty() || !isVariable(cell))
                    continue;
                Use row(m_session->file->Sql("SELECT value FROM big WHERE owner=? AND tag=?"));
                row->Bind(1, m_rowIds[r]).Bind(2, column.id);
                cell.integer = 0;
                if (row->Step())
                    cell.bytes = m_arena.Keep(row->Text(0));
            }
        }
        if (m_session->cutTexts > 0)
            for (TableCell& cell : m_cells)
                if (cell.bytes.size() > m_session->cutTexts &&
                    (cell.isText() || cell.type == PropType::Binary))
                    cell.bytes = cell.bytes.substr(0, m_session->cutTexts);
    }
    static bool isVariable(const TableCell& cell) {
        return cell.isText() || cell.type == PropType::Binary ||
               cell.type == PropType::StringList || cell.type == PropType::UnicodeList;
    }

    /// Columns that only the restriction needed go.
    void dropHelpers() {
        std::vector<TableCell> kept;
        kept.reserve(m_rowIds.size() * m_shown.size());
        for (size_t r = 0; r < m_rowIds.size(); ++r)
            for (size_t c = 0; c < m_shown.size(); ++c)
                kept.push_back(m_cells[r * m_columns.size() + c]);
        m_cells.swap(kept);
    }

    SessionPtr m_session;
    int64_t m_folder;
    bool m_associated;
    IdRange m_range;
    int64_t m_store;
    std::vector<PropTag> m_shown;
    std::vector<PropTag> m_columns; // shown ones, then those of the restriction
    std::optional<Restriction> m_restriction;
    std::vector<Test> m_tests;
    std::vector<Column> m_blobColumns;
    std::vector<std::pair<Promoted, size_t>> m_promoted;
    std::vector<int64_t> m_candidates;
    bool m_indexed = false;
    bool m_planned = false;
    bool m_done = false;
    bool m_hasLong = false;
    int64_t m_lastId = 0;
    std::vector<TableCell> m_cells;
    std::vector<int64_t> m_rowIds;
    std::vector<size_t> m_longRows;
    Arena m_arena;
};

} // namespace

MAPITablePtr OpenTable(const SessionPtr& session, int64_t folder, bool associated) {
    return std::make_shared<Table>(session, folder, associated);
}

} // namespace kr::sqlite
