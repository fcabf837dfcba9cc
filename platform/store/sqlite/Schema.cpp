#include "platform/store/sqlite/Schema.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>

#include "platform/store/Store.h"

namespace kr::sqlite {

namespace {

constexpr const char* kTables = R"(
CREATE TABLE meta(name TEXT PRIMARY KEY, value) WITHOUT ROWID;
CREATE TABLE store(id INTEGER PRIMARY KEY, guid BLOB NOT NULL UNIQUE, kind INTEGER NOT NULL,
    owner_name TEXT NOT NULL, address TEXT NOT NULL, address_key TEXT NOT NULL UNIQUE,
    alias_key TEXT NOT NULL, root INTEGER NOT NULL, ipm_root INTEGER NOT NULL, props BLOB);
CREATE TABLE folder(id INTEGER PRIMARY KEY, store INTEGER NOT NULL, parent INTEGER NOT NULL,
    name TEXT NOT NULL, name_key TEXT NOT NULL, class TEXT NOT NULL, number INTEGER NOT NULL,
    cn INTEGER NOT NULL, props BLOB);
CREATE UNIQUE INDEX folder_name ON folder(parent, name_key);
CREATE TABLE msg_class(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE msg(id INTEGER PRIMARY KEY, cn INTEGER NOT NULL, flags INTEGER NOT NULL,
    class INTEGER NOT NULL, ctime INTEGER NOT NULL, mtime INTEGER NOT NULL,
    subject TEXT NOT NULL, body BLOB NOT NULL);
CREATE TABLE pidx(folder INTEGER, tag INTEGER, key INTEGER, msg INTEGER,
    PRIMARY KEY(folder, tag, key, msg)) WITHOUT ROWID;
CREATE TABLE big(owner INTEGER, tag INTEGER, value BLOB NOT NULL, PRIMARY KEY(owner, tag));
CREATE TABLE recipient(msg INTEGER, n INTEGER, type INTEGER NOT NULL, name TEXT NOT NULL,
    addrtype TEXT NOT NULL, address TEXT NOT NULL, eid TEXT NOT NULL,
    PRIMARY KEY(msg, n)) WITHOUT ROWID;
CREATE TABLE attach(id INTEGER PRIMARY KEY, msg INTEGER NOT NULL, n INTEGER NOT NULL,
    method INTEGER NOT NULL, name TEXT NOT NULL, size INTEGER NOT NULL,
    embedded INTEGER NOT NULL, props BLOB);
CREATE UNIQUE INDEX attach_msg ON attach(msg, n);
CREATE TABLE attach_data(id INTEGER PRIMARY KEY, data BLOB NOT NULL);
CREATE TABLE named_prop(store INTEGER NOT NULL, id INTEGER NOT NULL, guid TEXT NOT NULL,
    kind INTEGER NOT NULL, lid INTEGER NOT NULL, name TEXT NOT NULL,
    PRIMARY KEY(store, id)) WITHOUT ROWID;
CREATE UNIQUE INDEX named_name ON named_prop(store, guid, kind, lid, name);
CREATE TABLE change(cn INTEGER PRIMARY KEY, kind INTEGER NOT NULL, object INTEGER NOT NULL,
    folder INTEGER NOT NULL, origin INTEGER NOT NULL);
CREATE TABLE ab_entry(id INTEGER PRIMARY KEY, dn TEXT NOT NULL, dn_key TEXT NOT NULL UNIQUE,
    display_type INTEGER NOT NULL, name TEXT NOT NULL, name_key TEXT NOT NULL,
    alias_key TEXT NOT NULL, addrtype TEXT NOT NULL, address TEXT NOT NULL, props BLOB);
CREATE INDEX ab_name ON ab_entry(name_key);
CREATE INDEX ab_alias ON ab_entry(alias_key);
CREATE TABLE ab_proxy(key TEXT, entry INTEGER, PRIMARY KEY(key, entry)) WITHOUT ROWID;
CREATE TABLE ab_member(list INTEGER, n INTEGER, member INTEGER NOT NULL,
    PRIMARY KEY(list, n)) WITHOUT ROWID;
)";

int pragma(sqlite3* db, const char* name) {
    Statement statement(db, std::string("PRAGMA ") + name);
    return statement.Step() ? static_cast<int>(statement.Integer(0)) : 0;
}

void exec(sqlite3* db, const std::string& sql) {
    if (const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr); rc != SQLITE_OK)
        Fail(db, rc, "Message store");
}

/// Steps from layout 1 on: kSteps[0] leads from 1 to 2, and so on.
constexpr std::array<const char*, kLayout - 1> kSteps{};

/// The layout in a file's header, without opening it: bytes 60 to 63, big-endian.
int layoutOfCopy(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    unsigned char bytes[4] = {};
    in.seekg(60);
    in.read(reinterpret_cast<char*>(bytes), sizeof bytes);
    return bytes[0] << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

/// Keeps the file as "<path>.layout<n>" before it is changed.
void keepCopy(sqlite3* db, const std::string& path, int layout) {
    const std::string kept = path + ".layout" + std::to_string(layout);
    const std::string copy = kept + "." + std::to_string(getpid());
    unlink(copy.c_str());
    try {
        Statement vacuum(db, "VACUUM INTO ?");
        vacuum.Bind(1, std::string_view(copy)).Run();
    } catch (...) {
        unlink(copy.c_str());
        throw;
    }
    // another program may have been first with the steps: its copy is the one to keep
    if (layoutOfCopy(copy) != layout) {
        unlink(copy.c_str());
        return;
    }
    if (std::rename(copy.c_str(), kept.c_str()) != 0) {
        unlink(copy.c_str());
        throw PlatformError(MAPI_E_NO_ACCESS, kept + " can't be written", "MessageStore");
    }
}

void takeStep(sqlite3* db, int from, const char* step) {
    exec(db, "BEGIN IMMEDIATE");
    try {
        if (pragma(db, "user_version") == from) { // else another program has done it
            exec(db, step);
            exec(db, "PRAGMA user_version=" + std::to_string(from + 1));
        }
        exec(db, "COMMIT");
    } catch (...) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

struct Reference {
    const char* sql;
    const char* words;
};
/// Each query counts rows that refer to something that isn't there.
constexpr Reference kReferences[] = {
    {"SELECT count(*) FROM folder WHERE store NOT IN (SELECT id FROM store)",
     "folders without a store"},
    {"SELECT count(*) FROM folder WHERE parent<>0 AND parent NOT IN (SELECT id FROM folder)",
     "folders without a parent"},
    {"SELECT count(*) FROM msg WHERE (id>>41)<>0 AND (id>>41) NOT IN (SELECT id FROM folder)",
     "messages without a folder"},
    {"SELECT count(*) FROM msg WHERE class NOT IN (SELECT id FROM msg_class)",
     "messages without a class"},
    {"SELECT count(*) FROM pidx WHERE msg NOT IN (SELECT id FROM msg)",
     "index entries without a message"},
    {"SELECT count(*) FROM msg WHERE (id>>41)<>0 AND subject<>'' AND NOT EXISTS (SELECT 1 FROM "
     "pidx WHERE folder=msg.id>>40 AND tag=55 AND msg=msg.id)",
     "messages without their index entry"},
    {"SELECT count(*) FROM big WHERE owner NOT IN (SELECT id FROM msg)",
     "long values without a message"},
    {"SELECT count(*) FROM recipient WHERE msg NOT IN (SELECT id FROM msg)",
     "recipients without a message"},
    {"SELECT count(*) FROM attach WHERE msg NOT IN (SELECT id FROM msg)",
     "attachments without a message"},
    {"SELECT count(*) FROM attach WHERE method=1 AND id NOT IN (SELECT id FROM attach_data)",
     "attachments without content"},
    {"SELECT count(*) FROM ab_member WHERE list NOT IN (SELECT id FROM ab_entry) OR member NOT IN "
     "(SELECT id FROM ab_entry)",
     "list members without an address entry"},
};

} // namespace

void CreateTables(sqlite3* db) {
    exec(db, "PRAGMA page_size=4096");
    exec(db, "PRAGMA journal_mode=WAL");
    exec(db, "BEGIN IMMEDIATE");
    exec(db, kTables);
    exec(db, "INSERT INTO meta VALUES('fold', 1), ('index', 1)");
    exec(db, "INSERT INTO change VALUES(1, 4, 0, 0, 0)");
    exec(db, "PRAGMA application_id=" + std::to_string(kApplicationId));
    exec(db, "PRAGMA user_version=" + std::to_string(kLayout));
    exec(db, "COMMIT");
}

void CheckLayout(sqlite3* db, const std::string& path) { CheckLayout(db, path, kSteps); }

void CheckLayout(sqlite3* db, const std::string& path, std::span<const char* const> steps) {
    if (pragma(db, "application_id") != kApplicationId)
        throw PlatformError(MAPI_E_CORRUPT_STORE, path + " is not a message store", "MessageStore");
    const int layout = pragma(db, "user_version");
    const int present = 1 + static_cast<int>(steps.size());
    if (layout > present)
        throw PlatformError(MAPI_E_VERSION,
                            path + " was written by a newer version of this program",
                            "MessageStore");
    if (layout == present)
        return;
    if (layout < 1)
        throw PlatformError(MAPI_E_CORRUPT_STORE, path + " has no layout that is known",
                            "MessageStore");
    keepCopy(db, path, layout);
    for (int from = layout; from < present; ++from)
        takeStep(db, from, steps[static_cast<size_t>(from) - 1]);
}

std::vector<std::string> CheckStore(sqlite3* db) {
    std::vector<std::string> faults;
    try {
        Statement integrity(db, "PRAGMA integrity_check");
        while (integrity.Step())
            if (const std::string_view text = integrity.Text(0); text != "ok")
                faults.emplace_back(text);
        for (const Reference& reference : kReferences) {
            Statement statement(db, reference.sql);
            if (statement.Step() && statement.Integer(0) > 0)
                faults.push_back(std::to_string(statement.Integer(0)) + " " + reference.words);
        }
    } catch (const PlatformError& e) { // too damaged to be read to its end
        faults.push_back(e.description());
    }
    return faults;
}

} // namespace kr::sqlite
