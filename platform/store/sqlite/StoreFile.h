#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/store/Store.h"
#include "platform/store/sqlite/Sqlite.h"
#include "platform/store/sqlite/WriteQueue.h"

namespace kr::sqlite {

/// One store (mailbox or public folders) of the file.
struct StoreRow {
    int64_t id = 0;
    std::string guid; // 16 bytes
    bool isPublic = false;
    std::string ownerName;
    std::string address;
    int64_t root = 0;
    int64_t ipmRoot = 0;
};

/// What a message's row id holds: folder << 41 | associated << 40 | sequence.
constexpr int kFolderShift = 41;
constexpr int64_t kAssociatedBit = int64_t{1} << 40;
constexpr int64_t kSequenceMask = kAssociatedBit - 1;
constexpr int64_t MessageFolder(int64_t id) { return id >> kFolderShift; }
/// First and last row id of one side of a folder.
struct IdRange {
    int64_t first = 0;
    int64_t last = 0;
};
constexpr IdRange ContentsRange(int64_t folder, bool associated) {
    const int64_t base = folder << kFolderShift | (associated ? kAssociatedBit : 0);
    return {base, base | kSequenceMask};
}

/// A connection to the file of an organisation, with the rules that all its users keep: own busy
/// handler, write-ahead log with FULL synchronisation, checkpoints by the commit hook, every write
/// begun as IMMEDIATE. All objects of one session share it.
class StoreFile : public std::enable_shared_from_this<StoreFile> {
public:
    static void Create(const std::string& path);
    static std::shared_ptr<StoreFile> Open(const std::string& path);
    ~StoreFile();
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    sqlite3* db() { return m_db; }
    const std::string& path() const { return m_path; }
    /// A statement prepared once; use it through Use so that it is reset.
    Statement& Sql(std::string_view text);
    /// Runs the change in one transaction, wholly or not at all; within Begin and Commit it joins
    /// that, and a failing change takes back its own part only.
    void Write(const std::function<void()>& change);
    void Begin();
    void Commit();

    /// Adds a row to the change log and gives its number.
    int64_t LogChange(StoreChange::Kind kind, int64_t object, int64_t folder);

    const std::vector<StoreRow>& Stores();
    const StoreRow* StoreById(int64_t id);
    const StoreRow* StoreByGuid(std::string_view guid);
    void ForgetStores() { m_stores.clear(); }
    /// How many rows of the change log stay when it is pruned.
    void KeepChanges(int64_t count) { m_keptChanges = count; }
    /// The store that holds a folder; 0 when there is no such folder.
    int64_t StoreOfFolder(int64_t folder);

    int64_t ClassId(std::string_view name);
    const std::string& ClassName(int64_t id);

    /// The id of a named property; 0 when missing and it can't or may not be created.
    uint16_t NamedId(int64_t store, const PropName& name, bool create);
    std::optional<PropName> NameOfId(int64_t store, uint16_t id);
    /// True for the properties that the hashed index serves.
    bool IsIndexed(int64_t store, uint16_t id);

    /// Changes of others since the last call.
    struct RawChange {
        StoreChange::Kind kind;
        int64_t object;
        int64_t folder;
    };
    std::vector<RawChange> PollChanges(bool& reloadAll);
    bool StillThere() const;

private:
    struct NamedMaps;
    StoreFile();
    void open(const std::string& path);
    void configure();
    void checkpoint();
    void rollBack();
    void forgetNames();
    void join(const std::function<void()>& change);
    void prune(int64_t newest);
    NamedMaps& named(int64_t store);
    void readNamed(int64_t store, NamedMaps& maps);
    static int onBusy(void* self, int count);
    static int onCommit(void* self, sqlite3*, const char*, int frames);

    std::string m_path;
    sqlite3* m_db = nullptr;
    std::unique_ptr<WriteQueue> m_queue;
    struct TextHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>{}(text);
        }
    };
    std::unordered_map<std::string, std::unique_ptr<Statement>, TextHash, std::equal_to<>>
        m_statements;
    std::vector<StoreRow> m_stores;
    std::unordered_map<int64_t, int64_t> m_folderStores;
    std::map<std::string, int64_t, std::less<>> m_classIds;
    std::unordered_map<int64_t, std::string> m_classNames;
    std::unordered_map<int64_t, std::unique_ptr<NamedMaps>> m_named;
    int64_t m_origin = 0;
    int64_t m_lastSeen = 0;
    int64_t m_dataVersion = -1;
    int m_frames = 0;       // in the log after the last commit
    int m_checkpointed = 0; // of these at the last checkpoint
    int m_depth = 0;
    bool m_inCheckpoint = false;
    int64_t m_keptChanges;
    std::chrono::steady_clock::time_point m_busySince;
    std::string m_uncommittedClass; // read inside a transaction that may be taken back
    uint64_t m_inode = 0;
};

/// The key of the hashed index: 64 bits over the folded value. Part of the file's format.
int64_t IndexKey(std::string_view text);

} // namespace kr::sqlite
