#include <algorithm>

#include "platform/store/sqlite/Objects.h"
#include "platform/store/sqlite/PropertyBag.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOStore";
constexpr PropTag PR_IPM_SUBTREE_ENTRYID = 0x35E00102;

/// Ids of default folders as properties of their store ([MS-OXOSFLD] 2.2.3).
struct FolderTag {
    uint16_t id;
    DefaultFolder folder;
};
constexpr FolderTag kFolderTags[] = {
    {0x35E1, DefaultFolder::Inbox},        {0x35E2, DefaultFolder::Outbox},
    {0x35E3, DefaultFolder::DeletedItems}, {0x35E4, DefaultFolder::SentMail},
    {0x36D0, DefaultFolder::Calendar},     {0x36D1, DefaultFolder::Contacts},
    {0x36D2, DefaultFolder::Journal},      {0x36D3, DefaultFolder::Notes},
    {0x36D4, DefaultFolder::Tasks},        {0x36D7, DefaultFolder::Drafts}};

/// There is no Save in a store: its properties are written at once.
class Store : public InStore<RDOStore> {
public:
    using InStore::InStore;

    Value Fields(PropTag tag) const override {
        bool known = true;
        const Value value = computed(tag, known);
        if (known)
            return value;
        return PropId(tag) == 0 ? Value() : read().Get(tag);
    }
    void SetFields(PropTag tag, const Value& value) override {
        requireId(tag, kSource);
        bool known = true;
        computed(tag, known);
        if (known)
            Refuse(MAPI_E_COMPUTED, "The store itself computes that property.", kSource);
        file().Write([&] {
            PropertyBag bag = read();
            bag.Set(tag, value);
            file().Run("UPDATE store SET props=? WHERE id=?",
                       Blob{MergeChanges(bag.blob(), bag.Changes(), false)}, m_store->id);
        });
    }
    std::vector<PropTag> PropList() const override {
        std::vector<PropTag> tags = read().Tags();
        tags.insert(tags.end(), {PR_DISPLAY_NAME, PR_ENTRYID});
        if (!m_store->isPublic)
            tags.push_back(PR_MAILBOX_OWNER_NAME);
        std::ranges::sort(tags);
        return tags;
    }

    EntryID ID() const override { return m_store->ID(); }
    std::string Name() const override {
        return m_store->isPublic ? m_store->ownerName : "Mailbox - " + m_store->ownerName;
    }
    RDOFolderPtr RootFolder() const override { return OpenFolder(m_session, m_store->root); }
    RDOFolderPtr IPMRootFolder() const override { return OpenFolder(m_session, m_store->ipmRoot); }
    RDOFolderPtr GetDefaultFolder(int number) const override {
        const int64_t id = DefaultFolderId(file(), m_store->id, number);
        if (id == 0)
            Refuse(MAPI_E_NOT_FOUND, "The store " + Name() + " has no such folder.", kSource);
        return OpenFolder(m_session, id);
    }
    bool CompareEntryIDs(const EntryID& a, const EntryID& b) const override;

private:
    PropertyBag read() const {
        PropertyBag bag;
        Use row = file().Query("SELECT props FROM store WHERE id=?", m_store->id);
        if (row->Step())
            bag.Load(std::string(row->Text(0)));
        return bag;
    }
    Value computed(PropTag tag, bool& known) const;
    Value folderId(int64_t folder) const {
        return folder == 0 ? Value()
                           : BinaryOf(FolderIdBytes(m_store->guid, m_store->isPublic, folder));
    }
};

Value Store::computed(PropTag tag, bool& known) const {
    switch (PropId(tag)) {
    case PropId(PR_DISPLAY_NAME):
        return Name();
    case PropId(PR_MAILBOX_OWNER_NAME):
        return m_store->isPublic ? Value() : Value(m_store->ownerName);
    case PropId(PR_ENTRYID):
    case PropId(PR_STORE_ENTRYID):
        return BinaryOf(StoreIdBytes(m_store->guid, m_store->isPublic));
    case PropId(PR_IPM_SUBTREE_ENTRYID):
        return folderId(m_store->ipmRoot);
    default:
        break;
    }
    const auto folder = std::ranges::find(kFolderTags, PropId(tag), &FolderTag::id);
    known = folder != std::end(kFolderTags);
    return known ? folderId(DefaultFolderId(file(), m_store->id, static_cast<int>(folder->folder)))
                 : Value();
}

/// The bytes of an id of whatever provider; an error says that the text names nothing at all, on
/// which a caller does not act.
std::string requireEntryId(const EntryID& id) {
    constexpr size_t fewest = 20; // flags and the provider's UID
    const auto bytes = UnHex(id.text());
    if (!bytes || bytes->size() < fewest)
        Refuse(MAPI_E_INVALID_ENTRYID, "\"" + id.text() + "\" is no entry id.", kSource);
    return *bytes;
}

bool Store::CompareEntryIDs(const EntryID& a, const EntryID& b) const {
    const std::string rawA = requireEntryId(a), rawB = requireEntryId(b);
    const auto x = m_session->Read(a), y = m_session->Read(b);
    if (x && y)
        return *x == *y;
    // ids of other providers have one form only; of a short-term id of another session nothing is
    // known
    return rawA == rawB;
}

} // namespace

RDOStorePtr OpenStore(const SessionPtr& session, const StoreRef& store) {
    session->file(); // throws after Logoff
    return std::make_shared<Store>(session, store);
}

} // namespace kr::sqlite
