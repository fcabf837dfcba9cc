#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// A message's recipients; changes are written with the message.
class Recipients : public RDORecipients {
public:
    Recipients(SessionPtr session, int64_t message);
    int Count() const override { return static_cast<int>(m_entries.size()); }
    std::shared_ptr<RDORecipient> Item(int index) const override;
    std::shared_ptr<RDORecipient> Add(std::string_view nameOrAddress) override;
    std::shared_ptr<RDORecipient> AddEntry(const EntryID& id) override;
    void Remove(int index) override;

    /// Within the message's transaction.
    void Save(int64_t message);
    void Saved() { m_changed = false; }

private:
    SessionPtr m_session;
    std::vector<AddressEntryPtr> m_entries;
    bool m_changed = false;
};

} // namespace kr::sqlite
