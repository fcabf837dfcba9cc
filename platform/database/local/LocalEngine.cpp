#include "platform/database/local/LocalEngine.h"

#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <utility>

#include "core/Text.h"
#include "platform/database/RowFlow.h"
#include "platform/database/Worker.h"
#include "platform/database/local/SqlFunctions.h"
#include "platform/database/local/TableSource.h"

namespace kr {

namespace {

/// Virtual machine steps between two looks at the stop mark.
constexpr int kSteps = 10000;

PlatformError failure(sqlite3* db, long number) { return {number, sqlite3_errmsg(db), "Local"}; }

struct Statement {
    sqlite3_stmt* handle = nullptr;
    Statement() = default;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(handle); }
};

std::string quotedName(std::string_view name) {
    return "\"" + ReplaceAll(name, "\"", "\"\"") + "\"";
}

void bindText(sqlite3_stmt* statement, int index, const std::string& text) {
    sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
}

void bind(sqlite3_stmt* statement, int index, const Value& value) {
    if (const auto* number = value.get<int32_t>())
        sqlite3_bind_int(statement, index, *number);
    else if (const auto* real = value.get<double>())
        sqlite3_bind_double(statement, index, *real);
    else if (const auto* flag = value.get<bool>())
        sqlite3_bind_int(statement, index, *flag ? 1 : 0);
    else if (const auto* text = value.get<std::string>())
        bindText(statement, index, *text);
    else
        sqlite3_bind_null(statement, index);
}

Value valueOf(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER: {
        const int64_t number = sqlite3_column_int64(statement, column);
        if (number >= INT32_MIN && number <= INT32_MAX)
            return static_cast<int32_t>(number);
        return static_cast<double>(number);
    }
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, column);
    case SQLITE_NULL:
        return {};
    default: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
        return std::string(text ? text : "",
                           static_cast<size_t>(sqlite3_column_bytes(statement, column)));
    }
    }
}

/// Fills a table of the engine's memory.
class TableFiller : public TableSink {
public:
    TableFiller(sqlite3* db, std::string name, const std::atomic<bool>& stop)
        : m_db(db), m_name(std::move(name)), m_stop(stop) {}

    void Columns(const std::vector<std::string>& names) override {
        std::string create = "CREATE TABLE " + quotedName(m_name) + "(";
        std::string insert = "INSERT INTO " + quotedName(m_name) + " VALUES(";
        for (size_t i = 0; i < names.size(); ++i) {
            create += (i ? "," : "") + quotedName(names[i]) + " COLLATE " + kFoldedCollation;
            insert += i ? ",?" : "?";
        }
        if (sqlite3_exec(m_db, (create + ")").c_str(), nullptr, nullptr, nullptr) != SQLITE_OK ||
            sqlite3_prepare_v2(m_db, (insert + ")").c_str(), -1, &m_insert.handle, nullptr) !=
                SQLITE_OK)
            throw failure(m_db, DB_E_FAIL);
    }
    bool Row(std::vector<Value>& values) override {
        for (size_t i = 0; i < values.size(); ++i)
            bind(m_insert.handle, static_cast<int>(i + 1), values[i]);
        const int rc = sqlite3_step(m_insert.handle);
        sqlite3_reset(m_insert.handle);
        if (rc != SQLITE_DONE && !m_stop)
            throw failure(m_db, DB_E_FAIL);
        return !m_stop;
    }

private:
    sqlite3* m_db;
    std::string m_name;
    const std::atomic<bool>& m_stop;
    Statement m_insert;
};

/// Hands the columns that a plain query picks straight to the caller.
class PlainRows : public TableSink {
public:
    PlainRows(const PlainSelect& plain, int64_t maxRows, RowFlow& flow,
              const std::atomic<bool>& stop)
        : m_plain(plain), m_flow(flow), m_stop(stop), m_left(INT64_MAX) {
        for (const int64_t most : {plain.most, maxRows})
            if (most > 0)
                m_left = std::min(m_left, most);
    }
    /// The table has not all the columns: the engine may know better, and else says so.
    bool refused() const { return m_refused; }
    void Finish() { m_flow.Push(std::move(m_batch)); }

