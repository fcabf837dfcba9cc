#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/store/Properties.h"

namespace kr {

class RDORecipient {
public:
    virtual ~RDORecipient() = default;
    virtual std::string Name() const = 0;
    virtual std::string Address() const = 0;
    virtual EntryID ID() const = 0;
    virtual AddressEntryPtr Entry() const = 0;
};

class RDORecipients {
public:
    virtual ~RDORecipients() = default;
    virtual int Count() const = 0;
    virtual std::shared_ptr<RDORecipient> Item(int index) const = 0;
    /// Adds an SMTP address or a name of the address book.
    virtual std::shared_ptr<RDORecipient> Add(std::string_view nameOrAddress) = 0;
    /// Adds the address entry of that id; throws when it can't be resolved.
    virtual std::shared_ptr<RDORecipient> AddEntry(const EntryID& id) = 0;
    virtual void Remove(int index) = 0;
};

class RDOAttachment {
public:
    virtual ~RDOAttachment() = default;
    virtual std::string DisplayName() const = 0;
    virtual int64_t Size() const = 0;
    /// Writes the content to a file, whole or not at all.
    virtual void SaveAsFile(const std::string& path) const = 0;
    virtual Bytes Content() const = 0;
    /// The message when this is an embedded one, else nullptr.
    virtual RDOMessagePtr EmbeddedMessage() const = 0;
    virtual void Delete() = 0;
};

class RDOAttachments {
public:
    virtual ~RDOAttachments() = default;
    virtual int Count() const = 0;
    virtual std::shared_ptr<RDOAttachment> Item(int index) const = 0;
    /// Attaches a file under its last path component.
    virtual std::shared_ptr<RDOAttachment> Add(const std::string& path) = 0;
    virtual std::shared_ptr<RDOAttachment> AddContent(std::string_view name, const Bytes& data) = 0;
    virtual std::shared_ptr<RDOAttachment> AddMessage(const RDOMessage& message) = 0;
};

class RDOMessage : public RDOProperties {
public:
    virtual EntryID ID() const = 0;
    virtual std::string Subject() const = 0;
    virtual void SetSubject(std::string_view subject) = 0;
    virtual std::string Body() const = 0;
    virtual void SetBody(std::string_view body) = 0;
    virtual std::string MessageClass() const = 0;
    virtual void SetMessageClass(std::string_view messageClass) = 0;
    virtual Time CreationTime() const = 0;
    virtual Time LastModificationTime() const = 0;
    virtual std::shared_ptr<RDORecipients> Recipients() = 0;
    virtual std::shared_ptr<RDOAttachments> Attachments() = 0;
    virtual RDOStorePtr Store() const = 0;
    virtual RDOFolderPtr Parent() const = 0;
    /// Writes all open changes at once, wholly or not at all; durable when it returns. Only what
    /// this object changed is written: the last save wins for each property.
    virtual void Save() = 0;
    virtual void Delete() = 0;
    /// Puts the saved message into another folder, also of another store, wholly or not at all. It
    /// gets a new id, which ID() gives from then on; what isn't saved yet is lost.
    virtual void MoveTo(const RDOFolder& target) = 0;
    /// Puts the message into the inboxes of its recipients and itself into the sent items.
    virtual void Send() = 0;
};

} // namespace kr
