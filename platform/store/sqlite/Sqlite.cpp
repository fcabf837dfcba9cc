#include "platform/store/sqlite/Sqlite.h"

#include <cerrno>

#include "platform/store/Store.h"

namespace kr::sqlite {

namespace {

long numberOf(int code) {
    switch (code) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return MAPI_E_CORRUPT_STORE;
    case SQLITE_FULL:
        return MAPI_E_NOT_ENOUGH_DISK;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return MAPI_E_NO_ACCESS;
    case SQLITE_CANTOPEN:
        return MAPI_E_NOT_FOUND;
    default:
        return MAPI_E_CALL_FAILED;
    }
}

/// The system's own number. A failed commit doesn't pass it on: it stays with the log's file.
int systemError(sqlite3* db, int code) {
    sqlite3_file* log = nullptr;
    int error = 0;
    if (code == SQLITE_IOERR_WRITE &&
        sqlite3_file_control(db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK && log &&
        log->pMethods)
        log->pMethods->xFileControl(log, SQLITE_FCNTL_LAST_ERRNO, &error);
    return error != 0 ? error : sqlite3_system_errno(db);
}

/// The main result; what the system said tells a full disk and a missing right from other faults.
int meaningOf(sqlite3* db, int code) {
    const int main = code & 0xFF;
    if (!db || (main != SQLITE_IOERR && main != SQLITE_CANTOPEN))
        return main;
    switch (systemError(db, code)) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return SQLITE_FULL;
    case EACCES:
    case EPERM:
    case EROFS:
        return SQLITE_PERM;
    default:
        return main;
    }
}

std::string wordsOf(sqlite3* db, int code) {
    switch (code) {
    case SQLITE_NOTADB:
        return "the file is not a message store";
    case SQLITE_CORRUPT:
        return "the message store is damaged";
    case SQLITE_FULL:
        return "the disk is full";
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return "the message store can't be written";
    case SQLITE_CANTOPEN:
        return "the message store can't be opened";
    case SQLITE_BUSY:
        return "the message store is in use by another program";
    case SQLITE_IOERR:
        return "the message store can't be read or written (" +
               std::string(db ? sqlite3_errmsg(db) : "disk error") + ")";
    default:
        return db ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    }
}

} // namespace

void Fail(sqlite3* db, int code, const std::string& what) {
    const int meaning = meaningOf(db, code);
    throw PlatformError(numberOf(meaning), what + ": " + wordsOf(db, meaning), "MessageStore");
}

Statement::Statement(sqlite3* db, std::string_view sql) : m_db(db) {
    const int rc = sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr);
    if (rc != SQLITE_OK)
        Fail(db, rc, "Message store");
}

Statement& Statement::Bind(int index, int64_t value) {
    sqlite3_bind_int64(m_statement, index, value);
    return *this;
}

Statement& Statement::Bind(int index, std::string_view text) {
    sqlite3_bind_text(m_statement, index, text.data() ? text.data() : "",
                      static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::BindBlob(int index, std::string_view bytes) {
    sqlite3_bind_blob64(m_statement, index, bytes.data() ? bytes.data() : "", bytes.size(),
                        SQLITE_TRANSIENT);
    return *this;
}

bool Statement::Step() {
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    sqlite3_reset(m_statement);
    Fail(m_db, rc, "Message store");
}

void Statement::Run() {
    while (Step()) {
    }
    Reset();
}

std::string_view Statement::Text(int column) const {
    const void* bytes = sqlite3_column_blob(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    return {static_cast<const char*>(bytes), static_cast<size_t>(bytes ? size : 0)};
}

} // namespace kr::sqlite
