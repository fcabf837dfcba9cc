#include <algorithm>
#include <utility>

#include "platform/store/sqlite/Arena.h"
#include "platform/store/sqlite/Objects.h"
#include "platform/store/sqlite/RowTests.h"

namespace kr::sqlite {

namespace {

/// What answers a column: the property blob, or something of the row itself.
enum class Source : uint8_t {
    Blob,
    Subject,
    Class,
    Created,
    Modified,
    EntryId,
    LongTermId,
    Parent,
    HasAttach,
    Associated,
    Store,
    HasNamed
};

Source sourceOf(uint16_t id) {
    switch (id) {
    case PropId(PR_SUBJECT):
    case PropId(PR_NORMALIZED_SUBJECT):
        return Source::Subject;
    case PropId(PR_MESSAGE_CLASS):
        return Source::Class;
    case PropId(PR_CREATION_TIME):
        return Source::Created;
    case PropId(PR_LAST_MODIFICATION_TIME):
        return Source::Modified;
    case PropId(PR_ENTRYID):
        return Source::EntryId;
    case PropId(PR_LONGTERM_ENTRYID_FROM_TABLE):
        return Source::LongTermId;
    case PropId(PR_PARENT_ENTRYID):
        return Source::Parent;
    case PropId(PR_STORE_ENTRYID):
        return Source::Store;
    case PropId(PR_HASATTACH):
        return Source::HasAttach;
    case PropId(PR_ASSOCIATED):
        return Source::Associated;
    case PropId(PR_HAS_NAMED_PROPERTIES):
        return Source::HasNamed;
    default:
        return Source::Blob;
    }
}

constexpr const char* kRange = "SELECT id,flags,class,ctime,mtime,subject,body FROM msg "
                               "WHERE id>? AND id<=? ORDER BY id LIMIT ?";
constexpr const char* kOne = "SELECT id,flags,class,ctime,mtime,subject,body FROM msg WHERE id=?";
constexpr const char* kCandidates =
    "SELECT msg FROM pidx WHERE folder=? AND tag=? AND key=? ORDER BY msg";
constexpr const char* kLongValue = "SELECT value FROM big WHERE owner=? AND tag=?";

bool isVariable(const TableCell& cell) {
    return cell.isText() || cell.type == PropType::Binary || cell.type == PropType::StringList ||
           cell.type == PropType::UnicodeList;
}
bool isKeptOutside(const TableCell& cell) {
    return cell.integer == kKeptOutside && isVariable(cell);
}

bool hasNamed(std::string_view blob) {
    BlobReader reader(blob);
    for (RawProperty p; reader.Next(p);)
        if (PropId(p.tag) >= 0x8000)
            return true;
    return false;
}

TableCell bytesCell(std::string_view bytes) {
    TableCell cell;
    cell.type = PropType::Binary;
    cell.bytes = bytes;
    return cell;
}
TableCell textCell(std::string_view text) {
    TableCell cell;
    cell.type = PropType::String;
    cell.bytes = text;
    return cell;
}
TableCell flagCell(bool value) {
    TableCell cell;
    cell.type = PropType::Boolean;
    cell.integer = value;
    return cell;
}
TableCell timeCell(int64_t ticks) {
    TableCell cell;
    cell.type = PropType::Time;
    cell.integer = ticks / kTicksPerSecond - kFileTimeEpoch;
    return cell;
}

class Table : public MAPITable {
public:
    Table(SessionPtr session, int64_t folder, bool associated)
        : m_session(std::move(session)), m_folder(folder), m_associated(associated),
          m_range(ContentsRange(folder, associated)), m_lastId(m_range.first) {
        m_store = file().StoreOfFolder(folder);
    }

    void Columns(std::vector<PropTag> tags) override {
        m_blobColumns.clear();
        m_rowColumns.clear();
        m_columns = tags.size();
        for (size_t i = 0; i < tags.size(); ++i) {
            const uint16_t id = PropId(tags[i]);
            const Source source = sourceOf(id);
            makeId(source);
            if (source != Source::Blob || id == 0)
                m_rowColumns.emplace_back(source, i);
            else
                m_blobColumns.push_back({id, i});
        }
        std::ranges::stable_sort(m_blobColumns, {}, &BlobColumn::id);
        restart();
    }

    void Restrict(std::optional<Restriction> restriction) override {
        m_tests = restriction ? TestsOf(*restriction) : std::vector<RowTest>();
        m_blobTests.clear();
        for (size_t i = 0; i < m_tests.size(); ++i) {
            const Source source = sourceOf(m_tests[i].id());
            makeId(source);
            if (source == Source::Blob)
                m_blobTests.push_back({m_tests[i].id(), i});
        }
        std::ranges::stable_sort(m_blobTests, {}, &BlobColumn::id);
        m_tested.assign(m_tests.size(), {});
        m_classes.clear();
        restart();
    }

