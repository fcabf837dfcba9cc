#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/store/sqlite/Sqlite.h"

namespace kr::sqlite {

/// "KRST", the application id of a store file.
constexpr uint32_t kApplicationId = 0x4B525354;

/// A connection to a store file, with the rules that all its users keep: own busy handler,
/// write-ahead log with FULL synchronisation, checkpoints by the commit hook, every write begun as
/// IMMEDIATE, no statement left open. Used from one thread.
class Connection {
public:
    /// Throws, and changes nothing, for what is no store file.
    explicit Connection(const std::string& path);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    sqlite3* db() const { return m_db; }
    const std::string& path() const { return m_path; }

    /// The statement of that text, prepared once. `sql` must be a literal: its address is the key.
    Statement& Sql(const char* sql);
    /// A statement with its values bound, to step through.
    template <class... Values>
    Use Query(const char* sql, const Values&... values) {
        Statement& statement = Sql(sql);
        [[maybe_unused]] int index = 0;
        (statement.Bind(++index, values), ...);
        return Use(statement);
    }
    /// Runs a statement that gives no rows.
    template <class... Values>
    void Run(const char* sql, const Values&... values) {
        Use statement = Query(sql, values...);
        statement->Step();
    }
    /// The first column of the first row; `fallback` without a row.
    template <class... Values>
    int64_t Number(int64_t fallback, const char* sql, const Values&... values) {
        Use row = Query(sql, values...);
        return row->Step() ? row->Integer(0) : fallback;
    }
    /// Text that isn't prepared for later: pragmas and layouts.
    void Execute(const std::string& sql);

    /// Runs the change in one transaction, durable when it returns; whatever the change throws
    /// undoes it. Within another one it is a step of that, undone alone.
    template <class Change>
    void Write(Change&& change) {
        Transaction transaction(*this);
        change();
        transaction.Commit();
    }
    /// Runs a reading in one snapshot.
    template <class Reading>
    void Read(Reading&& reading) {
        Snapshot snapshot(*this);
        reading();
    }
    /// A transaction over several calls; what Write does meanwhile becomes part of it.
    void Begin() { enter(); }
    void Commit();
    void Rollback();
    bool InTransaction() const { return m_depth > 0; }
    /// Called after a transaction was undone, since caches may hold what is gone.
    void OnRollback(std::function<void()> action) { m_rolledBack = std::move(action); }

    /// Moves when another connection committed.
    int64_t DataVersion() { return Number(0, "PRAGMA data_version"); }
    /// The file that was opened still stands under its path.
    bool StillThere() const;

private:
    class Transaction {
    public:
        explicit Transaction(Connection& connection) : m_connection(connection) {
            connection.enter();
        }
        ~Transaction() {
            if (!m_done)
                m_connection.abandon();
        }
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        void Commit() {
            m_connection.leave();
            m_done = true;
        }

    private:
        Connection& m_connection;
        bool m_done = false;
    };
    class Snapshot {
    public:
        explicit Snapshot(Connection& connection) : m_connection(connection) {
            if (m_connection.m_depth == 0)
                m_connection.Run("BEGIN");
        }
        ~Snapshot();
        Snapshot(const Snapshot&) = delete;
        Snapshot& operator=(const Snapshot&) = delete;

    private:
        Connection& m_connection;
    };

    void open();
    void configure();
    void enter();
    void leave();
    void abandon();
    void checkpoint();
    void letOthersIn() const;
    void requireIdle() const;
    static int onBusy(void* self, int count);
    static int onCommit(void* self, sqlite3*, const char*, int frames);

    std::string m_path;
    sqlite3* m_db = nullptr;
    std::unordered_map<const char*, std::unique_ptr<Statement>> m_statements;
    std::function<void()> m_rolledBack;
    using Moment = std::chrono::steady_clock::time_point;
    Moment m_waitingSince; // for the lock that is being asked for
    Moment m_lastWait;     // when others were met at the lock
    Moment m_lastCommit;
    int m_depth = 0;
    int m_frames = 0;
    bool m_inCheckpoint = false;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

} // namespace kr::sqlite
