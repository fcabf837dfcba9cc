#include "platform/store/sqlite/Sqlite.h"

#include <cerrno>
#include <cstring>

#include "platform/store/Store.h"

namespace kr::sqlite {

namespace {

struct Meaning {
    long number;
    std::string words;
};

bool diskFull(int code, int systemError) {
    return (code & 0xFF) == SQLITE_FULL ||
           ((code & 0xFF) == SQLITE_IOERR &&
            (systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG));
}

Meaning cannotOpen(int systemError) {
    const bool denied = systemError == EACCES || systemError == EPERM || systemError == EROFS;
    const char* why = systemError ? std::strerror(systemError) : "its folder may be read-only";
    return {denied || systemError == 0 ? MAPI_E_NO_ACCESS : MAPI_E_NOT_FOUND,
            std::string(" can't be opened: ") + why + "."};
}

/// A failing commit leaves the system's error in errno alone.
Meaning meaningOf(sqlite3* db, int code, int lastError) {
    const int told = db ? sqlite3_system_errno(db) : 0;
    const int systemError = told != 0 ? told : lastError;
    const std::string detail = db ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    if (diskFull(code, systemError))
        return {MAPI_E_NOT_ENOUGH_DISK, " can't grow: the disk is full. Nothing was changed."};
    switch (code & 0xFF) {
    case SQLITE_NOTADB:
        return {MAPI_E_CORRUPT_STORE, ": the file is not a message store."};
    case SQLITE_CORRUPT:
        return {MAPI_E_CORRUPT_STORE,
                " is damaged (" + detail + "). Put a copy from a backup in its place."};
    case SQLITE_READONLY:
        return {MAPI_E_NO_ACCESS,
                code == SQLITE_READONLY_DBMOVED
                    ? " has been moved or removed while it was open."
                    : " can't be written: the file or its folder is read-only for this user."};
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return {MAPI_E_NO_ACCESS, " can't be used: access is denied."};
    case SQLITE_CANTOPEN:
        return cannotOpen(systemError);
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return {MAPI_E_BUSY, " is in use: another program keeps it locked."};
    case SQLITE_IOERR:
        return {MAPI_E_DISK_ERROR, " can't be read or written (" + detail + ")."};
    case SQLITE_NOMEM:
        return {MAPI_E_NOT_ENOUGH_MEMORY, " can't be read: there is not enough memory."};
    default:
        return {MAPI_E_CALL_FAILED, " refused an operation (" + detail + ")."};
    }
}

} // namespace

void Fail(sqlite3* db, int code, const std::string& path) {
    const Meaning meaning = meaningOf(db, code, errno);
    const char* name = db ? sqlite3_db_filename(db, "main") : nullptr;
    const std::string file = path.empty() && name ? std::string(name) : path;
    throw PlatformError(meaning.number, "The store file " + file + meaning.words, "MessageStore");
}

Statement::Statement(sqlite3* db, const char* sql) {
    const int rc =
        sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr);
    if (rc != SQLITE_OK)
        Fail(db, rc);
}

void Statement::Bind(int index, std::string_view text) {
    sqlite3_bind_text64(m_statement, index, text.data() ? text.data() : "", text.size(),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Statement::Bind(int index, Blob blob) {
    sqlite3_bind_blob64(m_statement, index, blob.bytes.data() ? blob.bytes.data() : "",
                        blob.bytes.size(), SQLITE_TRANSIENT);
}

void Statement::Bind(int index, const std::optional<std::string>& text) {
    if (text)
        Bind(index, std::string_view(*text));
    else
        sqlite3_bind_null(m_statement, index);
}

bool Statement::Step() {
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    sqlite3* db = sqlite3_db_handle(m_statement);
    const int code = sqlite3_extended_errcode(db);
    Fail(db, (code & 0xFF) == (rc & 0xFF) ? code : rc);
}

} // namespace kr::sqlite
