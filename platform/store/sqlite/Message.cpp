#include <filesystem>
#include <fstream>

#include "core/Text.h"
#include "platform/store/sqlite/Attachments.h"
#include "platform/store/sqlite/Objects.h"
#include "platform/store/sqlite/Recipients.h"

namespace kr::sqlite {

namespace {

constexpr int64_t kHasAttachment = 1;

[[noreturn]] void deleted() {
    throw PlatformError(MAPI_E_OBJECT_DELETED, "The item has been deleted.", "RDOMessage");
}

class Message : public StoredProperties<RDOMessage> {
public:
    /// A new message; there is no row before the first Save.
    Message(SessionPtr session, int64_t folder, bool associated, std::string_view messageClass)
        : StoredProperties(std::move(session), 0), m_folder(folder), m_associated(associated),
          m_class(messageClass), m_classChanged(true) {
        m_store = file().StoreOfFolder(folder);
    }
    /// An existing one.
    Message(SessionPtr session, int64_t id)
        : StoredProperties(std::move(session), 0), m_id(id), m_folder(MessageFolder(id)),
          m_associated((id & kAssociatedBit) != 0) {
        m_store = m_folder == 0 ? m_session->mailbox : file().StoreOfFolder(m_folder);
        read();
    }

    Value Fields(PropTag tag) const override {
        switch (tag & ~0xFFFFu) {
        case PR_SUBJECT & ~0xFFFFu:
            return m_subjectSet ? Value(m_subject) : Value();
        case PR_MESSAGE_CLASS & ~0xFFFFu:
            return m_class;
        default:
            return computed(tag);
        }
    }

    void SetFields(PropTag tag, const Value& value) override {
        if (PropId(tag) == 0)
            throw PlatformError(MAPI_E_NOT_FOUND, "The property has no id in this store.",
                                "RDOMessage");
        if (PropId(tag) == PropId(PR_SUBJECT))
            return SetSubject(value.text());
        if (PropId(tag) == PropId(PR_MESSAGE_CLASS))
            return SetMessageClass(value.text());
        m_bag.Set(tag, value);
    }

    std::vector<PropTag> PropList() const override {
        std::vector<PropTag> tags = m_bag.Tags();
        tags.push_back(PR_MESSAGE_CLASS);
        if (m_subjectSet)
            tags.push_back(PR_SUBJECT);
        if (m_id != 0)
            tags.insert(tags.end(), {PR_CREATION_TIME, PR_LAST_MODIFICATION_TIME, PR_ENTRYID});
        std::ranges::sort(tags);
        return tags;
    }

    EntryID ID() const override {
        return m_id == 0 ? EntryID() : MessageId(storeRow().guid, storeRow().isPublic, m_id);
    }
    std::string Subject() const override { return m_subject; }
    void SetSubject(std::string_view subject) override {
        m_subject = subject;
        m_subjectSet = m_subjectChanged = true;
    }
    std::string Body() const override { return Fields(PR_BODY).text(); }
    void SetBody(std::string_view body) override { SetFields(PR_BODY, body); }
    std::string MessageClass() const override { return m_class; }
    void SetMessageClass(std::string_view messageClass) override {
        m_class = messageClass;
        m_classChanged = true;
    }
    Time CreationTime() const override { return TimeOfTicks(m_created); }
    Time LastModificationTime() const override { return TimeOfTicks(m_modified); }

    std::shared_ptr<RDORecipients> Recipients() override { return recipients(); }
    std::shared_ptr<RDOAttachments> Attachments() override { return attachments(); }
    RDOStorePtr Store() const override { return OpenStore(m_session, m_store); }
    RDOFolderPtr Parent() const override { return OpenFolder(m_session, m_folder); }

    void Save() override {
        const bool isNew = m_id == 0;
        const int64_t oldId = m_id;
        try {
            file().Write([&] { isNew ? insert() : update(); });
        } catch (...) {
            m_id = oldId;
            throw;
        }
        m_bag.ForgetChanges();
        m_subjectChanged = m_classChanged = false;
        if (m_recipients)
            m_recipients->Saved();
        if (m_attachments)
            m_attachments->Saved();
    }

    void Delete() override {
        if (m_id == 0)
            return;
        file().Write([&] {
            if (!exists())
                deleted();
            DeleteMessage(file(), m_id);
        });
    }

