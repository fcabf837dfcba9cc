#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// One attachment: of a saved message by its row, or new with its content in memory.
struct AttachmentData {
    int64_t id = 0;      // its row; 0 for a new one
    int64_t message = 0; // the row that it belongs to
    std::string name;
    int64_t size = 0;
    Bytes content;        // of a new file
    int64_t embedded = 0; // row of an embedded message; of the message to copy for a new one
    StoreRef source;      // store of the message to copy
    bool isMessage = false;
    bool removed = false;
    int64_t written = 0; // row made by a Save that may still fail
};

/// A message's attachments; changes are written with the message. What other programs attach to
/// the same message meanwhile stays.
class Attachments : public RDOAttachments {
public:
    /// `message` 0 for a new one; `store` is that of the message around it.
    Attachments(SessionPtr session, StoreRef store, int64_t message);
    int Count() const override;
    std::shared_ptr<RDOAttachment> Item(int index) const override;
    std::shared_ptr<RDOAttachment> Add(const std::string& path) override;
    std::shared_ptr<RDOAttachment> AddContent(std::string_view name, const Bytes& data) override;
    std::shared_ptr<RDOAttachment> AddMessage(const RDOMessage& message) override;

    bool Changed() const;
    /// Within the message's transaction; gives whether the message has attachments now.
    bool Write(int64_t message);
    void Saved(int64_t message);

private:
    using DataPtr = std::shared_ptr<AttachmentData>;
    std::shared_ptr<RDOAttachment> wrap(const DataPtr& data) const;
    void remove(const AttachmentData& data);
    void insert(AttachmentData& data, int64_t message, int64_t n);

    SessionPtr m_session;
    StoreRef m_store;
    std::vector<DataPtr> m_items;
};

} // namespace kr::sqlite
