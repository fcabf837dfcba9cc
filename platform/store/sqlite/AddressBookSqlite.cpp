#include "core/Text.h"
#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

namespace {

constexpr int kMailUser = 0;

/// An entry of the organisation's address book.
class BookEntry : public AddressEntry {
public:
    BookEntry(SessionPtr session, int64_t id) : m_session(std::move(session)), m_id(id) {
        Use row(file().Sql("SELECT dn,display_type,name,address,props FROM ab_entry WHERE id=?"));
        row->Bind(1, id);
        if (!row->Step())
            throw PlatformError(MAPI_E_NOT_FOUND, "The address entry could not be found.",
                                "AddressEntry");
        m_dn = row->Text(0);
        m_displayType = static_cast<int>(row->Integer(1));
        m_name = row->Text(2);
        m_smtp = row->Text(3);
        m_bag.Load(row->Text(4));
    }

    Value Fields(PropTag tag) const override {
        switch (PropId(tag)) {
        case PropId(PR_DISPLAY_NAME):
            return m_name;
        case PropId(PR_EMAIL_ADDRESS):
            return m_dn;
        case PropId(PR_ADDRTYPE):
            return Type();
        case PropId(PR_DISPLAY_TYPE):
            return static_cast<int32_t>(m_displayType);
        case PropId(PR_SMTP_ADDRESS):
            return m_smtp.empty() ? Value() : Value(m_smtp);
        default: {
            const auto* stored = m_bag.Find(PropId(tag));
            return stored ? DecodePayload(TypeOf(stored->tag), stored->payload) : Value();
        }
        }
    }
    void SetFields(PropTag, const Value&) override {
        throw PlatformError(MAPI_E_NO_ACCESS, "The address book can't be written.", "AddressEntry");
    }
    // ids from 0x8000 on are fixed in the address book and have no names
    PropTag GetIDsFromNames(std::string_view, std::string_view) override { return 0; }
    std::optional<PropName> NameOf(PropTag) const override { return std::nullopt; }
    std::vector<PropTag> PropList() const override {
        std::vector<PropTag> tags = m_bag.Tags();
        tags.insert(tags.end(), {PR_DISPLAY_NAME, PR_EMAIL_ADDRESS, PR_ADDRTYPE, PR_DISPLAY_TYPE,
                                 PR_SMTP_ADDRESS});
        std::ranges::sort(tags);
        return tags;
    }
    std::string Name() const override { return m_name; }
    std::string Address() const override { return m_dn; }
    std::string Type() const override { return "EX"; }
    int DisplayType() const override { return m_displayType; }
    std::string SMTPAddress() const override { return m_smtp; }
    EntryID ID() const override { return ExchangeId(m_dn); }
    std::vector<AddressEntryPtr> Members() const override {
        std::vector<int64_t> ids;
        {
            Use rows(file().Sql("SELECT member FROM ab_member WHERE list=? ORDER BY n"));
            rows->Bind(1, m_id);
            while (rows->Step())
                ids.push_back(rows->Integer(0));
        }
        std::vector<AddressEntryPtr> members;
        members.reserve(ids.size());
        for (const int64_t id : ids)
            members.push_back(std::make_shared<BookEntry>(m_session, id));
        return members;
    }

private:
    StoreFile& file() const { return *m_session->file; }
    SessionPtr m_session;
    int64_t m_id;
    std::string m_dn, m_name, m_smtp;
    int m_displayType = 0;
    PropertyBag m_bag;
};

/// An address that stands in no address book.
class OneOffEntry : public AddressEntry {
public:
    OneOffEntry(std::string name, std::string address)
        : m_name(std::move(name)), m_address(std::move(address)) {}
    Value Fields(PropTag tag) const override {
        switch (PropId(tag)) {
        case PropId(PR_DISPLAY_NAME):
            return m_name;
        case PropId(PR_EMAIL_ADDRESS):
        case PropId(PR_SMTP_ADDRESS):
            return m_address;
        case PropId(PR_ADDRTYPE):
            return Type();
        default:
            return {};
        }
    }
    void SetFields(PropTag, const Value&) override {
        throw PlatformError(MAPI_E_NO_ACCESS, "A one-off address can't be written.",
                            "AddressEntry");
    }
    PropTag GetIDsFromNames(std::string_view, std::string_view) override { return 0; }
    std::optional<PropName> NameOf(PropTag) const override { return std::nullopt; }
    std::vector<PropTag> PropList() const override {
        return {PR_DISPLAY_NAME, PR_ADDRTYPE, PR_EMAIL_ADDRESS, PR_SMTP_ADDRESS};
    }
    std::string Name() const override { return m_name; }
    std::string Address() const override { return m_address; }
    std::string Type() const override { return "SMTP"; }
    int DisplayType() const override { return kMailUser; }
    std::string SMTPAddress() const override { return m_address; }
    EntryID ID() const override { return OneOffId(m_name, m_address); }
    std::vector<AddressEntryPtr> Members() const override { return {}; }

private:
    std::string m_name, m_address;
};

class Entries : public AddressEntries {
public:
    explicit Entries(SessionPtr session) : m_session(std::move(session)) {
        Use rows(m_session->file->Sql("SELECT id FROM ab_entry ORDER BY name_key"));
        while (rows->Step())
            m_ids.push_back(rows->Integer(0));
    }
    int Count() const override { return static_cast<int>(m_ids.size()); }
    AddressEntryPtr Item(int index) const override {
        if (index < 1 || index > Count())
            throw PlatformError(MAPI_E_NOT_FOUND, "There is no such address entry.",
                                "AddressEntries");
        return std::make_shared<BookEntry>(m_session, m_ids[static_cast<size_t>(index) - 1]);
    }

private:
    SessionPtr m_session;
    std::vector<int64_t> m_ids;
};

class List : public AddressList {
public:
    explicit List(SessionPtr session) : m_session(std::move(session)) {}
    std::string Name() const override { return "Global Address List"; }
    std::shared_ptr<AddressEntries> Entries() const override {
        return std::make_shared<sqlite::Entries>(m_session);
    }

private:
    SessionPtr m_session;
};

/// The smallest text behind all that begin with this one; "" when there is none.
std::string behind(std::string prefix) {
    while (!prefix.empty() && static_cast<uint8_t>(prefix.back()) == 0xFF)
        prefix.pop_back();
    if (!prefix.empty())
        prefix.back() = static_cast<char>(static_cast<uint8_t>(prefix.back()) + 1);
    return prefix;
}

class Book : public AddressBook {
public:
    explicit Book(SessionPtr session) : m_session(std::move(session)) {}