    void Send() override {
        Save();
        std::set<std::string> addresses;
        std::set<EntryID> seen;
        auto all = recipients();
        if (all->Count() == 0)
            throw PlatformError(MAPI_E_CALL_FAILED, "The message has no recipients.", "RDOMessage");
        for (int i = 1; i <= all->Count(); ++i)
            CollectAddresses(all->Item(i)->Entry(), addresses, seen);
        file().Write([&] {
            for (const std::string& address : addresses)
                deliver(address);
            const int64_t sent = DefaultFolderId(file(), m_session->mailbox,
                                                 static_cast<int>(DefaultFolder::SentMail));
            if (sent != 0 && sent != m_folder) {
                const int64_t copy = CopyMessage(file(), m_id, sent);
                DeleteMessage(file(), m_id);
                m_id = copy;
                m_folder = sent;
            }
        });
    }

private:
    std::shared_ptr<sqlite::Recipients> recipients() {
        if (!m_recipients)
            m_recipients = std::make_shared<sqlite::Recipients>(m_session, m_id);
        return m_recipients;
    }
    std::shared_ptr<sqlite::Attachments> attachments() {
        if (!m_attachments)
            m_attachments = std::make_shared<sqlite::Attachments>(m_session, m_id);
        return m_attachments;
    }

    /// False when the row is gone.
    bool readRow(PropertyBag& bag) {
        Use row(file().Sql("SELECT flags,class,ctime,mtime,subject,body FROM msg WHERE id=?"));
        row->Bind(1, m_id);
        if (!row->Step())
            return false;
        m_flags = row->Integer(0);
        const int64_t classId = row->Integer(1);
        m_created = row->Integer(2);
        m_modified = row->Integer(3);
        if (!m_subjectChanged)
            m_subject = row->Text(4);
        m_subjectSet = m_subjectChanged || !m_subject.empty();
        bag.Load(row->Text(5));
        if (!m_classChanged)
            m_class = file().ClassName(classId);
        return true;
    }
    void read() {
        if (!readRow(m_bag))
            throw PlatformError(MAPI_E_NOT_FOUND, "The item could not be found.", "RDOMessage");
    }
    bool exists() {
        Use row(file().Sql("SELECT 1 FROM msg WHERE id=?"));
        row->Bind(1, m_id);
        return row->Step();
    }

    Value computed(PropTag tag) const {
        switch (PropId(tag)) {
        case PropId(PR_NORMALIZED_SUBJECT):
            return m_subjectSet ? Value(m_subject) : Value();
        case PropId(PR_ENTRYID):
        case PropId(PR_LONGTERM_ENTRYID_FROM_TABLE):
            return m_id == 0 ? Value() : bytesOf(ID());
        case PropId(PR_CREATION_TIME):
            return m_id == 0 ? Value() : Value(CreationTime());
        case PropId(PR_LAST_MODIFICATION_TIME):
            return m_id == 0 ? Value() : Value(LastModificationTime());
        case PropId(PR_PARENT_ENTRYID):
            return bytesOf(FolderId(storeRow().guid, storeRow().isPublic, m_folder));
        case PropId(PR_STORE_ENTRYID):
            return bytesOf(StoreId(storeRow().guid, storeRow().isPublic));
        case PropId(PR_HASATTACH):
            return (m_flags & kHasAttachment) != 0;
        case PropId(PR_ASSOCIATED):
            return m_associated;
        case PropId(PR_HAS_NAMED_PROPERTIES):
            return std::ranges::any_of(m_bag.Tags(), [](PropTag t) { return PropId(t) >= 0x8000; });
        default:
            return stored(PropId(tag));
        }
    }
    static Value bytesOf(const EntryID& id) {
        const auto bytes = UnHex(id.text());
        return bytes ? Value(Bytes(bytes->begin(), bytes->end())) : Value();
    }
    std::string longText(uint16_t id) const {
        Use row(file().Sql("SELECT value FROM big WHERE owner=? AND tag=?"));
        row->Bind(1, m_id).Bind(2, id);
        return std::string(row->Step() ? row->Text(0) : std::string_view());
    }
    Value stored(uint16_t id) const {
        const PropertyBag::Stored* found = m_bag.Find(id);
        if (!found)
            return {};
        if (!found->big || !found->payload.empty())
            return DecodePayload(TypeOf(found->tag), found->payload);
        return DecodePayload(TypeOf(found->tag), longText(id));
    }

    void insert() {
        const int64_t cn = file().LogChange(StoreChange::New, 0, m_folder);
        m_id = m_folder << kFolderShift | (m_associated ? kAssociatedBit : 0) | cn;
        file().Sql("UPDATE change SET object=? WHERE cn=?").Bind(1, m_id).Bind(2, cn).Run();
        m_created = m_modified = NowTicks();
        saveParts();
        file()
            .Sql("INSERT INTO msg(id,cn,flags,class,ctime,mtime,subject,body) "
                 "VALUES(?,?,?,?,?,?,?,?)")
            .Bind(1, m_id)
            .Bind(2, cn)
            .Bind(3, m_flags)
            .Bind(4, file().ClassId(m_class))
            .Bind(5, m_created)
            .Bind(6, m_modified)
            .Bind(7, m_subject)
            .BindBlob(8, m_bag.Write(file(), m_id))
            .Run();
        indexAll();
    }

