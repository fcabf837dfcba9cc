#include "platform/store/sqlite/Message.h"

#include <algorithm>

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOMessage";
constexpr PropTag kComputed[] = {
    PR_ENTRYID,       PR_STORE_ENTRYID,       PR_PARENT_ENTRYID,
    PR_CREATION_TIME, PR_NORMALIZED_SUBJECT,  PR_LAST_MODIFICATION_TIME,
    PR_MESSAGE_SIZE,  PR_HASATTACH,           PR_LONGTERM_ENTRYID_FROM_TABLE,
    PR_ASSOCIATED,    PR_HAS_NAMED_PROPERTIES};
/// Those that PropList shows of a saved message.
constexpr PropTag kListed[] = {PR_ENTRYID, PR_CREATION_TIME, PR_LAST_MODIFICATION_TIME,
                               PR_MESSAGE_FLAGS};

} // namespace

bool IsComputed(uint16_t id) {
    return std::ranges::any_of(kComputed, [&](PropTag tag) { return PropId(tag) == id; });
}

std::string_view NormalizedSubject(std::string_view subject) {
    const size_t colon = subject.find(": ");
    const bool prefix = colon != std::string_view::npos && colon >= 1 && colon <= 3 &&
                        std::ranges::all_of(subject.substr(0, colon), [](char c) {
                            return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
                        });
    return prefix ? subject.substr(colon + 2) : subject;
}

Message::Message(SessionPtr session, StoreRef store, int64_t folder, bool associated,
                 std::string_view messageClass)
    : InStore(std::move(session), std::move(store)), m_folder(folder), m_associated(associated),
      m_flags(kFlagRead | kFlagUnsent | (associated ? kFlagAssociated : 0)), m_class(messageClass),
      m_classChanged(true) {}

Message::Message(SessionPtr session, StoreRef store, int64_t id)
    : InStore(std::move(session), std::move(store)), m_folder(MessageFolder(id)),
      m_associated(IsAssociated(id)) {
    auto row = ReadMessage(file(), id);
    if (!row)
        Refuse(MAPI_E_NOT_FOUND, "The message could not be found.", kSource);
    take(std::move(*row));
}

void Message::take(MessageRow row) {
    m_bag.Load(std::move(row.body), std::move(row.longValues));
    m_id = row.id;
    m_folder = MessageFolder(row.id);
    m_flags = row.flags;
    m_created = row.created;
    m_modified = row.modified;
    m_class = std::move(row.messageClass);
    m_subject = std::move(row.subject);
    m_newFlags.reset();
    m_subjectChanged = m_classChanged = false;
}

bool Message::HasChanges() const {
    return m_subjectChanged || m_classChanged || m_newFlags || !m_bag.Changes().empty() ||
           (m_recipients && m_recipients->Changed()) || (m_attachments && m_attachments->Changed());
}

Value Message::Fields(PropTag tag) const {
    if (PropId(tag) == 0)
        return {};
    bool known = true;
    const Value value = computed(tag, known);
    if (!known)
        return m_bag.Get(tag);
    return value;
}

Value Message::computed(PropTag tag, bool& known) const {
    const bool saved = m_id != 0;
    switch (PropId(tag)) {
    case PropId(PR_SUBJECT):
        return m_subject ? Value(*m_subject) : Value();
    case PropId(PR_NORMALIZED_SUBJECT):
        return m_subject ? Value(NormalizedSubject(*m_subject)) : Value();
    case PropId(PR_MESSAGE_CLASS):
        return m_class;
    case PropId(PR_ENTRYID):
    case PropId(PR_LONGTERM_ENTRYID_FROM_TABLE):
        return saved && m_folder != 0 ? BinaryOf(*UnHex(ID().text())) : Value();
    case PropId(PR_CREATION_TIME):
        return saved ? Value(CreationTime()) : Value();
    case PropId(PR_LAST_MODIFICATION_TIME):
        return saved ? Value(LastModificationTime()) : Value();
    case PropId(PR_PARENT_ENTRYID):
        return BinaryOf(FolderIdBytes(m_store->guid, m_store->isPublic, m_folder));
    case PropId(PR_STORE_ENTRYID):
        return BinaryOf(StoreIdBytes(m_store->guid, m_store->isPublic));
    case PropId(PR_MESSAGE_FLAGS):
        return static_cast<int32_t>(m_newFlags.value_or(m_flags) & kMessageFlags);
    case PropId(PR_MESSAGE_SIZE):
        return saved ? Value(static_cast<int32_t>(std::min<int64_t>(size(), INT32_MAX))) : Value();
    case PropId(PR_HASATTACH):
        return (m_flags & kFlagHasAttach) != 0;
    case PropId(PR_ASSOCIATED):
        return m_associated;
    case PropId(PR_HAS_NAMED_PROPERTIES):
        return std::ranges::any_of(m_bag.Tags(), [](PropTag t) { return PropId(t) >= 0x8000; });
    default:
        known = false;
        return {};
    }
}

