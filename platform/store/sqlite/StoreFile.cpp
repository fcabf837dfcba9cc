#include "platform/store/sqlite/StoreFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <utility>

#include "core/Text.h"
#include "platform/store/sqlite/Schema.h"

namespace kr::sqlite {

namespace {

constexpr int kCheckpointFrames = 1000;
constexpr int64_t kKeptChanges = 100'000;
constexpr auto kBusyLimit = std::chrono::seconds(10);

/// Named properties that the hashed index serves; a change of this list raises "index" in meta.
struct IndexedName {
    std::string_view guid;
    uint32_t lid;
    std::string_view name;
};
constexpr IndexedName kIndexedNames[] = {
    {PS_PUBLIC_STRINGS, 0, "PIN"},
    {PS_PUBLIC_STRINGS, 0, "DeviceID"},
    {PS_PUBLIC_STRINGS, 0, "ESN"},
    {PS_PUBLIC_STRINGS, 0, "Email"},
    {PS_PUBLIC_STRINGS, 0, "ACS.Guid"},
    {PS_PUBLIC_STRINGS, 0, "ACF EntryID"},
    {PS_PUBLIC_STRINGS, 0, "zandrel.CheckList.ID"},
    {PS_PUBLIC_STRINGS, 0, "zandrel.CheckList.ItemID"},
    {PSETID_Address, 0x8083, ""},
    {PSETID_Address, 0x8093, ""},
    {PSETID_Address, 0x80A3, ""},
};

std::string nameKey(const PropName& name) {
    return name.guid + (name.byNumber ? "#" + std::to_string(name.lid) : "$" + name.name);
}

bool indexedName(const PropName& name) {
    return std::ranges::any_of(kIndexedNames, [&](const IndexedName& indexed) {
        return EqualNoCase(indexed.guid, name.guid) &&
               (name.byNumber ? indexed.lid == name.lid && indexed.lid != 0
                              : indexed.lid == 0 && indexed.name == name.name);
    });
}

void pragma(sqlite3* db, const char* text) {
    if (const int rc = sqlite3_exec(db, text, nullptr, nullptr, nullptr); rc != SQLITE_OK)
        Fail(db, rc, "Message store");
}

} // namespace

int64_t IndexKey(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325; // FNV-1a, 64 bits
    for (const char c : Fold(text)) {
        hash ^= static_cast<uint8_t>(c);
        hash *= 0x100000001B3;
    }
    return static_cast<int64_t>(hash);
}

struct StoreFile::NamedMaps {
    std::unordered_map<std::string, uint16_t> ids;
    std::unordered_map<uint16_t, PropName> names;
    std::vector<uint16_t> indexed;
};

void StoreFile::Create(const std::string& path) {
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored))
        throw PlatformError(MAPI_E_COLLISION, path + " exists already", "MessageStore");
    sqlite3* db = nullptr;
    const int rc =
        sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> closer(db, sqlite3_close_v2);
    if (rc != SQLITE_OK)
        Fail(db, rc, path);
    CreateTables(db);
}

std::shared_ptr<StoreFile> StoreFile::Open(const std::string& path) {
    std::shared_ptr<StoreFile> file(new StoreFile);
    file->open(path);
    return file;
}

void StoreFile::open(const std::string& path) {
    m_path = path;
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        throw PlatformError(MAPI_E_NOT_FOUND, "There is no message store at " + path,
                            "MessageStore");
    m_inode = info.st_ino;
    const int rc = sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
    if (rc != SQLITE_OK)
        Fail(m_db, rc, path);
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_handler(m_db, onBusy, this);
    try {
        CheckLayout(m_db, path);
        configure();
    } catch (const PlatformError& e) {
        throw PlatformError(e.number(),
                            e.description().starts_with(path) ? e.description()
                                                              : path + ": " + e.description(),
                            e.source());
    }
    std::random_device random;
    m_origin = static_cast<int64_t>((static_cast<uint64_t>(random()) << 31) ^ random() ^
                                    static_cast<uint64_t>(getpid()));
    Use last(Sql("SELECT max(cn) FROM change"));
    if (last->Step())
        m_lastSeen = last->Integer(0);
}

void StoreFile::configure() {
    {
        Statement mode(m_db, "PRAGMA journal_mode");
        const bool wal = mode.Step() && EqualNoCase(mode.Text(0), "wal");
        mode.Reset();
        if (!wal)
            pragma(m_db, "PRAGMA journal_mode=WAL");
    }
    pragma(m_db, "PRAGMA synchronous=FULL");
    pragma(m_db, "PRAGMA wal_autocheckpoint=0");
    pragma(m_db, "PRAGMA cache_size=-65536");
    pragma(m_db, "PRAGMA temp_store=MEMORY");
    pragma(m_db, "PRAGMA foreign_keys=OFF");
    pragma(m_db, "PRAGMA trusted_schema=OFF");
    sqlite3_wal_hook(m_db, onCommit, this);
}

