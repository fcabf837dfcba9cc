#include "core/Text.h"
#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

namespace {

int64_t countRows(StoreFile& file, const IdRange& range) {
    Use row(file.Sql("SELECT count(*) FROM msg WHERE id BETWEEN ? AND ?"));
    row->Bind(1, range.first).Bind(2, range.last);
    row->Step();
    return row->Integer(0);
}

class Items : public RDOItems {
public:
    Items(SessionPtr session, int64_t folder, bool associated)
        : m_session(std::move(session)), m_folder(folder), m_associated(associated),
          m_range(ContentsRange(folder, associated)) {}

    int Count() const override { return static_cast<int>(countRows(*m_session->file, m_range)); }

    /// Walking by index is one step each: the place of the last one is kept.
    RDOMessagePtr Item(int index) const override {
        const bool next = index == m_lastIndex + 1 && m_lastIndex > 0;
        int64_t id = 0;
        {
            Use row(m_session->file->Sql(
                "SELECT id FROM msg WHERE id>? AND id<=? ORDER BY id LIMIT 1 OFFSET ?"));
            row->Bind(1, next ? m_lastId : m_range.first)
                .Bind(2, m_range.last)
                .Bind(3, next || index < 1 ? 0 : index - 1);
            if (index < 1 || !row->Step())
                throw PlatformError(MAPI_E_NOT_FOUND, "There is no such item.", "RDOItems");
            id = row->Integer(0);
        }
        m_lastIndex = index;
        m_lastId = id;
        return OpenMessage(m_session, id);
    }
    RDOMessagePtr Add(std::string_view messageClass) override {
        return NewMessage(m_session, m_folder, m_associated, messageClass);
    }
    MAPITablePtr Table() const override { return OpenTable(m_session, m_folder, m_associated); }

private:
    SessionPtr m_session;
    int64_t m_folder;
    bool m_associated;
    IdRange m_range;
    mutable int m_lastIndex = 0;
    mutable int64_t m_lastId = 0;
};

class Folders : public RDOFolders {
public:
    Folders(SessionPtr session, int64_t store, int64_t parent)
        : m_session(std::move(session)), m_store(store), m_parent(parent) {}

    int Count() const override {
        Use row(m_session->file->Sql("SELECT count(*) FROM folder WHERE parent=?"));
        row->Bind(1, m_parent);
        row->Step();
        return static_cast<int>(row->Integer(0));
    }
    RDOFolderPtr Item(int index) const override {
        const int64_t id =
            find("SELECT id FROM folder WHERE parent=? ORDER BY name_key LIMIT 1 OFFSET ?",
                 [&](Statement& s) { s.Bind(2, index < 1 ? -1 : index - 1); });
        if (index < 1 || id == 0)
            throw PlatformError(MAPI_E_NOT_FOUND, "There is no such folder.", "RDOFolders");
        return OpenFolder(m_session, id);
    }
    RDOFolderPtr Item(std::string_view name) const override {
        const int64_t id = find("SELECT id FROM folder WHERE parent=? AND name_key=?",
                                [&](Statement& s) { s.Bind(2, Fold(name)); });
        return id == 0 ? nullptr : OpenFolder(m_session, id);
    }
    RDOFolderPtr Add(std::string_view name, std::string_view containerClass) override {
        if (name.empty())
            throw PlatformError(MAPI_E_CALL_FAILED, "A folder needs a name.", "RDOFolders");
        int64_t id = 0;
        m_session->file->Write(
            [&] { id = AddFolder(*m_session->file, m_store, m_parent, name, containerClass); });
        return OpenFolder(m_session, id);
    }

private:
    template <class Bind>
    int64_t find(const char* sql, Bind bind) const {
        Use row(m_session->file->Sql(sql));
        row->Bind(1, m_parent);
        bind(*row);
        return row->Step() ? row->Integer(0) : 0;
    }

    SessionPtr m_session;
    int64_t m_store;
    int64_t m_parent;
};

class Folder : public StoredProperties<RDOFolder> {
public:
    Folder(SessionPtr session, int64_t id) : StoredProperties(std::move(session), 0), m_id(id) {
        Use row(file().Sql("SELECT store,parent,name,class,props FROM folder WHERE id=?"));
        row->Bind(1, id);
        if (!row->Step())
            throw PlatformError(MAPI_E_NOT_FOUND, "The folder could not be found.", "RDOFolder");
        m_store = row->Integer(0);
        m_parent = row->Integer(1);
        m_name = row->Text(2);
        m_class = row->Text(3);
        m_bag.Load(row->Text(4));
    }

