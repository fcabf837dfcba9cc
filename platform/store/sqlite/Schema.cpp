#include "platform/store/sqlite/Schema.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/store/Store.h"
#include "platform/store/sqlite/FileCheck.h"
#include "platform/store/sqlite/Random.h"

namespace kr::sqlite {

namespace {

// A message's row id is folder << 41 | associated << 40 | number of the change that made it: a
// folder's contents lie together and need no index. AUTOINCREMENT keeps ids from being used twice.
constexpr const char* kTables = R"(
CREATE TABLE meta(name TEXT PRIMARY KEY, value) WITHOUT ROWID;
CREATE TABLE store(id INTEGER PRIMARY KEY, guid BLOB NOT NULL UNIQUE, kind INTEGER NOT NULL,
    owner_name TEXT NOT NULL, address TEXT NOT NULL, address_key TEXT UNIQUE,
    alias_key TEXT UNIQUE, root INTEGER NOT NULL, ipm_root INTEGER NOT NULL, props BLOB NOT NULL);
CREATE TABLE folder(id INTEGER PRIMARY KEY AUTOINCREMENT, store INTEGER NOT NULL,
    parent INTEGER NOT NULL, name TEXT NOT NULL, name_key TEXT NOT NULL, class TEXT NOT NULL,
    number INTEGER NOT NULL, cn INTEGER NOT NULL, props BLOB NOT NULL);
CREATE UNIQUE INDEX folder_name ON folder(parent, name_key);
CREATE INDEX folder_number ON folder(store, number) WHERE number<>0;
CREATE TABLE msg_class(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE msg(id INTEGER PRIMARY KEY, cn INTEGER NOT NULL, flags INTEGER NOT NULL,
    class INTEGER NOT NULL, ctime INTEGER NOT NULL, mtime INTEGER NOT NULL, subject TEXT,
    body BLOB NOT NULL);
CREATE TABLE pidx(folder INTEGER, tag INTEGER, key INTEGER, msg INTEGER,
    PRIMARY KEY(folder, tag, key, msg)) WITHOUT ROWID;
CREATE TABLE big(owner INTEGER NOT NULL, tag INTEGER NOT NULL, value BLOB NOT NULL);
CREATE UNIQUE INDEX big_owner ON big(owner, tag);
CREATE TABLE recipient(msg INTEGER, n INTEGER, type INTEGER NOT NULL, name TEXT NOT NULL,
    addrtype TEXT NOT NULL, address TEXT NOT NULL, eid TEXT NOT NULL,
    PRIMARY KEY(msg, n)) WITHOUT ROWID;
CREATE TABLE attach(id INTEGER PRIMARY KEY AUTOINCREMENT, msg INTEGER NOT NULL, n INTEGER NOT NULL,
    method INTEGER NOT NULL, name TEXT NOT NULL, size INTEGER NOT NULL, embedded INTEGER NOT NULL,
    props BLOB);
CREATE UNIQUE INDEX attach_msg ON attach(msg, n);
CREATE TABLE attach_data(id INTEGER PRIMARY KEY, data BLOB NOT NULL);
CREATE TABLE named_prop(store INTEGER NOT NULL, id INTEGER NOT NULL, guid BLOB NOT NULL,
    kind INTEGER NOT NULL, lid INTEGER NOT NULL, name TEXT NOT NULL,
    PRIMARY KEY(store, id)) WITHOUT ROWID;
CREATE UNIQUE INDEX named_name ON named_prop(store, guid, kind, lid, name);
CREATE TABLE change(cn INTEGER PRIMARY KEY, kind INTEGER NOT NULL, object INTEGER NOT NULL,
    folder INTEGER NOT NULL, origin INTEGER NOT NULL);
CREATE TABLE ab_entry(id INTEGER PRIMARY KEY, dn TEXT NOT NULL, dn_key TEXT NOT NULL UNIQUE,
    display_type INTEGER NOT NULL, name TEXT NOT NULL, name_key TEXT NOT NULL,
    alias_key TEXT NOT NULL, addrtype TEXT NOT NULL, address TEXT NOT NULL, props BLOB NOT NULL);
CREATE INDEX ab_name ON ab_entry(name_key);
CREATE INDEX ab_alias ON ab_entry(alias_key);
CREATE TABLE ab_proxy(key TEXT, entry INTEGER, PRIMARY KEY(key, entry)) WITHOUT ROWID;
CREATE TABLE ab_member(list INTEGER, n INTEGER, member INTEGER NOT NULL,
    PRIMARY KEY(list, n)) WITHOUT ROWID;
)";

void close(sqlite3* db) { sqlite3_close_v2(db); }

void execute(sqlite3* db, const std::string& sql, const std::string& path) {
    if (const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr); rc != SQLITE_OK)
        Fail(db, sqlite3_extended_errcode(db), path);
}

/// `shown` is the path that errors name.
void fill(const std::string& path, const std::string& shown) {
    sqlite3* raw = nullptr;
    const int rc =
        sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    const std::unique_ptr<sqlite3, void (*)(sqlite3*)> db(raw, close);
    if (rc != SQLITE_OK)
        Fail(raw, rc, shown);
    const auto run = [&](const std::string& sql) { execute(raw, sql, shown); };
    run("PRAGMA page_size=4096; PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
    run("BEGIN IMMEDIATE");
    run(kTables);
    run("INSERT INTO meta VALUES('fold'," + std::to_string(kFoldVersion) + "),('index'," +
        std::to_string(kIndexVersion) + "),('guid',randomblob(16))");
    // the log of changes is never empty: the next number is its greatest plus one
    run("INSERT INTO change VALUES(1,4,0,0,0)");
    run("PRAGMA application_id=" + std::to_string(kApplicationId));
    run("PRAGMA user_version=" + std::to_string(kLayout));
    run("COMMIT");
    run("PRAGMA wal_checkpoint(TRUNCATE)");
}

void removeWithLog(const std::string& path) {
    for (const char* part : {"", "-wal", "-shm"})
        unlink((path + part).c_str());
}

int layoutOf(sqlite3* db) {
    Statement statement(db, "PRAGMA user_version");
    return statement.Step() ? static_cast<int>(statement.Integer(0)) : 0;
}

int layoutOfCopy(const std::string& path) {
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, void (*)(sqlite3*)> db(raw, close);
    return rc == SQLITE_OK ? layoutOf(raw) : 0;
}

/// Another program may be first with the copy, or even with the steps: only a copy of the old
/// layout is kept, and none is replaced.
void keepCopy(sqlite3* db, const std::string& path, int layout) {
    const std::string kept = path + ".layout" + std::to_string(layout);
    const std::string fresh = kept + "." + std::to_string(RandomNumber());
    try {
        Statement vacuum(db, "VACUUM INTO ?");
        vacuum.Bind(1, fresh);
        vacuum.Step();
    } catch (...) {
        removeWithLog(fresh);
        throw;
    }
    const int failed =
        layoutOfCopy(fresh) != layout || link(fresh.c_str(), kept.c_str()) == 0 ? 0 : errno;
    removeWithLog(fresh);
    if (failed != 0 && failed != EEXIST)
        throw PlatformError(MAPI_E_NO_ACCESS,
                            "The copy " + kept + " can't be written: " + std::strerror(failed) +
                                ".",
                            "MessageStore");
}

void takeStep(sqlite3* db, const std::string& path, int from, const char* step) {
    execute(db, "BEGIN IMMEDIATE", path);
    try {
        if (layoutOf(db) == from) { // else another program has done it
            execute(db, step, path);
            execute(db, "PRAGMA user_version=" + std::to_string(from + 1), path);
        }
        execute(db, "COMMIT", path);
    } catch (...) {
        if (sqlite3_get_autocommit(db) == 0)
            sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

/// Steps from layout 1 on; it is the first.
constexpr std::array<const char*, kLayout - 1> kSteps{};

} // namespace

void CreateStoreFile(const std::string& path) {
    RequireFolderFor(path);
    const auto taken = [&] {
        throw PlatformError(MAPI_E_COLLISION, "There is a file " + path + " already.",
                            "MessageStore");
    };
    if (access(path.c_str(), F_OK) == 0)
        taken();
    // made under another name, so that nobody meets a half-made file
    const std::string fresh = path + ".new" + std::to_string(RandomNumber());
    try {
        fill(fresh, path);
    } catch (...) {
        removeWithLog(fresh);
        throw;
    }
    const int failed = link(fresh.c_str(), path.c_str()) == 0 ? 0 : errno;
    removeWithLog(fresh);
    if (failed == EEXIST)
        taken();
    if (failed != 0)
        throw PlatformError(MAPI_E_NO_ACCESS,
                            "The store file " + path + " can't be made: " + std::strerror(failed) +
                                ".",
                            "MessageStore");
}

void CheckLayout(sqlite3* db, const std::string& path) { CheckLayout(db, path, kSteps); }

void CheckLayout(sqlite3* db, const std::string& path, std::span<const char* const> steps) {
    const int newest = 1 + static_cast<int>(steps.size());
    const int found = layoutOf(db);
    if (found > newest)
        throw PlatformError(
            MAPI_E_VERSION,
            "The store file " + path + " was written by a newer version of this program (layout " +
                std::to_string(found) + "; this one knows " + std::to_string(newest) + ").",
            "MessageStore");
    if (found < 1)
        throw PlatformError(MAPI_E_CORRUPT_STORE,
                            "The store file " + path + " has no layout that is known.",
                            "MessageStore");
    if (found == newest)
        return;
    keepCopy(db, path, found);
    for (int from = found; from < newest; ++from)
        takeStep(db, path, from, steps[static_cast<size_t>(from) - 1]);
}

} // namespace kr::sqlite
