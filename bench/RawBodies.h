#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace kr::bench {

/// The floor of loading a folder's records: the body of every row of the fullest folder, each cache
/// line touched.
class RawBodies {
public:
    explicit RawBodies(const std::string& path) {
        check(sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READONLY, nullptr));
        check(sqlite3_exec(m_db, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr));
        m_range = number("SELECT id>>40 FROM msg GROUP BY id>>40 ORDER BY count(*) DESC LIMIT 1");
        prepare("SELECT body FROM msg WHERE id>=?1<<40 AND id<(?1+1)<<40 ORDER BY id");
        sqlite3_bind_int64(m_statement, 1, m_range);
    }
    ~RawBodies() {
        sqlite3_finalize(m_statement);
        sqlite3_close(m_db);
    }
    RawBodies(const RawBodies&) = delete;
    RawBodies& operator=(const RawBodies&) = delete;

    void Read() {
        unsigned sum = 0;
        m_rows = 0;
        for (; sqlite3_step(m_statement) == SQLITE_ROW; ++m_rows) {
            const auto* body = static_cast<const char*>(sqlite3_column_blob(m_statement, 0));
            const int size = sqlite3_column_bytes(m_statement, 0);
            for (int i = 0; i < size; i += 64)
                sum += static_cast<unsigned char>(body[i]);
        }
        sqlite3_reset(m_statement);
        m_touched = sum;
    }
    int rows() const { return m_rows; }

private:
    void check(int result) {
        if (result != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(m_db));
    }
    void prepare(const char* sql) {
        check(sqlite3_prepare_v2(m_db, sql, -1, &m_statement, nullptr));
    }
    int64_t number(const char* sql) {
        prepare(sql);
        sqlite3_step(m_statement);
        const int64_t value = sqlite3_column_int64(m_statement, 0);
        sqlite3_finalize(m_statement);
        return value;
    }

    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statement = nullptr;
    int64_t m_range = 0;
    int m_rows = 0;
    volatile unsigned m_touched = 0;
};

} // namespace kr::bench
