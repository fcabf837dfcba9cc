#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/store/sqlite/Attachments.h"
#include "platform/store/sqlite/MessageRows.h"
#include "platform/store/sqlite/Objects.h"
#include "platform/store/sqlite/PropertyBag.h"
#include "platform/store/sqlite/Recipients.h"

namespace kr::sqlite {

/// A message: its row as it was when it was opened, and the changes made since.
class Message : public InStore<RDOMessage> {
public:
    /// A new one; there is no row before the first Save. Folder 0 holds embedded messages.
    Message(SessionPtr session, StoreRef store, int64_t folder, bool associated,
            std::string_view messageClass);
    /// An existing one; throws MAPI_E_NOT_FOUND when there is no such row.
    Message(SessionPtr session, StoreRef store, int64_t id);

    Value Fields(PropTag tag) const override;
    void SetFields(PropTag tag, const Value& value) override;
    std::vector<PropTag> PropList() const override;

    EntryID ID() const override;
    std::string Subject() const override { return m_subject.value_or(std::string()); }
    void SetSubject(std::string_view subject) override;
    std::string Body() const override { return Fields(PR_BODY).text(); }
    void SetBody(std::string_view body) override { SetFields(PR_BODY, body); }
    std::string MessageClass() const override { return m_class; }
    void SetMessageClass(std::string_view messageClass) override;
    Time CreationTime() const override { return TimeOfTicks(m_created); }
    Time LastModificationTime() const override { return TimeOfTicks(m_modified); }
    std::shared_ptr<RDORecipients> Recipients() override { return recipients(); }
    std::shared_ptr<RDOAttachments> Attachments() override { return attachments(); }
    RDOStorePtr Store() const override { return OpenStore(m_session, m_store); }
    RDOFolderPtr Parent() const override;
    void Save() override;
    void Delete() override;
    void MoveTo(const RDOFolder& target) override;
    void Send() override;

    /// 0 before the first Save.
    int64_t RowId() const { return m_id; }
    const StoreRef& StoreOf() const { return m_store; }
    /// Something isn't saved yet.
    bool HasChanges() const;

private:
    void take(MessageRow row);
    Value computed(PropTag tag, bool& known) const;
    int64_t size() const;
    const std::shared_ptr<sqlite::Recipients>& recipients();
    const std::shared_ptr<sqlite::Attachments>& attachments();

    // What Save does within its transaction; each gives the row as it stands now.
    MessageRow insert();
    MessageRow update();
    void writeParts(MessageRow& row);
    bool touchesIndex() const;
    void saved(MessageRow row);
    void addSendProperties();
    void deliver(const std::string& address);
    void moveToSentItems();
    void moveTo(int64_t folder, StoreRef store);

    int64_t m_id = 0;
    int64_t m_folder;
    bool m_associated;
    int64_t m_flags = 0;
    int64_t m_created = 0;
    int64_t m_modified = 0;
    std::string m_class;
    std::optional<std::string> m_subject;
    std::optional<int64_t> m_newFlags;
    bool m_subjectChanged = false;
    bool m_classChanged = false;
    PropertyBag m_bag;
    std::shared_ptr<sqlite::Recipients> m_recipients;
    std::shared_ptr<sqlite::Attachments> m_attachments;
};

/// The subject without a prefix of up to three letters and a colon ("RE: ").
std::string_view NormalizedSubject(std::string_view subject);
/// Properties that the store computes and nobody writes.
bool IsComputed(uint16_t id);

} // namespace kr::sqlite
