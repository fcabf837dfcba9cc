#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/PlatformError.h"

namespace kr::sqlite {

/// Turns an SQLite result into the error that the session library reports.
[[noreturn]] void Fail(sqlite3* db, int code, const std::string& what);

/// A prepared statement. Reset when it goes out of use, so that none pins the write-ahead log.
class Statement {
public:
    Statement() = default;
    Statement(sqlite3* db, std::string_view sql);
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(Statement&& other) noexcept : m_db(other.m_db), m_statement(other.m_statement) {
        other.m_statement = nullptr;
    }
    Statement& operator=(Statement&&) = delete;

    Statement& Bind(int index, int64_t value);
    Statement& Bind(int index, std::string_view text);
    Statement& BindBlob(int index, std::string_view bytes);
    /// True while there is a row.
    bool Step();
    /// Runs a statement without rows.
    void Run();
    void Reset() {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }

    int64_t Integer(int column) const { return sqlite3_column_int64(m_statement, column); }
    bool Null(int column) const { return sqlite3_column_type(m_statement, column) == SQLITE_NULL; }
    /// Text or blob; valid until the next step.
    std::string_view Text(int column) const;
    sqlite3_stmt* get() { return m_statement; }

private:
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statement = nullptr;
};

/// Resets a statement at the end of its use.
class Use {
public:
    explicit Use(Statement& statement) : m_statement(statement) {}
    ~Use() { m_statement.Reset(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    Statement* operator->() { return &m_statement; }
    Statement& operator*() { return m_statement; }

private:
    Statement& m_statement;
};

} // namespace kr::sqlite