    Value Fields(PropTag tag) const override {
        switch (PropId(tag)) {
        case PropId(PR_DISPLAY_NAME):
            return m_name;
        case PropId(PR_CONTAINER_CLASS):
            return m_class.empty() ? Value() : Value(m_class);
        default: {
            const auto* stored = m_bag.Find(PropId(tag));
            return stored ? DecodePayload(TypeOf(stored->tag), stored->payload) : Value();
        }
        }
    }
    void SetFields(PropTag tag, const Value& value) override {
        if (PropId(tag) == 0)
            throw PlatformError(MAPI_E_NOT_FOUND, "The property has no id in this store.",
                                "RDOFolder");
        if (PropId(tag) == PropId(PR_DISPLAY_NAME))
            return SetName(value.text());
        if (PropId(tag) == PropId(PR_CONTAINER_CLASS)) {
            m_class = value.text();
            return Save();
        }
        m_bag.Set(tag, value);
    }
    std::vector<PropTag> PropList() const override {
        std::vector<PropTag> tags = m_bag.Tags();
        tags.push_back(PR_DISPLAY_NAME);
        if (!m_class.empty())
            tags.push_back(PR_CONTAINER_CLASS);
        std::ranges::sort(tags);
        return tags;
    }

    std::string Name() const override { return m_name; }
    void SetName(std::string_view name) override {
        file().Write([&] {
            Use clash(file().Sql("SELECT 1 FROM folder WHERE parent=? AND name_key=? AND id<>?"));
            clash->Bind(1, m_parent).Bind(2, Fold(name)).Bind(3, m_id);
            if (clash->Step())
                throw PlatformError(MAPI_E_COLLISION,
                                    "A folder named " + std::string(name) + " exists already.",
                                    "RDOFolder");
            m_name = name;
            Save();
        });
    }
    EntryID ID() const override { return FolderId(storeRow().guid, storeRow().isPublic, m_id); }
    EntryID StoreID() const override { return StoreId(storeRow().guid, storeRow().isPublic); }
    std::string DefaultItemClass() const override { return m_class; }
    RDOItemsPtr Items() const override {
        return std::make_shared<sqlite::Items>(m_session, m_id, false);
    }
    RDOItemsPtr HiddenItems() const override {
        return std::make_shared<sqlite::Items>(m_session, m_id, true);
    }
    RDOFoldersPtr Folders() const override {
        return std::make_shared<sqlite::Folders>(m_session, m_store, m_id);
    }
    RDOFolderPtr Parent() const override {
        return m_parent == 0 ? nullptr : OpenFolder(m_session, m_parent);
    }
    RDOStorePtr Store() const override { return OpenStore(m_session, m_store); }

    void Save() override {
        file().Write([&] {
            PropertyBag now;
            {
                Use row(file().Sql("SELECT props FROM folder WHERE id=?"));
                row->Bind(1, m_id);
                if (!row->Step())
                    throw PlatformError(MAPI_E_OBJECT_DELETED, "The folder has been deleted.",
                                        "RDOFolder");
                now.Load(row->Text(0));
            }
            m_bag.ApplyTo(now);
            const int64_t cn = file().LogChange(StoreChange::Folder, m_id, m_parent);
            // a folder's long values stay in its row: nothing scans folders
            std::vector<RawProperty> raw;
            for (const PropTag tag : now.Tags())
                raw.push_back({tag, now.Find(PropId(tag))->payload, false, 0});
            file()
                .Sql("UPDATE folder SET name=?,name_key=?,class=?,cn=?,props=? WHERE id=?")
                .Bind(1, m_name)
                .Bind(2, Fold(m_name))
                .Bind(3, m_class)
                .Bind(4, cn)
                .BindBlob(5, WriteBlob(raw))
                .Bind(6, m_id)
                .Run();
            m_bag = std::move(now);
        });
        m_bag.ForgetChanges();
    }

    void Delete() override {
        file().Write([&] { remove(m_id, m_parent); });
    }

private:
    void remove(int64_t folder, int64_t parent) {
        std::vector<int64_t> children, messages;
        {
            Use rows(file().Sql("SELECT id FROM folder WHERE parent=?"));
            rows->Bind(1, folder);
            while (rows->Step())
                children.push_back(rows->Integer(0));
        }
        for (const int64_t child : children)
            remove(child, folder);
        {
            Use rows(file().Sql("SELECT id FROM msg WHERE id BETWEEN ? AND ?"));
            rows->Bind(1, ContentsRange(folder, false).first)
                .Bind(2, ContentsRange(folder, true).last);
            while (rows->Step())
                messages.push_back(rows->Integer(0));
        }
        for (const int64_t message : messages)
            DeleteMessage(file(), message);
        file().Sql("DELETE FROM folder WHERE id=?").Bind(1, folder).Run();
        file().LogChange(StoreChange::Folder, folder, parent);
    }