    std::shared_ptr<AddressList> GAL() const override { return std::make_shared<List>(m_session); }

    AddressEntryPtr GetAddressEntryFromID(const EntryID& id) const override {
        const auto address = ReadAddressId(id);
        if (!address)
            throw PlatformError(MAPI_E_INVALID_ENTRYID, "This is no id of an address entry.",
                                "AddressBook");
        if (address->dn.empty())
            return std::make_shared<OneOffEntry>(address->name, address->address);
        int64_t entry = 0;
        {
            Use row(m_session->file->Sql("SELECT id FROM ab_entry WHERE dn_key=?"));
            row->Bind(1, Fold(address->dn));
            if (!row->Step())
                throw PlatformError(MAPI_E_NOT_FOUND, "The address entry could not be found.",
                                    "AddressBook");
            entry = row->Integer(0);
        }
        return std::make_shared<BookEntry>(m_session, entry);
    }

    std::vector<AddressRow> Search(std::string_view prefix, size_t limit) const override {
        const std::string key = Fold(prefix);
        const std::string end = behind(key);
        std::vector<AddressRow> found;
        Use rows(m_session->file->Sql(
            "SELECT dn,name,address,display_type FROM ab_entry WHERE id IN ("
            "SELECT id FROM ab_entry WHERE name_key>=?1 AND (?2='' OR name_key<?2) "
            "UNION SELECT entry FROM ab_proxy WHERE key>=?3 AND key<?4 AND ?1<>'') "
            "ORDER BY name_key LIMIT ?5"));
        rows->Bind(1, key)
            .Bind(2, end)
            .Bind(3, "smtp:" + key)
            .Bind(4, behind("smtp:" + key))
            .Bind(5, static_cast<int64_t>(std::min<size_t>(limit, 1'000'000)));
        while (rows->Step())
            found.push_back({ExchangeId(rows->Text(0)), std::string(rows->Text(1)),
                             std::string(rows->Text(2)), static_cast<int>(rows->Integer(3))});
        return found;
    }

private:
    SessionPtr m_session;
};

} // namespace

AddressBookPtr OpenAddressBook(const SessionPtr& session) {
    return std::make_shared<Book>(session);
}

} // namespace kr::sqlite
