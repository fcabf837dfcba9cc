#include <algorithm>
#include <vector>

#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

namespace {

/// The row ids of one side of a folder, read once and kept up by the log of changes, so that a walk
/// by index over many items stays a step each.
class IdList {
public:
    IdList(SessionPtr session, int64_t folder, bool associated)
        : m_session(std::move(session)), m_folder(folder),
          m_range(ContentsRange(folder, associated)) {}

    const std::vector<int64_t>& Current() {
        StoreFile& file = m_session->file();
        const int64_t version = file.DataVersion();
        const uint64_t logged = file.Logged();
        if (m_read && version == m_version && logged == m_logged)
            return m_ids;
        m_version = version;
        m_logged = logged;
        if (!m_read || !applyChanges(file))
            readAll(file);
        return m_ids;
    }

private:
    void readAll(StoreFile& file) {
        m_ids.clear();
        m_seen =
            file.NextChange() - 1; // a change made meanwhile is applied twice, which is harmless
        Use rows = file.Query("SELECT id FROM msg WHERE id BETWEEN ? AND ? ORDER BY id",
                              m_range.first, m_range.last);
        while (rows->Step())
            m_ids.push_back(rows->Integer(0));
        m_read = true;
    }

    /// False when the log no longer reaches back far enough, or the folder itself changed.
    bool applyChanges(StoreFile& file) {
        if (file.Number(0, "SELECT min(cn) FROM change") > m_seen + 1)
            return false;
        Use rows =
            file.Query("SELECT cn,kind,object,folder FROM change WHERE cn>? ORDER BY cn", m_seen);
        while (rows->Step()) {
            m_seen = rows->Integer(0);
            const int64_t object = rows->Integer(2);
            if (rows->Integer(1) == StoreChange::Folder && object == m_folder)
                return false;
            if (object >= m_range.first && object <= m_range.last)
                apply(static_cast<StoreChange::Kind>(rows->Integer(1)), object);
        }
        return true;
    }

    void apply(StoreChange::Kind kind, int64_t id) {
        const auto place = std::ranges::lower_bound(m_ids, id);
        const bool known = place != m_ids.end() && *place == id;
        if (kind == StoreChange::New && !known)
            m_ids.insert(place, id);
        else if (kind == StoreChange::Deleted && known)
            m_ids.erase(place);
    }

    SessionPtr m_session;
    int64_t m_folder;
    IdRange m_range;
    std::vector<int64_t> m_ids;
    bool m_read = false;
    int64_t m_version = 0;
    uint64_t m_logged = 0;
    int64_t m_seen = 0;
};

class Items : public RDOItems {
public:
    Items(SessionPtr session, StoreRef store, int64_t folder, bool associated)
        : m_session(session), m_store(std::move(store)), m_folder(folder), m_associated(associated),
          m_ids(std::move(session), folder, associated) {}

    int Count() const override { return static_cast<int>(m_ids.Current().size()); }
    RDOMessagePtr Item(int index) const override {
        const auto& ids = m_ids.Current();
        if (index < 1 || static_cast<size_t>(index) > ids.size())
            Refuse(MAPI_E_NOT_FOUND, "There is no such item.", "RDOItems");
        return OpenMessage(m_session, ids[static_cast<size_t>(index) - 1]);
    }
    RDOMessagePtr Add(std::string_view messageClass) override {
        return NewMessage(m_session, m_store, m_folder, m_associated, messageClass);
    }
    MAPITablePtr Table() const override {
        return OpenTable(m_session, m_store, m_folder, m_associated);
    }

private:
    SessionPtr m_session;
    StoreRef m_store;
    int64_t m_folder;
    bool m_associated;
    mutable IdList m_ids;
};

} // namespace

RDOItemsPtr OpenItems(const SessionPtr& session, const StoreRef& store, int64_t folder,
                      bool associated) {
    return std::make_shared<Items>(session, store, folder, associated);
}

} // namespace kr::sqlite
