#include "platform/database/odbc/OdbcDatabase.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "core/Text.h"
#include "platform/database/RowFlow.h"
#include "platform/database/Worker.h"

namespace kr {

namespace {

using Wide = std::basic_string<SQLWCHAR>;

Wide toWide(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    std::u16string out(text.size() + 1, u'\0');
    int32_t length = 0;
    u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    return Wide(out.begin(), out.begin() + length);
}

std::string fromWide(const SQLWCHAR* text, size_t length) {
    const std::u16string wide(text, text + length);
    UErrorCode status = U_ZERO_ERROR;
    std::string out(length * 3 + 1, '\0');
    int32_t size = 0;
    u_strToUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &size, wide.data(),
                       static_cast<int32_t>(wide.size()), 0xFFFD, nullptr, &status);
    out.resize(static_cast<size_t>(size));
    return out;
}

struct Diagnostic {
    std::string state;
    long native = 0;
    std::string text;
};

/// The text without the driver's prefixes "[FreeTDS][SQL Server]".
std::string bareText(std::string_view text) {
    while (text.starts_with('[')) {
        const size_t end = text.find(']');
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return Trim(text);
}

std::vector<Diagnostic> diagnostics(SQLSMALLINT kind, SQLHANDLE handle) {
    std::vector<Diagnostic> all;
    for (SQLSMALLINT record = 1; record < 20; ++record) {
        SQLWCHAR state[6] = {};
        SQLWCHAR text[1024] = {};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        const SQLRETURN rc =
            SQLGetDiagRecW(kind, handle, record, state, &native, text, 1023, &length);
        if (!SQL_SUCCEEDED(rc))
            break;
        const size_t size = std::min<size_t>(static_cast<size_t>(std::max<int>(length, 0)), 1023);
        all.push_back({fromWide(state, 5), native, bareText(fromWide(text, size))});
    }
    return all;
}

bool isTimeout(const Diagnostic& d) {
    return d.state == "HYT00" || d.state == "HYT01" || d.state == "57014" ||
           ContainsNoCase(d.text, "timeout expired");
}

long numberOf(const std::vector<Diagnostic>& all, bool connecting) {
    for (const Diagnostic& d : all) {
        if (d.state.starts_with("28") || d.native == 18456 ||
            ContainsNoCase(d.text, "authentication failed"))
            return DB_E_LOGIN;
        if (!connecting && isTimeout(d))
            return DB_E_TIMEOUT;
        if (d.state == "42S02" || d.state == "42P01" || d.native == 208)
            return DB_E_NO_TABLE;
        if (ContainsNoCase(d.text, "can't open lib") || d.state == "IM002" || d.state == "IM003")
            return DB_E_PROVIDER_MISSING;
        if (d.state.starts_with("42") && !connecting)
            return DB_E_SYNTAX;
    }
    return DB_E_FAIL;
}

PlatformError errorOf(SQLSMALLINT kind, SQLHANDLE handle, bool connecting) {
    const auto all = diagnostics(kind, handle);
    const long number = numberOf(all, connecting);
    if (number == DB_E_PROVIDER_MISSING)
        return {number, "Provider cannot be found. It may not be properly installed.", "ODBC"};
    for (const Diagnostic& d : all)
        if (!d.text.empty() && !ContainsNoCase(d.text, "unable to connect to data source"))
            return {number, d.text, "ODBC"};
    return {number, all.empty() ? "The database gave no reason." : all.front().text, "ODBC"};
}

/// A handle of ODBC that frees itself.
class Handle {
public:
    Handle(SQLSMALLINT kind, SQLHANDLE parent) : m_kind(kind) {
        if (!SQL_SUCCEEDED(SQLAllocHandle(kind, parent, &m_handle)))
            throw PlatformError(DB_E_FAIL, "The database layer has no more handles.", "ODBC");
    }
    ~Handle() {
        if (m_kind == SQL_HANDLE_DBC)
            SQLDisconnect(m_handle);
        SQLFreeHandle(m_kind, m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    SQLHANDLE get() const { return m_handle; }

private:
    SQLSMALLINT m_kind;
    SQLHANDLE m_handle = SQL_NULL_HANDLE;
};

/// What one connection shares with the thread that works for it.
struct Link {
    Handle environment{SQL_HANDLE_ENV, SQL_NULL_HANDLE};
    std::unique_ptr<Handle> connection;
    std::mutex mutex; // guards `statement` against a cancel from outside
    SQLHANDLE statement = SQL_NULL_HANDLE;

    Link() {
        SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        connection = std::make_unique<Handle>(SQL_HANDLE_DBC, environment.get());
    }
    void cancel() {
        const std::lock_guard lock(mutex);
        if (statement != SQL_NULL_HANDLE)
            SQLCancel(statement);
    }
};

SQLPOINTER asPointer(int number) {
    return reinterpret_cast<SQLPOINTER>(static_cast<intptr_t>(number));
}

void connect(Link& link, const std::string& text, int seconds) {
    SQLHANDLE dbc = link.connection->get();
    SQLSetConnectAttr(dbc, SQL_ATTR_LOGIN_TIMEOUT, asPointer(seconds), SQL_IS_UINTEGER);
    Wide wide = toWide(text);
    const SQLRETURN rc =
        SQLDriverConnectW(dbc, nullptr, wide.data(), static_cast<SQLSMALLINT>(wide.size()), nullptr,
                          0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc))
        throw errorOf(SQL_HANDLE_DBC, dbc, true);
}

struct Column {
    std::string name;
    SQLSMALLINT type = 0;
};

std::vector<Column> describe(SQLHANDLE statement) {
    SQLSMALLINT count = 0;
    if (!SQL_SUCCEEDED(SQLNumResultCols(statement, &count)))
        throw errorOf(SQL_HANDLE_STMT, statement, false);
    std::vector<Column> columns;
    for (SQLUSMALLINT i = 1; i <= static_cast<SQLUSMALLINT>(count); ++i) {
        SQLWCHAR name[256] = {};
        SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        SQLDescribeColW(statement, i, name, 255, &length, &type, &size, &digits, &nullable);
        const size_t used = std::min<size_t>(static_cast<size_t>(std::max<int>(length, 0)), 255);
        columns.push_back({fromWide(name, used), type});
    }
    return columns;
}

/// One cell as text, read in pieces; false for null.
bool cellText(SQLHANDLE statement, SQLUSMALLINT column, std::string& text) {
    Wide whole;
    SQLWCHAR piece[2048];
    for (;;) {
        SQLLEN indicator = 0;
        const SQLRETURN rc =
            SQLGetData(statement, column, SQL_C_WCHAR, piece, sizeof piece, &indicator);
        if (rc == SQL_NO_DATA)
            break;
        if (!SQL_SUCCEEDED(rc))
            throw errorOf(SQL_HANDLE_STMT, statement, false);
        if (indicator == SQL_NULL_DATA)
            return false;
        const size_t room = std::size(piece) - 1;
        const bool cut =
            indicator == SQL_NO_TOTAL || static_cast<size_t>(indicator) / sizeof(SQLWCHAR) > room;
        whole.append(piece, cut ? room : static_cast<size_t>(indicator) / sizeof(SQLWCHAR));
        if (rc == SQL_SUCCESS)
            break;
    }
    text = fromWide(whole.data(), whole.size());
    return true;
}

Value timeOf(const std::string& text) {
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    if (sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s) < 3)
        return text;
    const std::chrono::year_month_day date(std::chrono::year(y),
                                           std::chrono::month(static_cast<unsigned>(mo)),
                                           std::chrono::day(static_cast<unsigned>(d)));
    if (!date.ok())
        return text;
    return Time(std::chrono::sys_days(date)) + std::chrono::hours(h) + std::chrono::minutes(mi) +
           std::chrono::seconds(s);
}

/// By no desktop's language; a number that doesn't read so stays a text.
Value numberOf(const std::string& text) {
    double number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? Value(number) : Value(text);
}

Value cellValue(const std::string& text, SQLSMALLINT type) {
    switch (type) {
    case SQL_BIT:
        return text == "1" || EqualNoCase(text, "true") || EqualNoCase(text, "t");
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
        return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
    case SQL_BIGINT:
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return numberOf(text);
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATE:
    case SQL_TIMESTAMP:
        return timeOf(text);
    default:
        return text;
    }
}

void fetchAll(SQLHANDLE statement, const std::vector<Column>& columns, int64_t maxRows,
              RowFlow& flow) {
    RowFlow::Rows batch;
    std::string text;
    for (int64_t n = 0; maxRows <= 0 || n < maxRows; ++n) {
        const SQLRETURN rc = SQLFetch(statement);
        if (rc == SQL_NO_DATA)
            break;
        if (!SQL_SUCCEEDED(rc))
            throw errorOf(SQL_HANDLE_STMT, statement, false);
        std::vector<Value> row(columns.size());
        for (size_t i = 0; i < columns.size(); ++i)
            if (cellText(statement, static_cast<SQLUSMALLINT>(i + 1), text))
                row[i] = cellValue(text, columns[i].type);
        batch.push_back(std::move(row));
        if (batch.size() == RowFlow::kBatch && !flow.Push(std::exchange(batch, {})))
            return;
    }
    flow.Push(std::move(batch));
}

void run(Link& link, const std::string& query, int seconds, int64_t maxRows, RowFlow& flow) {
    Handle statement(SQL_HANDLE_STMT, link.connection->get());
    SQLSetStmtAttr(statement.get(), SQL_ATTR_QUERY_TIMEOUT, asPointer(seconds), SQL_IS_UINTEGER);
    {
        const std::lock_guard lock(link.mutex);
        link.statement = statement.get();
    }
    struct Forget {
        Link& link;
        ~Forget() {
            const std::lock_guard lock(link.mutex);
            link.statement = SQL_NULL_HANDLE;
        }
    } forget{link};
    Wide wide = toWide(query);
    // never prepared: the text may be the name of a procedure
    const SQLRETURN rc =
        SQLExecDirectW(statement.get(), wide.data(), static_cast<SQLINTEGER>(wide.size()));
    if (!SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA)
        throw errorOf(SQL_HANDLE_STMT, statement.get(), false);
    const auto columns = describe(statement.get());
    std::vector<std::string> names;
    for (const Column& column : columns)
        names.push_back(column.name);
    flow.Describe(std::move(names));
    if (!columns.empty())
        fetchAll(statement.get(), columns, maxRows, flow);
}

class OdbcDatabase : public Database {
public:
    OdbcDatabase(Events& events, const std::string& text, bool freeTds, const DbLimits& limits)
        : m_events(events), m_freeTds(freeTds), m_link(std::make_shared<Link>()) {
        auto link = m_link;
        const int seconds = limits.connectSeconds;
        // the driver's own time-out comes first; ours only ends what a driver forgets
        Worker(m_events).Run([link, text, seconds] { connect(*link, text, seconds); },
                             seconds + kDriverGrace, limits.cancel, {});
    }

    void Execute(std::string_view query, const DbLimits& limits,
                 const std::function<void(const std::vector<std::string>&)>& onColumns,
                 const std::function<void(std::vector<Value>&)>& onRow) override {
        auto link = m_link;
        Worker worker(m_events);
        auto flow = std::make_shared<RowFlow>(worker.Waker());
        worker.onTurn = [&] { flow->Deliver(onColumns, onRow); };
        const int seconds = limits.querySeconds;
        const int64_t most = limits.maxRows;
        const std::string text(query);
        struct Closer {
            RowFlow& flow;
            ~Closer() { flow.Close(); }
        } closer{*flow};
        worker.Run([link, flow, text, seconds, most] { run(*link, text, seconds, most, *flow); },
                   deadline(seconds), limits.cancel,
                   [link, flow] {
                       flow->Close();
                       link->cancel();
                   });
    }

private:
    static constexpr int kDriverGrace = 5;
    /// FreeTDS needs twice its time-out when a server falls silent.
    int deadline(int seconds) const {
        return seconds <= 0 ? 0 : (m_freeTds ? 2 * seconds : seconds) + kDriverGrace;
    }

    Events& m_events;
    bool m_freeTds;
    std::shared_ptr<Link> m_link;
};

} // namespace

std::unique_ptr<Database> OpenOdbc(Events& events, const std::string& odbcString, bool freeTds,
                                   const DbLimits& limits) {
    return std::make_unique<OdbcDatabase>(events, odbcString, freeTds, limits);
}

std::string FindOracleDriver() {
    Handle environment(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION,
                  reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLCHAR name[256] = {};
    SQLCHAR attributes[1024] = {};
    SQLSMALLINT nameLength = 0, attributesLength = 0;
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    while (SQL_SUCCEEDED(SQLDrivers(environment.get(), direction, name, sizeof name, &nameLength,
                                    attributes, sizeof attributes, &attributesLength))) {
        direction = SQL_FETCH_NEXT;
        const std::string found(reinterpret_cast<const char*>(name));
        if (ContainsNoCase(found, "Oracle"))
            return found;
    }
    return {};
}

} // namespace kr
