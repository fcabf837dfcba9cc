#include "platform/store/sqlite/StoreFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <random>
#include <utility>

#include "core/Text.h"
#include "platform/store/sqlite/Schema.h"

namespace kr::sqlite {

namespace {

constexpr int kCheckpointFrames = 1000;
constexpr int64_t kKeptChanges = 100'000;
constexpr int kEagerTries = 500;
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

/// A file of ours that isn't finished; it goes with this object.
struct HalfMade {
    explicit HalfMade(std::string name) : path(std::move(name)) { unlink(path.c_str()); }
    ~HalfMade() {
        for (const char* tail : {"", "-wal", "-shm"})
            unlink((path + tail).c_str());
    }
    HalfMade(const HalfMade&) = delete;
    HalfMade& operator=(const HalfMade&) = delete;
    std::string path;
};

void makeTables(const std::string& place, const std::string& path) {
    sqlite3* db = nullptr;
    const int rc =
        sqlite3_open_v2(place.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> closer(db, sqlite3_close_v2);
    if (rc != SQLITE_OK)
        Fail(db, rc, path);
    CreateTables(db);
}

void setPragma(sqlite3* db, const char* text) {
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

StoreFile::StoreFile() : m_keptChanges(kKeptChanges) {}

void StoreFile::Create(const std::string& path) {
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored))
        throw PlatformError(MAPI_E_COLLISION, path + " exists already", "MessageStore");
    // made under another name, so that nobody opens half a file and a failure leaves none
    const HalfMade half(path + ".new" + std::to_string(getpid()));
    makeTables(half.path, path);
    if (link(half.path.c_str(), path.c_str()) != 0)
        throw PlatformError(errno == EEXIST ? MAPI_E_COLLISION : MAPI_E_NO_ACCESS,
                            path + (errno == EEXIST ? " exists already" : " can't be created"),
                            "MessageStore");
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
    // all objects of a session are used from one thread
    const int rc =
        sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK)
        Fail(m_db, rc, path);
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_handler(m_db, onBusy, this);
    // SQLite opens such a file for reading only, and then fails later without a clear reason
    if (sqlite3_db_readonly(m_db, "main") == 1)
        Fail(m_db, SQLITE_READONLY, path);
    try {
        CheckLayout(m_db, path);
        configure();
    } catch (const PlatformError& e) {
        throw PlatformError(e.number(),
                            e.description().starts_with(path) ? e.description()
                                                              : path + ": " + e.description(),
                            e.source());
    }
    m_queue = std::make_unique<WriteQueue>(path);
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
            setPragma(m_db, "PRAGMA journal_mode=WAL");
    }
    setPragma(m_db, "PRAGMA synchronous=FULL");
    setPragma(m_db, "PRAGMA wal_autocheckpoint=0");
    setPragma(m_db, "PRAGMA cache_size=-65536");
    setPragma(m_db, "PRAGMA temp_store=MEMORY");
    setPragma(m_db, "PRAGMA foreign_keys=OFF");
    setPragma(m_db, "PRAGMA trusted_schema=OFF");
    sqlite3_wal_hook(m_db, onCommit, this);
}

StoreFile::~StoreFile() {
    m_statements.clear();
    if (m_db)
        sqlite3_close_v2(m_db);
}

