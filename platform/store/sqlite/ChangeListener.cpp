#include "platform/store/sqlite/ChangeListener.h"

#include <utility>

namespace kr::sqlite {

namespace {

/// More changes than this are no longer told one by one.
constexpr int64_t kMostChanges = 10'000;

} // namespace

ChangeListener::ChangeListener(SessionPtr session) : m_session(std::move(session)) {
    somethingHappened();
    m_seen = m_session->file().NextChange() - 1;
}

/// Others commit through their own connections, or through this one when several sessions share it.
bool ChangeListener::somethingHappened() {
    StoreFile& file = m_session->file();
    const int64_t version = file.DataVersion();
    const uint64_t logged = file.Logged();
    const bool moved = version != m_version || logged != m_logged;
    m_version = version;
    m_logged = logged;
    return moved;
}

StoreChanges ChangeListener::Poll() {
    StoreChanges result;
    if (!somethingHappened())
        return result;
    StoreFile& file = m_session->file();
    const int64_t newest = file.NextChange() - 1;
    const int64_t oldest = file.Number(0, "SELECT min(cn) FROM change");
    const int64_t from = std::exchange(m_seen, newest);
    result.reloadAll = oldest > from + 1 || newest - from > kMostChanges;
    if (result.reloadAll)
        return result;
    struct Row {
        StoreChange::Kind kind;
        int64_t object, folder;
    };
    std::vector<Row> rows;
    {
        Use found = file.Query("SELECT kind,object,folder FROM change WHERE cn>? AND cn<=? AND "
                               "origin<>? ORDER BY cn",
                               from, newest, m_session->number());
        while (found->Step())
            rows.push_back({static_cast<StoreChange::Kind>(found->Integer(0)), found->Integer(1),
                            found->Integer(2)});
    }
    for (const Row& row : rows)
        if (StoreChange change; describe(row.kind, row.object, row.folder, change))
            result.changes.push_back(std::move(change));
    return result;
}

/// False for what has no id: embedded messages, and what lay in a folder that nobody knows anymore.
bool ChangeListener::describe(StoreChange::Kind kind, int64_t object, int64_t folder,
                              StoreChange& change) {
    StoreFile& file = m_session->file();
    StoreRef store = folder == 0 ? nullptr : file.StoreOfFolder(folder);
    if (!store && kind == StoreChange::Folder)
        store = file.StoreOfFolder(object);
    if (!store)
        return false;
    change.kind = kind;
    change.object =
        kind == StoreChange::Folder ? store->FolderID(object) : store->MessageID(object);
    change.folder = store->FolderID(folder);
    return true;
}

} // namespace kr::sqlite