    TableRows GetRows(size_t count) override {
        m_kept.Clear();
        m_rowIds.clear();
        m_longRows.clear();
        if (!m_planned && count > 0) {
            findCandidates(count);
            m_planned = true;
        }
        while (m_rowIds.empty() && !m_done && count > 0) {
            if (m_indexed)
                readCandidates(count);
            else
                readRange(count);
        }
        fetchLongValues();
        cutTexts();
        TableRows rows;
        rows.rows = m_rowIds.size();
        rows.columns = m_columns;
        rows.cells = m_cells.data();
        return rows;
    }

private:
    StoreFile& file() const { return *m_session->file; }

    void restart() {
        m_planned = m_done = m_indexed = false;
        m_candidates.clear();
        m_lastId = m_range.first;
    }

    /// An id that all rows share but for the row's own number, which is put in for each row; made
    /// only for a column or test that asks for it.
    void makeId(Source source) {
        const StoreRow* store = file().StoreById(m_store);
        if (!store)
            return; // the folder has gone, and its rows with it
        if (source == Source::Parent)
            m_parentId = FolderIdBytes(store->guid, store->isPublic, m_folder);
        else if (source == Source::Store)
            m_storeId = StoreIdBytes(store->guid, store->isPublic);
        else if (source == Source::LongTermId)
            m_longTermId = MessageIdBytes(store->guid, store->isPublic, m_range.first);
        else if (source == Source::EntryId)
            m_shortTermId = ShortTermIdBytes(m_session->number, ObjectId::Message, 0);
    }

    /// An equality on an indexed property gives the rows to look at; the first ones are read at
    /// once, within the same read transaction.
    void findCandidates(size_t count) {
        for (const RowTest& test : m_tests) {
            if (!test.isText || !test.whole() || !file().IsIndexed(m_store, test.id()))
                continue;
            Use rows(file().Sql(kCandidates));
            rows->Bind(1, m_folder << 1 | (m_associated ? 1 : 0))
                .Bind(2, test.id())
                .Bind(3, IndexKey(test.text));
            while (rows->Step())
                m_candidates.push_back(rows->Integer(0));
            std::ranges::reverse(m_candidates); // the next one stands last
            m_indexed = true;
            readCandidates(count);
            return;
        }
    }

    void readCandidates(size_t count) {
        Statement& one = file().Sql(kOne);
        while (!m_candidates.empty() && m_rowIds.size() < count) {
            Use row(one);
            row->Bind(1, m_candidates.back());
            m_candidates.pop_back();
            if (row->Step())
                addRow(*row, count);
        }
        m_done = m_candidates.empty();
    }

    void readRange(size_t count) {
        // a restriction that drops most rows is read in larger steps
        const size_t step = m_tests.empty() ? count : std::max<size_t>(count, 2000);
        Use rows(file().Sql(kRange));
        rows->Bind(1, m_lastId).Bind(2, m_range.last).Bind(3, static_cast<int64_t>(step));
        size_t seen = 0;
        while (m_rowIds.size() < count && rows->Step()) {
            ++seen;
            m_lastId = rows->Integer(0);
            addRow(*rows, count);
        }
        m_done = seen < step && m_rowIds.size() < count;
    }

    void addRow(Statement& row, size_t count) {
        if (!m_tests.empty() && !passes(row))
            return;
        TableCell* cells = room(count);
        const bool outside =
            !m_blobColumns.empty() && FillCells(m_kept.Keep(row.Text(6)), m_blobColumns, cells);
        for (const auto& [source, place] : m_rowColumns)
            cells[place] = cellOf(source, row, m_kept);
        if (outside)
            m_longRows.push_back(m_rowIds.size());
        m_rowIds.push_back(row.Integer(0));
    }

    /// Cells of the next row; for a batch of the usual size there is room from the first one on.
    TableCell* room(size_t count) {
        const size_t first = m_rowIds.size() * m_columns;
        if (m_cells.size() < first + m_columns)
            m_cells.resize(std::max(m_cells.size() * 2, std::min<size_t>(count, 64) * m_columns));
        return m_cells.data() + first;
    }

    /// What the row itself costs least comes first.
    bool passes(Statement& row) {
        for (const RowTest& test : m_tests)
            if (const Source source = sourceOf(test.id()); source != Source::Blob)
                if (!passesRow(test, source, row))
                    return false;
        if (m_blobTests.empty())
            return true;
        if (FillCells(row.Text(6), m_blobTests, m_tested.data()))
            fetchTested(row.Integer(0));
        return std::ranges::all_of(m_blobTests, [&](const BlobColumn& column) {
            return Matches(m_tests[column.place], m_tested[column.place]);
        });
    }

    bool passesRow(const RowTest& test, Source source, Statement& row) {
        if (source == Source::Class)
            return passesClass(test, row.Integer(2));
        m_scratch.Clear();
        return Matches(test, cellOf(source, row, m_scratch));
    }

