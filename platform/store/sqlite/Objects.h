#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/store/Store.h"
#include "platform/store/sqlite/Blob.h"
#include "platform/store/sqlite/Ids.h"
#include "platform/store/sqlite/StoreFile.h"

namespace kr::sqlite {

/// What all objects of one session share.
struct SessionState {
    std::shared_ptr<StoreFile> file;
    uint64_t number = 0; // of this session, in its short-term ids
    int64_t mailbox = 0; // the logged-on mailbox's store
    std::string address;
    /// Cuts table texts, as other backends do; 0: whole values.
    size_t cutTexts = 0;
};
using SessionPtr = std::shared_ptr<SessionState>;

/// Properties as read from a blob, with the changes made since; one value for each property id.
class PropertyBag {
public:
    void Load(std::string_view blob);
    /// nullptr when not set; for a long value kept outside `big` is true.
    struct Stored {
        PropTag tag = 0;
        std::string payload;
        bool big = false;
        uint64_t bigLength = 0;
    };
    const Stored* Find(uint16_t id) const;
    void Set(PropTag tag, const Value& value);
    void Remove(uint16_t id);
    std::vector<PropTag> Tags() const;
    /// Ids changed or removed since the last load.
    const std::set<uint16_t>& Changed() const { return m_changed; }
    void ForgetChanges() { m_changed.clear(); }
    /// Takes over this bag's changes into another one (the row as it is now).
    void ApplyTo(PropertyBag& other) const;
    /// The blob; values over kBigSize go to `big` and are removed from there when they shrank.
    std::string Write(StoreFile& file, int64_t owner);

private:
    std::map<uint16_t, Stored> m_properties;
    std::set<uint16_t> m_changed;
};

/// The properties of an object that lies in a store.
template <class Interface>
class StoredProperties : public Interface {
public:
    StoredProperties(SessionPtr session, int64_t store)
        : m_session(std::move(session)), m_store(store) {}

    PropTag GetIDsFromNames(std::string_view guid, std::string_view name) override;
    std::optional<PropName> NameOf(PropTag tag) const override {
        return m_session->file->NameOfId(m_store, PropId(tag));
    }

protected:
    StoreFile& file() const { return *m_session->file; }
    const StoreRow& storeRow() const;

    SessionPtr m_session;
    int64_t m_store;
};

/// The name behind the text of a key: "0x8051" is that number within the set.
PropName NameOfKey(std::string_view guid, std::string_view name);

RDOMessagePtr OpenMessage(const SessionPtr& session, int64_t id);
RDOMessagePtr NewMessage(const SessionPtr& session, int64_t folder, bool associated,
                         std::string_view messageClass);
/// A copy as a record of its own in that folder (0 for embedded ones); gives its row id.
int64_t CopyMessage(StoreFile& file, int64_t from, int64_t folder);
void DeleteMessage(StoreFile& file, int64_t id);
RDOFolderPtr OpenFolder(const SessionPtr& session, int64_t id);
RDOStorePtr OpenStore(const SessionPtr& session, int64_t id);
MAPITablePtr OpenTable(const SessionPtr& session, int64_t folder, bool associated);
AddressBookPtr OpenAddressBook(const SessionPtr& session);
/// The default folder of that number in a store; 0 when it has none.
int64_t DefaultFolderId(StoreFile& file, int64_t store, int number);
/// A sub-folder; when the name exists, that one.
int64_t AddFolder(StoreFile& file, int64_t store, int64_t parent, std::string_view name,
                  std::string_view containerClass, int number = 0);
/// Row ids of the mailbox inboxes behind an address entry, lists entered once.
void CollectAddresses(const AddressEntryPtr& entry, std::set<std::string>& addresses,
                      std::set<EntryID>& seen);

inline int64_t NowTicks() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100 +
           kFileTimeEpoch * kTicksPerSecond;
}
inline Time TimeOfTicks(int64_t ticks) {
    return Time(std::chrono::seconds(ticks / kTicksPerSecond - kFileTimeEpoch));
}

template <class Interface>
PropTag StoredProperties<Interface>::GetIDsFromNames(std::string_view guid, std::string_view name) {
    return static_cast<PropTag>(file().NamedId(m_store, NameOfKey(guid, name), true)) << 16;
}

template <class Interface>
const StoreRow& StoredProperties<Interface>::storeRow() const {
    const StoreRow* row = file().StoreById(m_store);
    if (!row)
        throw PlatformError(MAPI_E_OBJECT_DELETED, "The store has been deleted.", "MessageStore");
    return *row;
}

} // namespace kr::sqlite
