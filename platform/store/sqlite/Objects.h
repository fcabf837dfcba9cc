#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/store/Store.h"
#include "platform/store/sqlite/StoreFile.h"

namespace kr::sqlite {

[[noreturn]] inline void Refuse(long number, const std::string& words, const char* source) {
    throw PlatformError(number, words, source);
}

/// What all objects of one session share. Logoff takes the file away, and every object of the
/// session fails from then on.
class SessionState {
public:
    SessionState(std::shared_ptr<StoreFile> file, StoreRef mailbox);

    StoreFile& file() const {
        if (!m_file)
            Refuse(MAPI_E_CALL_FAILED, "The session has been logged off.", "RDOSession");
        return *m_file;
    }
    const StoreRef& mailbox() const { return m_mailbox; }
    /// In the log of changes, and in short-term ids.
    int64_t number() const { return m_number; }
    void Close() { m_file.reset(); }

    int64_t LogChange(StoreChange::Kind kind, int64_t object, int64_t folder) {
        return file().LogChange(m_number, kind, object, folder);
    }
    /// Nothing for what is no id, or is a short-term id of another session.
    std::optional<ObjectId> Read(const EntryID& id) const;

    /// Table texts are cut at so many characters, as other backends do; 0: whole values.
    size_t cutTexts = 0;

private:
    std::shared_ptr<StoreFile> m_file;
    StoreRef m_mailbox;
    int64_t m_number;
};
using SessionPtr = std::shared_ptr<SessionState>;

/// The part of an object with properties that its store answers.
template <class Interface>
class InStore : public Interface {
public:
    InStore(SessionPtr session, StoreRef store)
        : m_session(std::move(session)), m_store(std::move(store)) {}

    PropTag GetIDsFromNames(std::string_view guid, std::string_view name) override {
        return static_cast<PropTag>(file().names().Id(m_store->id, NameOfKey(guid, name), true))
               << 16;
    }
    std::optional<PropName> NameOf(PropTag tag) const override {
        return file().names().NameOf(m_store->id, PropId(tag));
    }

protected:
    StoreFile& file() const { return m_session->file(); }
    static void requireId(PropTag tag, const char* source) {
        if (PropId(tag) == 0)
            Refuse(MAPI_E_INVALID_PARAMETER, "The property has no id in this store.", source);
    }

    SessionPtr m_session;
    StoreRef m_store;
};

/// Throws MAPI_E_NOT_FOUND when there is no such row.
RDOMessagePtr OpenMessage(const SessionPtr& session, int64_t id);
/// An embedded message, whose named properties are those of the message around it.
RDOMessagePtr OpenEmbedded(const SessionPtr& session, const StoreRef& store, int64_t id);
RDOMessagePtr NewMessage(const SessionPtr& session, const StoreRef& store, int64_t folder,
                         bool associated, std::string_view messageClass);
RDOFolderPtr OpenFolder(const SessionPtr& session, int64_t id);
RDOItemsPtr OpenItems(const SessionPtr& session, const StoreRef& store, int64_t folder,
                      bool associated);
RDOStorePtr OpenStore(const SessionPtr& session, const StoreRef& store);
MAPITablePtr OpenTable(const SessionPtr& session, const StoreRef& store, int64_t folder,
                       bool associated);
AddressBookPtr OpenAddressBook(const SessionPtr& session);

} // namespace kr::sqlite
