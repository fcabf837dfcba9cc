#include <algorithm>

#include "core/Text.h"
#include "platform/store/sqlite/MessageRows.h"
#include "platform/store/sqlite/PropertyBag.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOFolder";
constexpr PropTag PR_CONTENT_COUNT = 0x36020003;
constexpr PropTag PR_SUBFOLDERS = 0x360A000B;

class Folders : public RDOFolders {
public:
    Folders(SessionPtr session, StoreRef store, int64_t parent)
        : m_session(std::move(session)), m_store(std::move(store)), m_parent(parent) {}

    int Count() const override {
        return static_cast<int>(
            file().Number(0, "SELECT count(*) FROM folder WHERE parent=?", m_parent));
    }
    /// In the order of their names.
    RDOFolderPtr Item(int index) const override {
        const int64_t id =
            index < 1 ? 0
                      : file().Number(0,
                                      "SELECT id FROM folder WHERE parent=? ORDER BY name_key "
                                      "LIMIT 1 OFFSET ?",
                                      m_parent, index - 1);
        if (id == 0)
            Refuse(MAPI_E_NOT_FOUND, "There is no such folder.", "RDOFolders");
        return OpenFolder(m_session, id);
    }
    RDOFolderPtr Item(std::string_view name) const override {
        const int64_t id = file().Number(0, "SELECT id FROM folder WHERE parent=? AND name_key=?",
                                         m_parent, Fold(name));
        return id == 0 ? nullptr : OpenFolder(m_session, id);
    }
    RDOFolderPtr Add(std::string_view name, std::string_view containerClass) override {
        if (name.empty())
            Refuse(MAPI_E_INVALID_PARAMETER, "A folder needs a name.", "RDOFolders");
        int64_t id = 0;
        file().Write([&] {
            id =
                AddFolder(file(), m_session->number(), m_store->id, m_parent, name, containerClass);
        });
        return OpenFolder(m_session, id);
    }

private:
    StoreFile& file() const { return m_session->file(); }
    SessionPtr m_session;
    StoreRef m_store;
    int64_t m_parent;
};

class Folder : public InStore<RDOFolder> {
public:
    Folder(SessionPtr session, StoreRef store, int64_t id)
        : InStore(std::move(session), std::move(store)), m_id(id) {
        if (!read())
            Refuse(MAPI_E_NOT_FOUND, "The folder could not be found.", kSource);
    }

    Value Fields(PropTag tag) const override {
        bool known = true;
        const Value value = computed(tag, known);
        if (!known)
            return PropId(tag) == 0 ? Value() : m_bag.Get(tag);
        return value;
    }
    void SetFields(PropTag tag, const Value& value) override;
    std::vector<PropTag> PropList() const override;

    std::string Name() const override { return m_name; }
    void SetName(std::string_view name) override;
    EntryID ID() const override { return m_store->FolderID(m_id); }
    EntryID StoreID() const override { return m_store->ID(); }
    std::string DefaultItemClass() const override { return m_class; }
    RDOItemsPtr Items() const override { return OpenItems(m_session, m_store, m_id, false); }
    RDOItemsPtr HiddenItems() const override { return OpenItems(m_session, m_store, m_id, true); }
    RDOFoldersPtr Folders() const override {
        return std::make_shared<sqlite::Folders>(m_session, m_store, m_id);
    }
    RDOFolderPtr Parent() const override {
        return m_parent == 0 ? nullptr : OpenFolder(m_session, m_parent);
    }
    RDOStorePtr Store() const override { return OpenStore(m_session, m_store); }
    void Save() override;
    void Delete() override;

private:
    bool read();
    Value computed(PropTag tag, bool& known) const;
    void setClass(const std::string& containerClass);
    void remove(int64_t folder, int64_t parent);
    template <class... Values>
    void update(const char* sql, const Values&... values);

    int64_t m_id;
    int64_t m_parent = 0;
    int64_t m_number = 0;
    std::string m_name;
    std::string m_class;
    PropertyBag m_bag;
};

bool Folder::read() {
    Use row = file().Query("SELECT parent,number,name,class,props FROM folder WHERE id=?", m_id);
    if (!row->Step())
        return false;
    m_parent = row->Integer(0);
    m_number = row->Integer(1);
    m_name = row->Text(2);
    m_class = row->Text(3);
    m_bag.Load(std::string(row->Text(4)));
    return true;
}

Value Folder::computed(PropTag tag, bool& known) const {
    switch (PropId(tag)) {
    case PropId(PR_DISPLAY_NAME):
        return m_name;
    case PropId(PR_CONTAINER_CLASS):
        return m_class.empty() ? Value() : Value(m_class);
    case PropId(PR_ENTRYID):
        return BinaryOf(FolderIdBytes(m_store->guid, m_store->isPublic, m_id));
    case PropId(PR_PARENT_ENTRYID):
        return m_parent == 0 ? Value()
                             : BinaryOf(FolderIdBytes(m_store->guid, m_store->isPublic, m_parent));
    case PropId(PR_STORE_ENTRYID):
        return BinaryOf(StoreIdBytes(m_store->guid, m_store->isPublic));
    case PropId(PR_CONTENT_COUNT):
        return static_cast<int32_t>(Items()->Count());
    case PropId(PR_SUBFOLDERS):
        return file().Number(0, "SELECT 1 FROM folder WHERE parent=? LIMIT 1", m_id) != 0;
    default:
        known = false;
        return {};
    }
}

