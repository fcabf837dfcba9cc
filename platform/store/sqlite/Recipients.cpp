#include "platform/store/sqlite/Recipients.h"

#include "core/Text.h"
#include "platform/store/sqlite/AddressEntries.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDORecipients";
constexpr int kTypeTo = 1; // MAPI_TO

class Recipient : public RDORecipient {
public:
    Recipient(SessionPtr session, RecipientRow row)
        : m_session(std::move(session)), m_row(std::move(row)) {}
    std::string Name() const override { return m_row.name; }
    std::string Address() const override { return m_row.address; }
    EntryID ID() const override { return m_row.id; }
    AddressEntryPtr Entry() const override {
        return OpenAddressBook(m_session)->GetAddressEntryFromID(m_row.id);
    }

private:
    SessionPtr m_session;
    RecipientRow m_row;
};

} // namespace

Recipients::Recipients(SessionPtr session, int64_t message) : m_session(std::move(session)) {
    if (message == 0)
        return;
    Use rows = m_session->file().Query(
        "SELECT name,addrtype,address,eid FROM recipient WHERE msg=? ORDER BY n", message);
    while (rows->Step())
        m_rows.push_back({std::string(rows->Text(0)), std::string(rows->Text(1)),
                          std::string(rows->Text(2)), EntryID(rows->Text(3))});
}

std::shared_ptr<RDORecipient> Recipients::Item(int index) const {
    if (index < 1 || index > Count())
        Refuse(MAPI_E_NOT_FOUND, "There is no such recipient.", kSource);
    return std::make_shared<Recipient>(m_session, m_rows[static_cast<size_t>(index) - 1]);
}

std::shared_ptr<RDORecipient> Recipients::Add(std::string_view nameOrAddress) {
    const std::string text = Trim(nameOrAddress);
    const std::string wanted = StartsWithNoCase(text, "smtp:") ? text.substr(5) : text;
    const std::vector<int64_t> found = ResolveName(m_session->file(), wanted);
    if (found.size() == 1)
        return AddEntry(OpenEntry(m_session, found.front())->ID());
    if (found.size() > 1)
        Refuse(MAPI_E_AMBIGUOUS_RECIP, "The name " + wanted + " fits several address entries.",
               kSource);
    if (wanted.find('@') == std::string::npos)
        Refuse(MAPI_E_NOT_FOUND, "The name " + wanted + " could not be resolved.", kSource);
    return AddEntry(OneOffId(wanted, wanted));
}

std::shared_ptr<RDORecipient> Recipients::AddEntry(const EntryID& id) {
    const auto entry = OpenAddressBook(m_session)->GetAddressEntryFromID(id);
    m_rows.push_back({entry->Name(), entry->Type(), entry->Address(), entry->ID()});
    m_changed = true;
    return Item(Count());
}

void Recipients::Remove(int index) {
    Item(index); // throws when there is none
    m_rows.erase(m_rows.begin() + index - 1);
    m_changed = true;
}

void Recipients::Write(int64_t message) {
    if (!m_changed)
        return;
    StoreFile& file = m_session->file();
    file.Run("DELETE FROM recipient WHERE msg=?", message);
    int n = 0;
    for (const RecipientRow& row : m_rows)
        file.Run(
            "INSERT INTO recipient(msg,n,type,name,addrtype,address,eid) VALUES(?,?,?,?,?,?,?)",
            message, ++n, kTypeTo, row.name, row.addressType, row.address, row.id.text());
}

} // namespace kr::sqlite
