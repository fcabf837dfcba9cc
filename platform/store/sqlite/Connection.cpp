#include "platform/store/sqlite/Connection.h"

#include <sys/stat.h>

#include <cassert>
#include <thread>

#include "platform/store/Store.h"
#include "platform/store/sqlite/FileCheck.h"

namespace kr::sqlite {

namespace {

constexpr int kCheckpointFrames = 1000;
constexpr auto kBusyLimit = std::chrono::seconds(10);

/// How long a waiter sleeps before it asks again, by how long it has waited: who waits longer asks
/// more often, so that nobody starves behind two others; behind a long import it calms down.
std::chrono::microseconds sleepFor(std::chrono::microseconds waited) {
    using namespace std::chrono_literals;
    if (waited < 5ms)
        return 250us;
    if (waited < 10ms)
        return 100us;
    return waited < 100ms ? 50us : 2000us;
}
/// The pause between two writes of a program that met others at the lock: longer than the longest
/// sleep of those who wait.
constexpr auto kCourtesy = std::chrono::microseconds(400);
constexpr auto kContended = std::chrono::milliseconds(100);

} // namespace

Connection::Connection(const std::string& path) : m_path(path) {
    try {
        open();
        configure();
    } catch (...) {
        m_statements.clear();
        sqlite3_close_v2(m_db);
        throw;
    }
}

Connection::~Connection() {
    m_statements.clear();
    sqlite3_close_v2(m_db);
}

void Connection::open() {
    RequireStoreFile(m_path);
    struct stat info {};
    if (stat(m_path.c_str(), &info) == 0) {
        m_device = info.st_dev;
        m_inode = info.st_ino;
    }
    const int rc = sqlite3_open_v2(m_path.c_str(), &m_db,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK)
        Fail(m_db, rc, m_path);
    sqlite3_extended_result_codes(m_db, 1);
}

void Connection::configure() {
    // the busy handler first: the other order fails when two programs open the file at once
    sqlite3_busy_handler(m_db, onBusy, this);
    bool wal = false;
    {
        Use mode = Query("PRAGMA journal_mode");
        wal = mode->Step() && mode->Text(0) == "wal";
    }
    if (!wal)
        Execute("PRAGMA journal_mode=WAL");
    for (const char* setting :
         {"synchronous=FULL", "wal_autocheckpoint=0", "cache_size=-65536", "temp_store=MEMORY",
          "trusted_schema=OFF", "foreign_keys=OFF", "journal_size_limit=67108864"})
        Execute(std::string("PRAGMA ") + setting);
    sqlite3_wal_hook(m_db, onCommit, this);
}

void Connection::Execute(const std::string& sql) {
    if (const int rc = sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr); rc != SQLITE_OK)
        Fail(m_db, sqlite3_extended_errcode(m_db));
}

Statement& Connection::Sql(const char* sql) {
    auto& statement = m_statements[sql];
    if (!statement)
        statement = std::make_unique<Statement>(m_db, sql);
    return *statement;
}

/// Sleeps of its own: the built-in handler's grow to 100 ms and let a waiting writer starve.
int Connection::onBusy(void* self, int count) {
    auto* connection = static_cast<Connection*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (count == 0)
        connection->m_waitingSince = now;
    connection->m_lastWait = now;
    const auto waited = now - connection->m_waitingSince;
    // a checkpoint that gave up would fall back to one without the write lock
    if (waited > kBusyLimit && !connection->m_inCheckpoint)
        return 0;
    std::this_thread::sleep_for(
        sleepFor(std::chrono::duration_cast<std::chrono::microseconds>(waited)));
    return 1;
}

/// Who writes again at once would take the lock before any sleeper wakes.
void Connection::letOthersIn() const {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastWait < kContended && now - m_lastCommit < kCourtesy)
        std::this_thread::sleep_until(m_lastCommit + kCourtesy);
}

int Connection::onCommit(void* self, sqlite3*, const char*, int frames) {
    static_cast<Connection*>(self)->m_frames = frames;
    return SQLITE_OK;
}

/// FULL takes the write lock before it reads the log's state, which keeps clear of writers that
/// restart the log meanwhile. A failure costs nothing: the commit is in the log, and the next one
/// tries again.
void Connection::checkpoint() {
    if (m_frames <= kCheckpointFrames)
        return;
    m_frames = 0;
    m_inCheckpoint = true;
    sqlite3_wal_checkpoint_v2(m_db, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    m_inCheckpoint = false;
}

/// A statement that is still open here would pin the log across user events.
void Connection::requireIdle() const {
#ifndef NDEBUG
    for (const auto& [sql, statement] : m_statements)
        assert(!statement->Busy());
#endif
}

void Connection::enter() {
    if (m_depth == 0) {
        requireIdle();
        letOthersIn();
        Run("BEGIN IMMEDIATE");
    } else {
        Run("SAVEPOINT step");
    }
    ++m_depth;
}

void Connection::leave() {
    if (m_depth == 0) // SQLite has undone all of it after an error that somebody trapped
        throw PlatformError(MAPI_E_CALL_FAILED,
                            "The change to the store file " + m_path + " has been undone already.",
                            "MessageStore");
    Run(m_depth == 1 ? "COMMIT" : "RELEASE step");
    if (--m_depth > 0)
        return;
    requireIdle();
    checkpoint();
    m_lastCommit = std::chrono::steady_clock::now();
}

void Connection::abandon() {
    if (sqlite3_get_autocommit(m_db) != 0) {
        m_depth = 0;
    } else if (m_depth == 1) {
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        m_depth = 0;
    } else if (m_depth > 1) {
        sqlite3_exec(m_db, "ROLLBACK TO step; RELEASE step", nullptr, nullptr, nullptr);
        --m_depth;
    }
    if (m_rolledBack)
        m_rolledBack();
}

void Connection::Commit() {
    if (m_depth > 1)
        throw PlatformError(MAPI_E_CALL_FAILED, "A change is still being written.", "MessageStore");
    try {
        leave();
    } catch (...) {
        abandon();
        throw;
    }
}

void Connection::Rollback() {
    if (m_depth > 0)
        abandon();
}

Connection::Snapshot::~Snapshot() {
    if (m_connection.m_depth == 0)
        sqlite3_exec(m_connection.m_db, "COMMIT", nullptr, nullptr, nullptr);
}

bool Connection::StillThere() const {
    struct stat info {};
    return stat(m_path.c_str(), &info) == 0 && info.st_dev == m_device && info.st_ino == m_inode;
}

} // namespace kr::sqlite
