#include <algorithm>
#include <tuple>

#include "core/Text.h"
#include "platform/store/sqlite/AddressEntries.h"
#include "platform/store/sqlite/Index.h"
#include "platform/store/sqlite/Message.h"

/// What changes a message's row: saving, deleting, moving, sending.
namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOMessage";

// Properties of a sent message ([MS-OXOMSG] 2.2.1).
constexpr PropTag PR_CLIENT_SUBMIT_TIME = 0x00390040;
constexpr PropTag PR_MESSAGE_DELIVERY_TIME = 0x0E060040;
constexpr PropTag PR_SENDER_NAME = 0x0C1A001E;
constexpr PropTag PR_SENDER_ADDRTYPE = 0x0C1E001E;
constexpr PropTag PR_SENDER_EMAIL_ADDRESS = 0x0C1F001E;
constexpr PropTag PR_SENT_REPRESENTING_NAME = 0x0042001E;
constexpr PropTag PR_SENT_REPRESENTING_ADDRTYPE = 0x0064001E;
constexpr PropTag PR_SENT_REPRESENTING_EMAIL_ADDRESS = 0x0065001E;

[[noreturn]] void deleted() {
    Refuse(MAPI_E_OBJECT_DELETED, "The message has been deleted.", kSource);
}

} // namespace

void Message::Save() {
    if (m_id != 0 && !HasChanges()) {
        if (file().Number(0, "SELECT 1 FROM msg WHERE id=?", m_id) == 0)
            deleted();
        return;
    }
    MessageRow row;
    file().Write([&] { row = m_id == 0 ? insert() : update(); });
    saved(std::move(row));
}

void Message::saved(MessageRow row) {
    take(std::move(row));
    if (m_recipients)
        m_recipients->Saved();
    if (m_attachments)
        m_attachments->Saved(m_id);
}

MessageRow Message::insert() {
    if (m_folder != 0 && file().Number(0, "SELECT 1 FROM folder WHERE id=?", m_folder) == 0)
        Refuse(MAPI_E_OBJECT_DELETED, "The folder of the message has been deleted.", kSource);
    MessageRow row;
    row.id = MessageRowId(m_folder, m_associated, file().NextChange());
    row.flags = m_newFlags.value_or(m_flags);
    row.messageClass = m_class;
    row.subject = m_subject;
    row.created = row.modified = NowTicks();
    row.body = MergeChanges(kEmptyBlob, m_bag.Changes(), true);
    const int64_t cn = m_session->LogChange(StoreChange::New, row.id, m_folder);
    writeParts(row);
    file().Run(
        "INSERT INTO msg(id,cn,flags,class,ctime,mtime,subject,body) VALUES(?,?,?,?,?,?,?,?)",
        row.id, cn, row.flags, file().ClassId(row.messageClass), row.created, row.modified,
        row.subject, Blob{row.body});
    if (m_subject || touchesIndex())
        UpdateIndex(file(), row.id, {}, IndexEntriesOf(file(), m_store->id, row.id));
    return row;
}

/// The row is read again and only what this object changed goes into it, so that what another
/// program changed meanwhile isn't lost.
MessageRow Message::update() {
    auto now = ReadMessage(file(), m_id);
    if (!now)
        deleted();
    MessageRow& row = *now;
    RequireBlob(row.body);
    const bool indexed = touchesIndex();
    const auto before =
        indexed ? IndexEntriesOf(file(), m_store->id, m_id) : std::vector<IndexEntry>();
    if (m_newFlags)
        row.flags = (row.flags & ~kMessageFlags) | (*m_newFlags & kMessageFlags);
    if (m_classChanged)
        row.messageClass = m_class;
    if (m_subjectChanged)
        row.subject = m_subject;
    row.modified = NowTicks();
    writeParts(row);
    row.body = MergeChanges(row.body, m_bag.Changes(), true);
    row.flags =
        HasLongValues(row.body) ? row.flags | kFlagLongValues : row.flags & ~kFlagLongValues;
    const int64_t cn = m_session->LogChange(StoreChange::Changed, m_id, m_folder);
    file().Run("UPDATE msg SET cn=?,flags=?,class=?,mtime=?,subject=?,body=? WHERE id=?", cn,
               row.flags, file().ClassId(row.messageClass), row.modified, row.subject,
               Blob{row.body}, m_id);
    if (indexed)
        UpdateIndex(file(), m_id, before, IndexEntriesOf(file(), m_store->id, m_id));
    return std::move(*now);
}

/// Long values, recipients and attachments; `row.body` is still the blob of before.
void Message::writeParts(MessageRow& row) {
    const bool isNew = m_id == 0;
    WriteLongValues(file(), row.id, isNew ? kEmptyBlob : std::string_view(row.body),
                    m_bag.Changes());
    for (const PropertyChange& change : m_bag.Changes()) {
        row.longValues.erase(PropId(change.tag));
        if (!change.removed && change.payload.size() > kLongSize) {
            row.longValues[PropId(change.tag)] = change.payload;
            row.flags |= kFlagLongValues;
        }
    }
    if (m_recipients)
        m_recipients->Write(row.id);
    if (m_attachments)
        row.flags =
            m_attachments->Write(row.id) ? row.flags | kFlagHasAttach : row.flags & ~kFlagHasAttach;
}

