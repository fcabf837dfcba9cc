#pragma once

#include <sqlite3.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/PlatformError.h"

namespace kr::sqlite {

// Error numbers of MAPI that only this store raises ([MS-OXCDATA] 2.4).
constexpr long MAPI_E_BUSY = static_cast<long>(0x8004010B);
constexpr long MAPI_E_NOT_ENOUGH_MEMORY = static_cast<long>(0x8007000E);
constexpr long MAPI_E_DISK_ERROR = static_cast<long>(0x80040116);
constexpr long MAPI_E_NO_SUPPORT = static_cast<long>(0x80040102);
constexpr long MAPI_E_COMPUTED = static_cast<long>(0x8004011A);
constexpr long MAPI_E_INVALID_TYPE = static_cast<long>(0x80040302);
constexpr long MAPI_E_NO_RECIPIENTS = static_cast<long>(0x80040607);
constexpr long MAPI_E_AMBIGUOUS_RECIP = static_cast<long>(0x80040700);
constexpr long MAPI_E_INVALID_PARAMETER = static_cast<long>(0x80070057);

/// Throws what an SQLite result means to an administrator; the file's name comes from `db`, or
/// from `path` while the file could not be opened.
[[noreturn]] void Fail(sqlite3* db, int code, const std::string& path = {});

/// Bytes for a blob column; a plain std::string_view is text.
struct Blob {
    std::string_view bytes;
};

/// A prepared statement.
class Statement {
public:
    Statement(sqlite3* db, const char* sql);
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    template <std::integral T>
    void Bind(int index, T value) {
        sqlite3_bind_int64(m_statement, index, static_cast<int64_t>(value));
    }
    void Bind(int index, std::string_view text);
    void Bind(int index, Blob blob);
    void Bind(int index, const std::optional<std::string>& text);
    void Bind(int index, const std::string& text) { Bind(index, std::string_view(text)); }
    void Bind(int index, const char* text) { Bind(index, std::string_view(text)); }

    /// True while there is a row.
    bool Step();
    void Reset() { sqlite3_reset(m_statement); }
    bool Busy() const { return sqlite3_stmt_busy(m_statement) != 0; }

    int64_t Integer(int column) const { return sqlite3_column_int64(m_statement, column); }
    bool Null(int column) const { return sqlite3_column_type(m_statement, column) == SQLITE_NULL; }
    /// Text or blob; valid until the next step.
    std::string_view Text(int column) const {
        const void* bytes = sqlite3_column_blob(m_statement, column);
        const int size = sqlite3_column_bytes(m_statement, column);
        return {static_cast<const char*>(bytes), static_cast<size_t>(bytes ? size : 0)};
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};

/// A statement in use; reset at the end, since one left open pins the write-ahead log.
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
