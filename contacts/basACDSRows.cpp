#include <algorithm>

#include "console/ListCounts.h"
#include "contacts/basACDS.h"
#include "core/DatabaseWait.h"
#include "core/DbText.h"
#include "core/RecordsetConvert.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDate.h"

namespace kr {

namespace {

constexpr std::string_view kByDisplayName = "[DisplayName] ASC";
/// The columns of the records view and the fields of the query that fill them; no other name of
/// the field serves.
struct RecordColumn {
    std::string_view title;
    std::string_view field;
};
constexpr RecordColumn kRecordColumns[] = {
    {"Name", "DisplayName"},     {"E-mail 1", "Email1"},          {"E-mail 2", "Email2"},
    {"E-mail 3", "Email3"},      {"UniqueID", kUniqueID},         {"Last Name", "LastName"},
    {"First Name", "FirstName"}, {"Mobile Phone", "MobilePhone"}, {"Office Phone", "BusPhone"},
    {"Fax", "BusFax"},
};
constexpr size_t kRecordFields = std::size(kRecordColumns);

std::string captionOf(const std::string& column, bool contactForm) {
    if (EqualNoCase(column, kUniqueID))
        return column;
    const std::string_view mapped = MapFieldName(column, contactForm);
    return mapped.empty() ? column : std::string(mapped);
}

/// "dat" or "int" before a column's key, by which lists sort it, when all its values are such.
std::string sortPrefix(const DbRows& rows, size_t column) {
    bool dates = false, numbers = false;
    for (const auto& row : rows.rows) {
        const Value& value = row[column];
        if (value.empty())
            continue;
        const bool date = value.is<Time>();
        if (!date && (value.is<std::string>() || !NumberOf(value)))
            return "txt";
        (date ? dates : numbers) = true;
    }
    return dates == numbers ? "txt" : dates ? "dat" : "int";
}

QueryGrid gridOf(const DbRows& result, const QueryToShow& query) {
    QueryGrid grid;
    for (size_t i = 0; i < result.columns.size(); ++i)
        grid.columns.push_back({captionOf(result.columns[i], query.contactForm),
                                sortPrefix(result, i) + std::to_string(i)});
    grid.rows.reserve(result.rows.size());
    for (const auto& values : result.rows) {
        ListRow& row = grid.rows.emplace_back();
        for (const Value& value : values)
            row.texts.push_back(DbText(value));
    }
    grid.status = "Query returned " + std::to_string(result.rows.size()) + " records";
    if (!query.parameter.empty())
        grid.status += " using " + query.parameter + " = " + query.value;
    return grid;
}

/// Rows ordered by name, as a recordset orders them; one without the field stays as it came.
std::shared_ptr<Recordset> orderedRows(const std::vector<int>& places) {
    std::vector<Field> fields;
    for (size_t i = 0; i < kRecordFields; ++i)
        if (places[i] >= 0)
            fields.push_back(
                {std::string(kRecordColumns[i].field), FieldType::LongText, INT32_MAX});
    return std::make_shared<Recordset>(std::move(fields));
}

/// Takes the rows of a source as they come; only the fields that the view shows are kept.
class RecordTaker {
public:
    void Columns(const std::vector<std::string>& names) {
        DbRows heading;
        heading.columns = names;
        for (const RecordColumn& column : kRecordColumns)
            m_places.push_back(heading.Column(column.field));
        m_records = orderedRows(m_places);
    }
    void Row(const std::vector<Value>& values) {
        std::vector<Value> texts;
        for (const int place : m_places)
            if (place >= 0)
                texts.emplace_back(DbText(values[static_cast<size_t>(place)]));
        m_records->Append(texts);
    }
    AcdsRecords Give(bool quickLoad) {
        AcdsRecords result;
        if (!m_records)
            return result;
        m_records->SetSort(kByDisplayName);
        result.total = m_records->RecordCount();
        const int64_t most = quickLoad ? kQuickLoadRows : result.total;
        for (m_records->MoveFirst(); !m_records->EOF_(); m_records->MoveNext()) {
            const auto number = static_cast<int64_t>(result.rows.size()) + 1;
            if (number > most)
                break;
            result.rows.push_back(row(number));
        }
        return result;
    }

private:
    ListRow row(int64_t number) const {
        ListRow row;
        row.key = "record" + std::to_string(number);
        row.tag = "adscntct";
        row.icon = "imgContact";
        int field = 0;
        for (const int place : m_places)
            row.texts.emplace_back(place < 0 ? "" : m_records->Text(field++));
        if (row.texts[0].empty())
            row.texts[0] = "Record #" + std::to_string(number);
        return row;
    }

    std::vector<int> m_places; // of each shown field among the query's columns; -1: missing
    std::shared_ptr<Recordset> m_records;
};

} // namespace

std::optional<QueryGrid> RunQuery(AgentSession& session, const QueryToShow& query) {
    if (query.cxnString.empty() || query.query.empty())
        return {};
    std::string failure = "Unable to open connection \n";
    bool cancelled = false;
    bool answered = false;
    auto grid = Trap(
        [&]() -> std::optional<QueryGrid> {
            const WaitCursor cursor(session.ui());
            const DatabaseWait wait(session, "Running the query");
            const auto database = session.platform.database.Open(query.cxnString, wait.limits());
            failure = "No results were returned from \n" + query.query + "\n";
            DbRows result;
            database->Execute(
                query.query, wait.limits(),
                [&](const auto& names) {
                    result.columns = names;
                    answered = !names.empty();
                },
                [&](std::vector<Value>& row) { result.rows.push_back(std::move(row)); });
            if (!answered)
                return {};
            return gridOf(result, query);
        },
        [&](const Trapped& trapped) {
            cancelled = trapped.number == DB_E_CANCELED;
            failure += trapped.description;
        });
    // a statement without rows leaves no recordset, and no error either
    if (!grid && !cancelled)
        session.ui().MsgBox(failure, BoxIcon::Stop);
    return grid;
}

std::vector<ListColumn> AcdsColumns() {
    std::vector<ListColumn> columns;
    for (const RecordColumn& column : kRecordColumns)
        columns.push_back({std::string(column.title), std::string(column.title)});
    return columns;
}

AcdsRecords LoadAcdsRecords(AgentSession& session, std::string_view name,
                            const std::string& cxnString, const std::string& query) {
    std::string failure = "Unable to open connection for " + std::string(name);
    bool failed = false;
    RecordTaker taker;
    auto records = Trap(
        [&] {
            const DatabaseWait wait(session, "Loading the records of a data source");
            const auto database = session.platform.database.Open(cxnString, wait.limits());
            failure = "Unable to open query for " + std::string(name);
            database->Execute(
                query, wait.limits(), [&](const auto& names) { taker.Columns(names); },
                [&](std::vector<Value>& row) { taker.Row(row); });
            return taker.Give(session.quickLoad);
        },
        [&](const Trapped& trapped) {
            failed = true;
            session.log(failure + ": " + DatabaseErrorText(trapped.number, trapped.description));
        });
    if (failed)
        records.failure = failure;
    return records;
}

} // namespace kr