/// Bytes of all that was saved.
int64_t Message::size() const {
    int64_t bytes = static_cast<int64_t>(m_bag.blob().size() + Subject().size());
    for (const auto& [id, value] : m_bag.LongValues())
        bytes += static_cast<int64_t>(value.size());
    if (m_flags & kFlagHasAttach)
        bytes += file().Number(0, "SELECT sum(size) FROM attach WHERE msg=?", m_id);
    return bytes;
}

void Message::SetFields(PropTag tag, const Value& value) {
    requireId(tag, kSource);
    const uint16_t id = PropId(tag);
    if (IsComputed(id))
        Refuse(MAPI_E_COMPUTED, "The store itself computes that property.", kSource);
    if (id == PropId(PR_SUBJECT)) {
        m_subject.reset();
        m_subjectChanged = true;
        if (!value.empty())
            SetSubject(value.text());
    } else if (id == PropId(PR_MESSAGE_CLASS)) {
        SetMessageClass(value.text());
    } else if (id == PropId(PR_MESSAGE_FLAGS)) {
        constexpr int64_t fixed = kFlagHasAttach | kFlagAssociated | ~kMessageFlags;
        m_newFlags = (m_flags & fixed) | (value.integerOr(0) & kMessageFlags & ~fixed);
    } else {
        m_bag.Set(tag, value);
    }
}

std::vector<PropTag> Message::PropList() const {
    std::vector<PropTag> tags = m_bag.Tags();
    tags.push_back(PR_MESSAGE_CLASS);
    if (m_subject)
        tags.push_back(PR_SUBJECT);
    if (m_id != 0)
        tags.insert(tags.end(), std::begin(kListed), std::end(kListed));
    std::ranges::sort(tags);
    return tags;
}

EntryID Message::ID() const {
    // an embedded message can be opened by way of its attachment alone
    return m_id == 0 || m_folder == 0 ? EntryID() : m_store->MessageID(m_id);
}

void Message::SetSubject(std::string_view subject) {
    m_subject = subject;
    m_subjectChanged = true;
}

void Message::SetMessageClass(std::string_view messageClass) {
    m_class = messageClass;
    m_classChanged = true;
}

RDOFolderPtr Message::Parent() const {
    return m_folder == 0 ? nullptr : OpenFolder(m_session, m_folder);
}

const std::shared_ptr<Recipients>& Message::recipients() {
    if (!m_recipients)
        m_recipients = std::make_shared<sqlite::Recipients>(m_session, m_id);
    return m_recipients;
}

const std::shared_ptr<Attachments>& Message::attachments() {
    if (!m_attachments)
        m_attachments = std::make_shared<sqlite::Attachments>(m_session, m_store, m_id);
    return m_attachments;
}

RDOMessagePtr OpenMessage(const SessionPtr& session, int64_t id) {
    const StoreRef store = session->file().StoreOfFolder(MessageFolder(id));
    if (!store)
        Refuse(MAPI_E_NOT_FOUND, "The message could not be found.", kSource);
    return std::make_shared<Message>(session, store, id);
}

RDOMessagePtr OpenEmbedded(const SessionPtr& session, const StoreRef& store, int64_t id) {
    return std::make_shared<Message>(session, store, id);
}

RDOMessagePtr NewMessage(const SessionPtr& session, const StoreRef& store, int64_t folder,
                         bool associated, std::string_view messageClass) {
    return std::make_shared<Message>(session, store, folder, associated, messageClass);
}

} // namespace kr::sqlite
