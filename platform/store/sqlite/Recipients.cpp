#include "platform/store/sqlite/Recipients.h"

#include "core/Text.h"

namespace kr::sqlite {

namespace {

class Recipient : public RDORecipient {
public:
    explicit Recipient(AddressEntryPtr entry) : m_entry(std::move(entry)) {}
    std::string Name() const override { return m_entry->Name(); }
    std::string Address() const override { return m_entry->Address(); }
    EntryID ID() const override { return m_entry->ID(); }
    AddressEntryPtr Entry() const override { return m_entry; }

private:
    AddressEntryPtr m_entry;
};

} // namespace

Recipients::Recipients(SessionPtr session, int64_t message) : m_session(std::move(session)) {
    if (message == 0)
        return;
    std::vector<EntryID> ids;
    {
        Use rows(m_session->file->Sql("SELECT eid FROM recipient WHERE msg=? ORDER BY n"));
        rows->Bind(1, message);
        while (rows->Step())
            ids.emplace_back(rows->Text(0));
    }
    auto book = OpenAddressBook(m_session);
    for (const EntryID& id : ids)
        m_entries.push_back(book->GetAddressEntryFromID(id));
}

std::shared_ptr<RDORecipient> Recipients::Item(int index) const {
    if (index < 1 || index > Count())
        throw PlatformError(MAPI_E_NOT_FOUND, "There is no such recipient.", "RDORecipients");
    return std::make_shared<Recipient>(m_entries[static_cast<size_t>(index) - 1]);
}

std::shared_ptr<RDORecipient> Recipients::Add(std::string_view nameOrAddress) {
    auto book = OpenAddressBook(m_session);
    for (const AddressRow& row : book->Search(nameOrAddress, 20))
        if (EqualNoCase(row.name, nameOrAddress) || EqualNoCase(row.smtp, nameOrAddress))
            return AddEntry(row.id);
    if (nameOrAddress.find('@') == std::string_view::npos)
        throw PlatformError(MAPI_E_NOT_FOUND,
                            "The name " + std::string(nameOrAddress) + " could not be resolved.",
                            "RDORecipients");
    return AddEntry(OneOffId(nameOrAddress, nameOrAddress));
}

std::shared_ptr<RDORecipient> Recipients::AddEntry(const EntryID& id) {
    m_entries.push_back(OpenAddressBook(m_session)->GetAddressEntryFromID(id));
    m_changed = true;
    return Item(Count());
}

void Recipients::Remove(int index) {
    Item(index);
    m_entries.erase(m_entries.begin() + index - 1);
    m_changed = true;
}

void Recipients::Save(int64_t message) {
    if (!m_changed)
        return;
    StoreFile& file = *m_session->file;
    file.Sql("DELETE FROM recipient WHERE msg=?").Bind(1, message).Run();
    int64_t n = 0;
    for (const AddressEntryPtr& entry : m_entries)
        file.Sql("INSERT INTO recipient VALUES(?,?,1,?,?,?,?)")
            .Bind(1, message)
            .Bind(2, ++n)
            .Bind(3, entry->Name())
            .Bind(4, entry->Type())
            .Bind(5, entry->Address())
            .Bind(6, entry->ID().text())
            .Run();
}

void CollectAddresses(const AddressEntryPtr& entry, std::set<std::string>& addresses,
                      std::set<EntryID>& seen) {
    if (!seen.insert(entry->ID()).second)
        return;
    const auto members = entry->Members();
    for (const AddressEntryPtr& member : members)
        CollectAddresses(member, addresses, seen);
    if (members.empty() && !entry->SMTPAddress().empty())
        addresses.insert(Fold(entry->SMTPAddress()));
}

} // namespace kr::sqlite