/// Short sleeps: the built-in handler's long ones let a waiting writer starve.
int StoreFile::onBusy(void* self, int count) {
    auto* file = static_cast<StoreFile*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (count == 0)
        file->m_busySince = now;
    // a checkpoint that gave up would fall back to one without the write lock
    if (now - file->m_busySince > kBusyLimit && !file->m_inCheckpoint)
        return 0;
    const int wait = count < kEagerTries ? 100 : 2000; // microseconds
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
    if (m_frames < m_checkpointed)
        m_checkpointed = 0; // the log was begun anew
    if (m_frames - m_checkpointed <= kCheckpointFrames)
        return;
    m_checkpointed = m_frames;
    const WriteQueue::Place first(*m_queue);
    m_inCheckpoint = true;
    sqlite3_wal_checkpoint_v2(m_db, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    m_inCheckpoint = false;
}

Statement& StoreFile::Sql(std::string_view text) {
    if (const auto it = m_statements.find(text); it != m_statements.end())
        return *it->second;
    auto statement = std::make_unique<Statement>(m_db, text);
    return *m_statements.emplace(std::string(text), std::move(statement)).first->second;
}

void StoreFile::Begin() {
    if (m_depth == 0) {
        const WriteQueue::Place first(*m_queue);
        Sql("BEGIN IMMEDIATE").Run();
    }
    ++m_depth;
}

void StoreFile::Commit() {
    if (m_depth > 1) {
        --m_depth;
        return;
    }
    try {
        Sql("COMMIT").Run();
    } catch (...) {
        rollBack();
        throw;
    }
    m_depth = 0;
    checkpoint();
}

void StoreFile::rollBack() {
    m_depth = 0;
    if (sqlite3_get_autocommit(m_db) == 0)
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    forgetNames();
}

/// Numbers that were given out in what is taken back may be given to something else next.
void StoreFile::forgetNames() {
    m_stores.clear();
    m_folderStores.clear();
    m_classIds.clear();
    m_classNames.clear();
    m_named.clear();
}

void StoreFile::join(const std::function<void()>& change) {
    // a full disk can end the whole transaction; what comes then must not run without one
    if (sqlite3_get_autocommit(m_db) != 0)
        throw PlatformError(MAPI_E_CALL_FAILED, "The changes before this one were taken back.",
                            "MessageStore");
    Sql("SAVEPOINT part").Run();
    try {
        change();
    } catch (...) {
        if (sqlite3_get_autocommit(m_db) == 0)
            sqlite3_exec(m_db, "ROLLBACK TO part; RELEASE part", nullptr, nullptr, nullptr);
        forgetNames();
        throw;
    }
    Sql("RELEASE part").Run();
}

void StoreFile::Write(const std::function<void()>& change) {
    if (m_depth > 0)
        return join(change);
    Begin();
    try {
        change();
    } catch (...) {
        rollBack();
        throw;
    }
    Commit();
}

int64_t StoreFile::LogChange(StoreChange::Kind kind, int64_t object, int64_t folder) {
    Sql("INSERT INTO change(kind, object, folder, origin) VALUES(?,?,?,?)")
        .Bind(1, static_cast<int64_t>(kind))
        .Bind(2, object)
        .Bind(3, folder)
        .Bind(4, m_origin)
        .Run();
    const int64_t cn = sqlite3_last_insert_rowid(m_db);
    prune(cn);
    return cn;
}

/// A hundredth at a time, so that few changes pay for it.
void StoreFile::prune(int64_t newest) {
    if (newest % std::max<int64_t>(m_keptChanges / 100, 1) == 0)
        Sql("DELETE FROM change WHERE cn<=?").Bind(1, newest - m_keptChanges).Run();
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
    const auto find = [&]() -> const StoreRow* {
        const auto& stores = Stores();
        const auto it = std::ranges::lower_bound(stores, id, {}, &StoreRow::id);
        return it != stores.end() && it->id == id ? &*it : nullptr;
    };
    const StoreRow* row = find();
    if (row || id == 0)
        return row;
    ForgetStores(); // another program may have added it
    return find();
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
    if (m_depth > 0 || name.empty())
        return m_uncommittedClass = std::move(name);
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
        if (m_depth > 0)
            throw; // the caller's own change can't go on
        return 0;  // a store that can't be written has no id for it
    }
    auto& made = named(store); // the earlier one may have been forgotten
    readNamed(store, made);
    const auto it = made.ids.find(key);
    return it == made.ids.end() ? uint16_t{0} : it->second;
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
    auto& maps = named(store);
    if (!maps.names.contains(id))
        readNamed(store, maps); // another program may have made it
    return std::ranges::find(maps.indexed, id) != maps.indexed.end();
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