    /// Classes are few: each is compared once and then known by its number.
    bool passesClass(const RowTest& test, int64_t classId) {
        for (const ClassAnswer& answer : m_classes)
            if (answer.test == &test && answer.id == classId)
                return answer.passes;
        const bool passes = Matches(test, textCell(file().ClassName(classId)));
        m_classes.push_back({&test, classId, passes});
        return passes;
    }

    /// Long values that the restriction looks at.
    void fetchTested(int64_t owner) {
        m_scratch.Clear();
        for (const BlobColumn& column : m_blobTests)
            if (TableCell& cell = m_tested[column.place]; isKeptOutside(cell))
                fetchOne(owner, column.id, cell, m_scratch);
    }

    void fetchOne(int64_t owner, uint16_t id, TableCell& cell, Arena& arena) {
        Use value(file().Sql(kLongValue));
        value->Bind(1, owner).Bind(2, id);
        cell.integer = 0;
        if (value->Step())
            cell.bytes = arena.Keep(value->Text(0));
    }

    TableCell cellOf(Source source, Statement& row, Arena& arena) {
        switch (source) {
        case Source::Subject: {
            const std::string_view subject = row.Text(5);
            return subject.empty() ? TableCell() : textCell(arena.Keep(subject));
        }
        case Source::Class:
            return textCell(arena.Keep(file().ClassName(row.Integer(2))));
        case Source::Created:
            return timeCell(row.Integer(3));
        case Source::Modified:
            return timeCell(row.Integer(4));
        case Source::EntryId: {
            char* id = idFrom(m_shortTermId, arena);
            if (id)
                PutShortTerm(id, row.Integer(0));
            return idCell(id, kShortTermIdSize);
        }
        case Source::LongTermId: {
            char* id = idFrom(m_longTermId, arena);
            if (id)
                PutMessage(id, row.Integer(0));
            return idCell(id, kMessageIdSize);
        }
        case Source::Parent:
            return bytesCell(m_parentId);
        case Source::Store:
            return bytesCell(m_storeId);
        case Source::HasAttach:
            return flagCell((row.Integer(1) & 1) != 0);
        case Source::Associated:
            return flagCell(m_associated);
        case Source::HasNamed:
            return flagCell(hasNamed(row.Text(6)));
        case Source::Blob: // a tag without id
            break;
        }
        return {};
    }

    static char* idFrom(const std::string& pattern, Arena& arena) {
        if (pattern.empty())
            return nullptr;
        char* id = arena.Room(pattern.size());
        std::memcpy(id, pattern.data(), pattern.size());
        return id;
    }
    static TableCell idCell(const char* id, size_t size) {
        return id ? bytesCell({id, size}) : TableCell();
    }

    /// Values kept outside come when all rows are there: no statement inside another one's steps.
    void fetchLongValues() {
        for (const size_t row : m_longRows) {
            TableCell* cells = m_cells.data() + row * m_columns;
            for (const BlobColumn& column : m_blobColumns)
                if (TableCell& cell = cells[column.place]; isKeptOutside(cell))
                    fetchOne(m_rowIds[row], column.id, cell, m_kept);
        }
    }

    void cutTexts() {
        const size_t longest = m_session->cutTexts;
        if (longest == 0)
            return;
        for (size_t i = 0; i < m_rowIds.size() * m_columns; ++i)
            if (TableCell& cell = m_cells[i]; cell.isText() || cell.type == PropType::Binary)
                cell.bytes = cell.bytes.substr(0, longest);
    }

    struct ClassAnswer {
        const RowTest* test;
        int64_t id;
        bool passes;
    };

    SessionPtr m_session;
    int64_t m_folder;
    bool m_associated;
    IdRange m_range;
    int64_t m_store = 0;
    std::string m_parentId, m_storeId, m_longTermId, m_shortTermId;

    size_t m_columns = 0;
    std::vector<BlobColumn> m_blobColumns;
    std::vector<std::pair<Source, size_t>> m_rowColumns;
    std::vector<RowTest> m_tests;
    std::vector<BlobColumn> m_blobTests; // places count in m_tests and m_tested
    std::vector<TableCell> m_tested;
    std::vector<ClassAnswer> m_classes;

    std::vector<int64_t> m_candidates;
    bool m_indexed = false;
    bool m_planned = false;
    bool m_done = false;
    int64_t m_lastId;

    std::vector<TableCell> m_cells;
    std::vector<int64_t> m_rowIds;
    std::vector<size_t> m_longRows;
    Arena m_kept;    // what the batch's cells point to
    Arena m_scratch; // what a test of one row needs
};

} // namespace

MAPITablePtr OpenTable(const SessionPtr& session, int64_t folder, bool associated) {
    return std::make_shared<Table>(session, folder, associated);
}

} // namespace kr::sqlite
