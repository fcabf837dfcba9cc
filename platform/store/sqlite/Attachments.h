#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// One attachment: of a saved message by its row, or new with its content in memory.
struct AttachmentData {
    int64_t id = 0;
    int64_t savedAs = 0; // its row, until the message's Save is through
    std::string name;
    int64_t size = 0;
    Bytes content;         // of a new file
    int64_t embedded = 0;  // row of an embedded message
    RDOMessagePtr pending; // new embedded message, copied at the message's Save
    bool removed = false;
};

/// A message's attachments; changes are written with the message.
class Attachments : public RDOAttachments, public std::enable_shared_from_this<Attachments> {
public:
    Attachments(SessionPtr session, int64_t message);
    int Count() const override;
    std::shared_ptr<RDOAttachment> Item(int index) const override;
    std::shared_ptr<RDOAttachment> Add(const std::string& path) override;
    std::shared_ptr<RDOAttachment> AddContent(std::string_view name, const Bytes& data) override;
    std::shared_ptr<RDOAttachment> AddMessage(const RDOMessage& message) override;

    /// Within the message's transaction.
    void Save(int64_t message);
    void Saved();

private:
    using DataPtr = std::shared_ptr<AttachmentData>;
    std::shared_ptr<RDOAttachment> wrap(const DataPtr& data) const;

    SessionPtr m_session;
    std::vector<DataPtr> m_items;
};

} // namespace kr::sqlite