    /// The row is read again and only what this object changed goes into it, so that what another
    /// program changed meanwhile isn't lost.
    void update() {
        PropertyBag now;
        const std::string subject = m_subject;
        if (!readRow(now))
            deleted();
        const int64_t cn = file().LogChange(StoreChange::Changed, m_id, m_folder);
        unindex(now);
        m_bag.ApplyTo(now);
        m_modified = NowTicks();
        saveParts();
        const std::string blob = now.Write(file(), m_id);
        file()
            .Sql("UPDATE msg SET cn=?,flags=?,class=?,mtime=?,subject=?,body=? WHERE id=?")
            .Bind(1, cn)
            .Bind(2, m_flags)
            .Bind(3, file().ClassId(m_class))
            .Bind(4, m_modified)
            .Bind(5, m_subject)
            .BindBlob(6, blob)
            .Bind(7, m_id)
            .Run();
        m_bag = std::move(now);
        reindex();
    }

    void saveParts() {
        if (m_recipients)
            m_recipients->Save(m_id);
        if (!m_attachments)
            return;
        m_attachments->Save(m_id);
        m_flags = m_attachments->Count() > 0 ? m_flags | kHasAttachment : m_flags & ~kHasAttachment;
    }

    // The hashed index. Only entries of changed keys move.
    int64_t side() const { return m_folder << 1 | (m_associated ? 1 : 0); }
    void indexOne(uint16_t id, std::string_view text, bool add) {
        if (m_folder == 0)
            return; // embedded messages are never searched
        file()
            .Sql(add ? "INSERT OR IGNORE INTO pidx VALUES(?,?,?,?)"
                     : "DELETE FROM pidx WHERE folder=? AND tag=? AND key=? AND msg=?")
            .Bind(1, side())
            .Bind(2, id)
            .Bind(3, IndexKey(text))
            .Bind(4, m_id)
            .Run();
    }
    void indexBag(const PropertyBag& bag, uint16_t id, bool add) {
        const auto* stored = bag.Find(id);
        const PropType type = stored ? TypeOf(stored->tag) : PropType::Unspecified;
        if (type != PropType::String && type != PropType::Unicode)
            return;
        // a long value may lie outside; what is kept there is still the one that was indexed
        indexOne(id, stored->big && stored->payload.empty() ? longText(id) : stored->payload, add);
    }
    void indexAll() {
        if (m_subjectSet)
            indexOne(PropId(PR_SUBJECT), m_subject, true);
        for (const PropTag tag : m_bag.Tags())
            if (file().IsIndexed(m_store, PropId(tag)))
                indexBag(m_bag, PropId(tag), true);
    }
    void unindex(const PropertyBag& now) {
        if (m_subjectChanged) {
            Use row(file().Sql("SELECT subject FROM msg WHERE id=?"));
            row->Bind(1, m_id);
            if (row->Step())
                indexOne(PropId(PR_SUBJECT), std::string(row->Text(0)), false);
        }
        for (const uint16_t id : m_bag.Changed())
            if (file().IsIndexed(m_store, id))
                indexBag(now, id, false);
    }
    void reindex() {
        if (m_subjectChanged)
            indexOne(PropId(PR_SUBJECT), m_subject, true);
        for (const uint16_t id : m_bag.Changed())
            if (file().IsIndexed(m_store, id))
                indexBag(m_bag, id, true);
    }

    void deliver(const std::string& address) {
        Use row(file().Sql("SELECT id FROM store WHERE address_key=?"));
        row->Bind(1, Fold(address));
        if (!row->Step())
            return; // an outside address: nothing on this system delivers it
        const int64_t store = row->Integer(0);
        const int64_t inbox =
            DefaultFolderId(file(), store, static_cast<int>(DefaultFolder::Inbox));
        if (inbox != 0)
            CopyMessage(file(), m_id, inbox);
    }

    int64_t m_id = 0;
    int64_t m_folder;
    bool m_associated;
    int64_t m_flags = 0;
    int64_t m_created = 0;
    int64_t m_modified = 0;
    std::string m_class;
    std::string m_subject;
    bool m_subjectSet = false;
    bool m_subjectChanged = false;
    bool m_classChanged = false;
    PropertyBag m_bag;
    std::shared_ptr<sqlite::Recipients> m_recipients;
    std::shared_ptr<sqlite::Attachments> m_attachments;
};

} // namespace

RDOMessagePtr OpenMessage(const SessionPtr& session, int64_t id) {
    return std::make_shared<Message>(session, id);
}

RDOMessagePtr NewMessage(const SessionPtr& session, int64_t folder, bool associated,
                         std::string_view messageClass) {
    return std::make_shared<Message>(session, folder, associated, messageClass);
}

} // namespace kr::sqlite
