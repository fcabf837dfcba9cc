#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// A recipient as its row holds it; the address entry is looked up when somebody asks for it.
struct RecipientRow {
    std::string name;
    std::string addressType;
    std::string address;
    EntryID id;
};

/// A message's recipients; changes are written with the message, all recipients at once.
class Recipients : public RDORecipients {
public:
    /// `message` 0 for a new one.
    Recipients(SessionPtr session, int64_t message);
    int Count() const override { return static_cast<int>(m_rows.size()); }
    std::shared_ptr<RDORecipient> Item(int index) const override;
    std::shared_ptr<RDORecipient> Add(std::string_view nameOrAddress) override;
    std::shared_ptr<RDORecipient> AddEntry(const EntryID& id) override;
    void Remove(int index) override;

    /// Within the message's transaction.
    void Write(int64_t message);
    void Saved() { m_changed = false; }
    bool Changed() const { return m_changed; }

private:
    SessionPtr m_session;
    std::vector<RecipientRow> m_rows;
    bool m_changed = false;
};

} // namespace kr::sqlite