    void Columns(const std::vector<std::string>& names) override {
        std::vector<std::string> picked = m_plain.columns.empty() ? names : Strings();
        for (const std::string& wanted : m_plain.columns) {
            const auto at = std::find_if(names.begin(), names.end(), [&](const auto& name) {
                return EqualNoCase(name, wanted);
            });
            m_refused = m_refused || at == names.end();
            if (m_refused)
                return;
            m_places.push_back(static_cast<size_t>(at - names.begin()));
            picked.push_back(*at);
        }
        m_flow.Describe(std::move(picked));
    }
    bool Row(std::vector<Value>& values) override {
        if (m_refused || m_stop || m_left-- <= 0)
            return false;
        auto& row = m_batch.emplace_back();
        if (m_places.empty()) {
            row = std::move(values);
        } else {
            row.reserve(m_places.size());
            for (const size_t place : m_places)
                row.push_back(values[place]); // a column may be picked twice
        }
        for (Value& value : row)
            if (const auto* flag = value.get<bool>())
                value = *flag ? 1 : 0; // as the engine gives it
        return m_batch.size() < RowFlow::kBatch || m_flow.Push(std::exchange(m_batch, {}));
    }

private:
    const PlainSelect& m_plain;
    RowFlow& m_flow;
    const std::atomic<bool>& m_stop;
    int64_t m_left;
    bool m_refused = false;
    std::vector<size_t> m_places; // of the picked columns; none: all
    RowFlow::Rows m_batch;
};

PlatformError noTable(const std::string& table) {
    return {DB_E_NO_TABLE, "Could not find the object '" + table + "'.", "Local"};
}

/// The engine's memory and its source: what a worker keeps alive while it runs.
struct Engine {
    sqlite3* db = nullptr;
    std::unique_ptr<TableSource> source;
    std::set<std::string> asked; // folded names of tables that the source was asked for
    std::atomic<bool> stop = false;

    Engine() {
        if (sqlite3_open(":memory:", &db) != SQLITE_OK)
            throw PlatformError(DB_E_FAIL, "The local engine has no memory.", "Local");
        // ATTACH would reach files of this machine
        sqlite3_limit(db, SQLITE_LIMIT_ATTACHED, 0);
        sqlite3_exec(db, "PRAGMA temp_store=MEMORY", nullptr, nullptr, nullptr);
        RegisterSqlFunctions(db);
        sqlite3_progress_handler(
            db, kSteps, [](void* self) { return static_cast<Engine*>(self)->stop ? 1 : 0; }, this);
    }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine() { sqlite3_close_v2(db); }

    void load(const std::string& table) {
        TableFiller filler(db, table, stop);
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        bool found = false;
        try {
            found = source->Read(table, filler);
        } catch (...) {
            sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
            throw;
        }
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        if (!found)
            throw noTable(table);
    }

    /// False when it isn't so plain after all.
    bool runPlain(const PlainSelect& plain, int64_t maxRows, RowFlow& flow) const {
        PlainRows rows(plain, maxRows, flow, stop);
        if (!source->Read(plain.table, rows))
            throw noTable(plain.table);
        if (rows.refused())
            return false;
        rows.Finish();
        return true;
    }