StoreFile::~StoreFile() {
    m_statements.clear();
    if (m_db)
        sqlite3_close_v2(m_db);
}

/// Short sleeps that grow: the built-in handler's long ones let a waiting writer starve.
int StoreFile::onBusy(void* self, int count) {
    const auto* file = static_cast<StoreFile*>(self);
    const int wait = std::min(200 + count * 50, 2000); // microseconds
    const auto waited = std::chrono::microseconds(static_cast<int64_t>(count) * 1500);
    // a checkpoint that gave up would fall back to one without the write lock
    if (waited > kBusyLimit && !file->m_inCheckpoint)
        return 0;
    usleep(static_cast<useconds_t>(wait));
    return 1;
}

int StoreFile::onCommit(void* self, sqlite3*, const char*, int frames) {
    static_cast<StoreFile*>(self)->m_frames = frames;
    return SQLITE_OK;
}

/// FULL takes the write lock before it reads the log's state, which keeps clear of writers that
/// restart the log meanwhile.
void StoreFile::checkpoint() {
    if (m_frames <= kCheckpointFrames)
        return;
    m_frames = 0;
    m_inCheckpoint = true;
    sqlite3_wal_checkpoint_v2(m_db, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    m_inCheckpoint = false;
}

Statement& StoreFile::Sql(std::string_view text) {
    auto& statement = m_statements[std::string(text)];
    if (!statement)
        statement = std::make_unique<Statement>(m_db, text);
    return *statement;
}

void StoreFile::Begin() {
    if (m_depth++ == 0)
        Sql("BEGIN IMMEDIATE").Run();
}

void StoreFile::Commit() {
    if (--m_depth > 0)
        return;
    Sql("COMMIT").Run();
    checkpoint();
}

void StoreFile::Write(const std::function<void()>& change) {
    if (m_depth > 0)
        return change();
    Begin();
    try {
        change();
        Commit();
    } catch (...) {
        m_depth = 0;
        if (sqlite3_get_autocommit(m_db) == 0)
            sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

int64_t StoreFile::LogChange(StoreChange::Kind kind, int64_t object, int64_t folder) {
    Sql("INSERT INTO change(kind, object, folder, origin) VALUES(?,?,?,?)")
        .Bind(1, static_cast<int64_t>(kind))
        .Bind(2, object)
        .Bind(3, folder)
        .Bind(4, m_origin)
        .Run();
    const int64_t cn = sqlite3_last_insert_rowid(m_db);
    if (cn % 1000 == 0)
        Sql("DELETE FROM change WHERE cn<?").Bind(1, cn - kKeptChanges).Run();
    return cn;
}

const std::vector<StoreRow>& StoreFile::Stores() {
    if (!m_stores.empty())
        return m_stores;
    Use rows(Sql("SELECT id,guid,kind,owner_name,address,root,ipm_root FROM store ORDER BY id"));
    while (rows->Step())
        m_stores.push_back({rows->Integer(0), std::string(rows->Text(1)), rows->Integer(2) == 1,
                            std::string(rows->Text(3)), std::string(rows->Text(4)),
                            rows->Integer(5), rows->Integer(6)});
    return m_stores;
}

const StoreRow* StoreFile::StoreById(int64_t id) {
    const auto& stores = Stores();
    const auto it = std::ranges::lower_bound(stores, id, {}, &StoreRow::id);
    return it != stores.end() && it->id == id ? &*it : nullptr;
}

const StoreRow* StoreFile::StoreByGuid(std::string_view guid) {
    const auto& stores = Stores();
    const auto it = std::ranges::find(stores, guid, &StoreRow::guid);
    return it == stores.end() ? nullptr : &*it;
}

int64_t StoreFile::StoreOfFolder(int64_t folder) {
    if (const auto it = m_folderStores.find(folder); it != m_folderStores.end())
        return it->second;
    Use row(Sql("SELECT store FROM folder WHERE id=?"));
    row->Bind(1, folder);
    return row->Step() ? m_folderStores[folder] = row->Integer(0) : 0;
}

int64_t StoreFile::ClassId(std::string_view name) {
    if (const auto it = m_classIds.find(name); it != m_classIds.end())
        return it->second;
    Sql("INSERT OR IGNORE INTO msg_class(name) VALUES(?)").Bind(1, name).Run();
    Use row(Sql("SELECT id FROM msg_class WHERE name=?"));
    row->Bind(1, name);
    row->Step();
    return row->Integer(0); // kept in the map only when read outside a transaction
}

const std::string& StoreFile::ClassName(int64_t id) {
    if (const auto it = m_classNames.find(id); it != m_classNames.end())
        return it->second;
    Use row(Sql("SELECT name FROM msg_class WHERE id=?"));
    row->Bind(1, id);
    std::string name(row->Step() ? row->Text(0) : std::string_view());
    if (m_depth == 0 && !name.empty())
        m_classIds[name] = id;
    return m_classNames[id] = std::move(name);
}

StoreFile::NamedMaps& StoreFile::named(int64_t store) {
    auto& maps = m_named[store];
    if (!maps) {
        maps = std::make_unique<NamedMaps>();
        readNamed(store, *maps);
    }
    return *maps;
}

void StoreFile::readNamed(int64_t store, NamedMaps& maps) {
    maps = {};
    Use rows(Sql("SELECT id,guid,kind,lid,name FROM named_prop WHERE store=?"));
    rows->Bind(1, store);
    while (rows->Step()) {
        PropName name{std::string(rows->Text(1)), rows->Integer(2) == 0,
                      static_cast<uint32_t>(rows->Integer(3)), std::string(rows->Text(4))};
        const auto id = static_cast<uint16_t>(rows->Integer(0));
        maps.ids[nameKey(name)] = id;
        if (indexedName(name))
            maps.indexed.push_back(id);
        maps.names[id] = std::move(name);
    }
}

uint16_t StoreFile::NamedId(int64_t store, const PropName& name, bool create) {
    const std::string key = nameKey(name);
    auto& maps = named(store);
    if (const auto it = maps.ids.find(key); it != maps.ids.end())
        return it->second;
    readNamed(store, maps); // another process may have made it
    if (const auto it = maps.ids.find(key); it != maps.ids.end() || !create)
        return it != maps.ids.end() ? it->second : uint16_t{0};
    try {
        Write([&] {
            // each store begins at another number, so that a tag used in a wrong store fails at
            // once
            const int64_t first = 0x8000 + store % 64 * 97;
            Sql("INSERT OR IGNORE INTO named_prop SELECT ?1, coalesce(max(id)+1, ?2), ?3, ?4, ?5, "
                "?6 "
                "FROM named_prop WHERE store=?1")
                .Bind(1, store)
                .Bind(2, first)
                .Bind(3, name.guid)
                .Bind(4, name.byNumber ? 0 : 1)
                .Bind(5, name.lid)
                .Bind(6, name.name)
                .Run();
        });
    } catch (const PlatformError&) {
        return 0; // a store that can't be written has no id for it
    }
    readNamed(store, maps);
    const auto it = maps.ids.find(key);
    return it == maps.ids.end() ? uint16_t{0} : it->second;
}

std::optional<PropName> StoreFile::NameOfId(int64_t store, uint16_t id) {
    auto& maps = named(store);
    if (!maps.names.contains(id))
        readNamed(store, maps);
    const auto it = maps.names.find(id);
    return it == maps.names.end() ? std::nullopt : std::optional(it->second);
}

bool StoreFile::IsIndexed(int64_t store, uint16_t id) {
    if (id < 0x8000)
        return id == PropId(PR_SUBJECT) || id == PropId(PR_CONVERSATION_TOPIC);
    return std::ranges::find(named(store).indexed, id) != named(store).indexed.end();
}

std::vector<StoreFile::RawChange> StoreFile::PollChanges(bool& reloadAll) {
    std::vector<RawChange> changes;
    reloadAll = false;
    {
        Use version(Sql("PRAGMA data_version"));
        version->Step();
        const int64_t now = version->Integer(0);
        if (std::exchange(m_dataVersion, now) == now)
            return changes;
    }
    Use oldest(Sql("SELECT min(cn), max(cn) FROM change"));
    oldest->Step();
    reloadAll = oldest->Integer(0) > m_lastSeen + 1;
    const int64_t newest = oldest->Integer(1);
    if (!reloadAll) {
        Use rows(Sql("SELECT kind,object,folder FROM change WHERE cn>? AND origin<>? ORDER BY cn"));
        rows->Bind(1, m_lastSeen).Bind(2, m_origin);
        while (rows->Step())
            changes.push_back({static_cast<StoreChange::Kind>(rows->Integer(0)), rows->Integer(1),
                               rows->Integer(2)});
    }
    m_lastSeen = newest;
    m_folderStores.clear();
    m_stores.clear();
    return changes;
}

bool StoreFile::StillThere() const {
    struct stat info {};
    return stat(m_path.c_str(), &info) == 0 && info.st_ino == m_inode;
}

} // namespace kr::sqlite