bool Message::touchesIndex() const {
    return m_subjectChanged ||
           std::ranges::any_of(m_bag.Changes(), [&](const PropertyChange& change) {
               return file().names().IsIndexed(m_store->id, PropId(change.tag));
           });
}

void Message::Delete() {
    if (m_id == 0)
        return;
    if (m_folder == 0)
        Refuse(MAPI_E_NO_SUPPORT, "An attached message goes with its attachment.", kSource);
    bool found = false;
    file().Write([&] { found = DeleteMessage(*m_session, *m_store, m_id); });
    if (!found)
        deleted();
}

void Message::MoveTo(const RDOFolder& target) {
    if (m_id == 0 || m_folder == 0)
        Refuse(MAPI_E_NO_SUPPORT, "A message that is new or attached can't be moved.", kSource);
    const auto where = m_session->Read(target.ID());
    if (!where || where->kind != ObjectId::Folder)
        Refuse(MAPI_E_INVALID_ENTRYID, "A message can be moved to a folder only.", kSource);
    if (where->object == m_folder)
        return;
    MessageRow row;
    const auto before = std::tuple(m_id, m_folder, m_store);
    try {
        file().Write([&] {
            const StoreRef store = file().StoreOfFolder(where->object);
            if (!store || file().Number(0, "SELECT 1 FROM folder WHERE id=?", where->object) == 0)
                Refuse(MAPI_E_NOT_FOUND, "The folder could not be found.", kSource);
            moveTo(where->object, store);
            row = *ReadMessage(file(), m_id);
        });
    } catch (...) {
        std::tie(m_id, m_folder, m_store) = before;
        throw;
    }
    m_recipients.reset();
    m_attachments.reset();
    take(std::move(row));
}

/// Within a transaction.
void Message::moveTo(int64_t folder, StoreRef store) {
    const int64_t copy = CopyMessage(*m_session, m_id, *m_store, folder, *store);
    DeleteMessage(*m_session, *m_store, m_id);
    m_id = copy;
    m_folder = folder;
    m_store = std::move(store);
}

void Message::Send() {
    if (m_associated || m_folder == 0)
        Refuse(MAPI_E_NO_SUPPORT, "A hidden or attached message can't be sent.", kSource);
    if (recipients()->Count() == 0)
        Refuse(MAPI_E_NO_RECIPIENTS, "The message has no recipients.", kSource);
    std::set<std::string> addresses;
    std::set<EntryID> seen;
    for (int i = 1; i <= m_recipients->Count(); ++i)
        CollectAddresses(m_recipients->Item(i)->Entry(), addresses, seen);
    addSendProperties();
    MessageRow row;
    const auto before = std::tuple(m_id, m_folder, m_store);
    try {
        file().Write([&] {
            m_id = (m_id == 0 ? insert() : update()).id;
            for (const std::string& address : addresses)
                deliver(address);
            moveToSentItems();
            row = *ReadMessage(file(), m_id);
        });
    } catch (...) {
        std::tie(m_id, m_folder, m_store) = before;
        throw;
    }
    m_recipients.reset();
    m_attachments.reset();
    take(std::move(row));
}

void Message::addSendProperties() {
    const auto sender = m_session->mailbox();
    const Time now = TimeOfTicks(NowTicks());
    const std::pair<PropTag, Value> properties[] = {
        {PR_CLIENT_SUBMIT_TIME, now},
        {PR_MESSAGE_DELIVERY_TIME, now},
        {PR_SENDER_NAME, sender->ownerName},
        {PR_SENDER_ADDRTYPE, "SMTP"},
        {PR_SENDER_EMAIL_ADDRESS, sender->address},
        {PR_SENT_REPRESENTING_NAME, sender->ownerName},
        {PR_SENT_REPRESENTING_ADDRTYPE, "SMTP"},
        {PR_SENT_REPRESENTING_EMAIL_ADDRESS, sender->address},
        {PR_CONVERSATION_TOPIC, NormalizedSubject(Subject())}};
    for (const auto& [tag, value] : properties)
        m_bag.Set(tag, value);
    m_newFlags = (m_flags & ~kFlagUnsent) | kFlagFromMe | kFlagRead;
}

/// An address outside this organisation has no mailbox here: nothing on this system delivers it.
void Message::deliver(const std::string& address) {
    const StoreRef store = file().MailboxOfAddress(address);
    if (!store)
        return;
    const int64_t inbox =
        DefaultFolderId(file(), store->id, static_cast<int>(DefaultFolder::Inbox));
    if (inbox == 0)
        return;
    const int64_t copy = CopyMessage(*m_session, m_id, *m_store, inbox, *store);
    file().Run("UPDATE msg SET flags=flags & ~? WHERE id=?", kFlagRead | kFlagFromMe | kFlagUnsent,
               copy);
}

void Message::moveToSentItems() {
    const StoreRef store = m_session->mailbox();
    const int64_t sent =
        DefaultFolderId(file(), store->id, static_cast<int>(DefaultFolder::SentMail));
    if (sent == 0 || sent == m_folder)
        return;
    moveTo(sent, store);
}

} // namespace kr::sqlite