    /// Each table that the statement misses is asked of the source, once.
    void prepare(const std::string& sql, Statement& statement) {
        static constexpr std::string_view kMissing = "no such table: ";
        const char* rest = nullptr;
        while (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement.handle, &rest) != SQLITE_OK) {
            const std::string reason = sqlite3_errmsg(db);
            if (!reason.starts_with(kMissing))
                throw PlatformError(DB_E_SYNTAX, reason, "Local");
            const std::string table = reason.substr(kMissing.size());
            if (!asked.insert(Fold(table)).second)
                throw noTable(table);
            try {
                load(table);
            } catch (...) {
                asked.erase(Fold(table));
                throw;
            }
        }
        if (!statement.handle || !Trim(rest ? rest : "").empty())
            throw PlatformError(DB_E_SYNTAX, "A single SELECT statement is expected.", "Local");
        if (!sqlite3_stmt_readonly(statement.handle) || sqlite3_column_count(statement.handle) == 0)
            throw PlatformError(DB_E_SYNTAX, "Only a SELECT statement can be run on data files.",
                                "Local");
    }

    void run(const std::string& query, int64_t maxRows, RowFlow& flow) {
        const auto plain = ReadPlainSelect(query);
        if (plain && runPlain(*plain, maxRows, flow))
            return;
        Statement statement;
        prepare(TranslateDialect(query), statement);
        const int count = sqlite3_column_count(statement.handle);
        std::vector<std::string> names;
        for (int i = 0; i < count; ++i)
            names.emplace_back(sqlite3_column_name(statement.handle, i));
        flow.Describe(std::move(names));
        RowFlow::Rows batch;
        int rc = SQLITE_ROW;
        for (int64_t n = 0; maxRows <= 0 || n < maxRows; ++n) {
            rc = sqlite3_step(statement.handle);
            if (rc != SQLITE_ROW)
                break;
            auto& row = batch.emplace_back();
            for (int i = 0; i < count; ++i)
                row.push_back(valueOf(statement.handle, i));
            if (batch.size() == RowFlow::kBatch && !flow.Push(std::exchange(batch, {})))
                return;
        }
        if (rc != SQLITE_ROW && rc != SQLITE_DONE)
            throw failure(db, DB_E_FAIL);
        flow.Push(std::move(batch));
    }
};

std::unique_ptr<TableSource> sourceOf(const DbTarget& target, int seconds,
                                      const std::atomic<bool>* cancel) {
    switch (target.kind) {
    case DbTarget::Excel:
        return OpenWorkbook(target.path, target.header, cancel);
    case DbTarget::TextFolder:
        return OpenTextFolder(target.path, target.header, target.format);
    default:
        return OpenAccess(target.path, seconds, cancel);
    }
}

class LocalDatabase : public Database {
public:
    LocalDatabase(Events& events, const DbTarget& target, const DbLimits& limits)
        : m_events(events), m_engine(std::make_shared<Engine>()) {
        auto engine = m_engine;
        const int seconds = limits.querySeconds;
        Worker(m_events).Run(
            [engine, target, seconds] {
                engine->source = sourceOf(target, seconds, &engine->stop);
            },
            limits.connectSeconds, limits.cancel, [engine] { engine->stop = true; });
    }

    void Execute(std::string_view query, const DbLimits& limits,
                 const std::function<void(const std::vector<std::string>&)>& onColumns,
                 const std::function<void(std::vector<Value>&)>& onRow) override {
        auto engine = m_engine;
        if (engine->stop)
            throw PlatformError(DB_E_FAIL, "The connection was given up by an earlier query.",
                                "Local");
        const std::string text(query);
        const int64_t most = limits.maxRows;
        Worker worker(m_events);
        auto flow = std::make_shared<RowFlow>(worker.Waker());
        struct Closer {
            RowFlow& flow;
            ~Closer() { flow.Close(); }
        } closer{*flow};
        worker.onTurn = [&] { flow->Deliver(onColumns, onRow); };
        worker.Run([engine, flow, text, most] { engine->run(text, most, *flow); },
                   limits.querySeconds, limits.cancel,
                   [engine, flow] {
                       engine->stop = true;
                       flow->Close();
                   });
    }

private:
    Events& m_events;
    std::shared_ptr<Engine> m_engine;
};

} // namespace

std::unique_ptr<Database> OpenLocal(Events& events, const DbTarget& target,
                                    const DbLimits& limits) {
    return std::make_unique<LocalDatabase>(events, target, limits);
}

} // namespace kr