void Folder::SetFields(PropTag tag, const Value& value) {
    requireId(tag, kSource);
    if (PropId(tag) == PropId(PR_DISPLAY_NAME))
        return SetName(value.text());
    if (PropId(tag) == PropId(PR_CONTAINER_CLASS))
        return setClass(value.text());
    bool known = true;
    computed(tag, known);
    if (known)
        Refuse(MAPI_E_COMPUTED, "The store itself computes that property.", kSource);
    m_bag.Set(tag, value);
}

std::vector<PropTag> Folder::PropList() const {
    std::vector<PropTag> tags = m_bag.Tags();
    tags.insert(tags.end(), {PR_DISPLAY_NAME, PR_ENTRYID});
    if (!m_class.empty())
        tags.push_back(PR_CONTAINER_CLASS);
    std::ranges::sort(tags);
    return tags;
}

/// Runs a change of the folder's row that is written at once.
template <class... Values>
void Folder::update(const char* sql, const Values&... values) {
    file().Write([&] {
        const int64_t cn = m_session->LogChange(StoreChange::Folder, m_id, m_parent);
        file().Run(sql, values..., cn, m_id);
        if (sqlite3_changes(file().db()) == 0)
            Refuse(MAPI_E_OBJECT_DELETED, "The folder has been deleted.", kSource);
    });
}

void Folder::SetName(std::string_view name) {
    if (name.empty())
        Refuse(MAPI_E_INVALID_PARAMETER, "A folder needs a name.", kSource);
    if (m_parent == 0)
        Refuse(MAPI_E_NO_ACCESS, "A root folder can't be renamed.", kSource);
    const std::string key = Fold(name);
    file().Write([&] {
        if (file().Number(0, "SELECT 1 FROM folder WHERE parent=? AND name_key=? AND id<>?",
                          m_parent, key, m_id) != 0)
            Refuse(MAPI_E_COLLISION, "There is a folder named " + std::string(name) + " already.",
                   kSource);
        update("UPDATE folder SET name=?,name_key=?,cn=? WHERE id=?", name, key);
    });
    m_name = name;
}

void Folder::setClass(const std::string& containerClass) {
    update("UPDATE folder SET class=?,cn=? WHERE id=?", containerClass);
    m_class = containerClass;
}

/// Long values stay in the row: nothing scans folders.
void Folder::Save() {
    std::string merged;
    file().Write([&] {
        {
            Use row = file().Query("SELECT props FROM folder WHERE id=?", m_id);
            if (!row->Step())
                Refuse(MAPI_E_OBJECT_DELETED, "The folder has been deleted.", kSource);
            merged = MergeChanges(row->Text(0), m_bag.Changes(), false);
        }
        if (!m_bag.Changes().empty())
            update("UPDATE folder SET props=?,cn=? WHERE id=?", Blob{merged});
    });
    m_bag.Load(std::move(merged));
}

void Folder::Delete() {
    if (m_id == m_store->root || m_id == m_store->ipmRoot || m_number != 0)
        Refuse(MAPI_E_NO_ACCESS,
               "The folder " + m_name +
                   " belongs to its store and can't be "
                   "deleted.",
               kSource);
    file().Write([&] {
        if (file().Number(0, "SELECT 1 FROM folder WHERE id=?", m_id) == 0)
            Refuse(MAPI_E_OBJECT_DELETED, "The folder has been deleted.", kSource);
        remove(m_id, m_parent);
    });
}

void Folder::remove(int64_t folder, int64_t parent) {
    const auto ids = [&](const char* sql, auto... values) {
        std::vector<int64_t> found;
        Use rows = file().Query(sql, values...);
        while (rows->Step())
            found.push_back(rows->Integer(0));
        return found;
    };
    for (const int64_t child : ids("SELECT id FROM folder WHERE parent=?", folder))
        remove(child, folder);
    for (const int64_t message :
         ids("SELECT id FROM msg WHERE id BETWEEN ? AND ?", ContentsRange(folder, false).first,
             ContentsRange(folder, true).last))
        DeleteMessage(*m_session, *m_store, message);
    file().Run("DELETE FROM folder WHERE id=?", folder);
    m_session->LogChange(StoreChange::Folder, folder, parent);
}

} // namespace

RDOFolderPtr OpenFolder(const SessionPtr& session, int64_t id) {
    const StoreRef store = session->file().StoreOfFolder(id);
    if (!store)
        Refuse(MAPI_E_NOT_FOUND, "The folder could not be found.", kSource);
    return std::make_shared<Folder>(session, store, id);
}

} // namespace kr::sqlite