    int64_t m_id;
    int64_t m_parent = 0;
    std::string m_name;
    std::string m_class;
    PropertyBag m_bag;
};

class Store : public StoredProperties<RDOStore> {
public:
    Store(SessionPtr session, int64_t id) : StoredProperties(std::move(session), id) { storeRow(); }
    Value Fields(PropTag tag) const override {
        if (PropId(tag) == PropId(PR_DISPLAY_NAME))
            return Name();
        if (PropId(tag) == PropId(PR_MAILBOX_OWNER_NAME) && !storeRow().isPublic)
            return storeRow().ownerName;
        return {};
    }
    void SetFields(PropTag, const Value&) override {
        throw PlatformError(MAPI_E_NO_ACCESS, "A store's properties can't be written.", "RDOStore");
    }
    std::vector<PropTag> PropList() const override { return {PR_DISPLAY_NAME}; }
    EntryID ID() const override { return StoreId(storeRow().guid, storeRow().isPublic); }
    std::string Name() const override {
        return storeRow().isPublic ? storeRow().ownerName : "Mailbox - " + storeRow().ownerName;
    }
    RDOFolderPtr RootFolder() const override { return OpenFolder(m_session, storeRow().root); }
    RDOFolderPtr IPMRootFolder() const override {
        return OpenFolder(m_session, storeRow().ipmRoot);
    }
    RDOFolderPtr GetDefaultFolder(int number) const override {
        const int64_t id = DefaultFolderId(file(), m_store, number);
        if (id == 0)
            throw PlatformError(MAPI_E_NOT_FOUND, "The store has no such folder.", "RDOStore");
        return OpenFolder(m_session, id);
    }
    bool CompareEntryIDs(const EntryID& a, const EntryID& b) const override {
        const auto x = ReadId(a, m_session->number);
        const auto y = ReadId(b, m_session->number);
        if (!x || !y) {
            if (ReadAddressId(a) && ReadAddressId(b))
                return a == b;
            throw PlatformError(MAPI_E_INVALID_ENTRYID, "MAPI_E_INVALID_ENTRYID: no entry id",
                                "RDOStore");
        }
        if (x->kind != y->kind || x->object != y->object)
            return false;
        return x->guid.empty() || y->guid.empty() || x->guid == y->guid;
    }
};

} // namespace

RDOFolderPtr OpenFolder(const SessionPtr& session, int64_t id) {
    return std::make_shared<Folder>(session, id);
}

RDOStorePtr OpenStore(const SessionPtr& session, int64_t id) {
    return std::make_shared<Store>(session, id);
}

int64_t DefaultFolderId(StoreFile& file, int64_t store, int number) {
    Use row(file.Sql("SELECT id FROM folder WHERE store=? AND number=?"));
    row->Bind(1, store).Bind(2, number);
    return row->Step() ? row->Integer(0) : 0;
}

int64_t AddFolder(StoreFile& file, int64_t store, int64_t parent, std::string_view name,
                  std::string_view containerClass, int number) {
    {
        Use row(file.Sql("SELECT id FROM folder WHERE parent=? AND name_key=?"));
        row->Bind(1, parent).Bind(2, Fold(name));
        if (parent != 0 && row->Step())
            return row->Integer(0);
    }
    const int64_t cn = file.LogChange(StoreChange::Folder, 0, parent);
    file.Sql("INSERT INTO folder(store,parent,name,name_key,class,number,cn) VALUES(?,?,?,?,?,?,?)")
        .Bind(1, store)
        .Bind(2, parent)
        .Bind(3, name)
        // roots have no siblings to be told from
        .Bind(4, parent == 0 ? "\x01" + std::to_string(cn) : Fold(name))
        .Bind(5, containerClass)
        .Bind(6, number)
        .Bind(7, cn)
        .Run();
    const int64_t id = sqlite3_last_insert_rowid(file.db());
    file.Sql("UPDATE change SET object=? WHERE cn=?").Bind(1, id).Bind(2, cn).Run();
    return id;
}

} // namespace kr::sqlite
