#include "platform/store/sqlite/AddressEntries.h"

#include <algorithm>

#include "core/Text.h"
#include "platform/store/sqlite/PropertyBag.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "AddressEntry";
constexpr int kMailUser = 0, kList = 1, kPrivateList = 4, kPrivateList5 = 5;

/// What all address entries share: nothing can be written, and no property has a name, since ids
/// from 0x8000 on are fixed in an address book.
class ReadOnlyEntry : public AddressEntry {
public:
    void SetFields(PropTag, const Value&) override {
        Refuse(MAPI_E_NO_ACCESS, "The address book can't be written.", kSource);
    }
    PropTag GetIDsFromNames(std::string_view, std::string_view) override { return 0; }
    std::optional<PropName> NameOf(PropTag) const override { return std::nullopt; }
    Value Fields(PropTag tag) const override {
        const Value value = valueOf(tag);
        return value;
    }
    std::vector<PropTag> PropList() const override {
        std::vector<PropTag> tags = storedTags();
        for (const PropTag tag : {PR_DISPLAY_NAME, PR_ADDRTYPE, PR_EMAIL_ADDRESS, PR_SMTP_ADDRESS,
                                  PR_DISPLAY_TYPE, PR_ENTRYID})
            if (!valueOf(tag).empty())
                tags.push_back(tag);
        std::ranges::sort(tags);
        return tags;
    }

protected:
    virtual Value storedValue(PropTag) const { return {}; }
    virtual std::vector<PropTag> storedTags() const { return {}; }

private:
    Value valueOf(PropTag tag) const {
        const auto text = [](const std::string& value) {
            return value.empty() ? Value() : Value(value);
        };
        switch (PropId(tag)) {
        case PropId(PR_DISPLAY_NAME):
            return text(Name());
        case PropId(PR_ADDRTYPE):
            return text(Type());
        case PropId(PR_EMAIL_ADDRESS):
            return text(Address());
        case PropId(PR_SMTP_ADDRESS):
            return text(SMTPAddress());
        case PropId(PR_DISPLAY_TYPE):
            return static_cast<int32_t>(DisplayType());
        case PropId(PR_ENTRYID):
            return BinaryOf(*UnHex(ID().text()));
        default:
            return storedValue(tag);
        }
    }
};

/// An entry of the organisation's address book.
class BookEntry : public ReadOnlyEntry {
public:
    BookEntry(SessionPtr session, int64_t id) : m_session(std::move(session)), m_id(id) {
        Use row = m_session->file().Query(
            "SELECT dn,display_type,name,addrtype,address,props FROM ab_entry WHERE id=?", id);
        if (!row->Step())
            Refuse(MAPI_E_NOT_FOUND, "The address entry could not be found.", kSource);
        m_dn = row->Text(0);
        m_displayType = static_cast<int>(row->Integer(1));
        m_name = row->Text(2);
        m_type = row->Text(3);
        m_smtp = row->Text(4);
        m_bag.Load(std::string(row->Text(5)));
    }
    std::string Name() const override { return m_name; }
    std::string Address() const override { return m_dn; }
    std::string Type() const override { return m_type; }
    int DisplayType() const override { return m_displayType; }
    std::string SMTPAddress() const override { return m_smtp; }
    EntryID ID() const override { return ExchangeId(m_dn); }
    std::vector<AddressEntryPtr> Members() const override {
        std::vector<int64_t> ids;
        {
            Use rows = m_session->file().Query(
                "SELECT member FROM ab_member WHERE list=? ORDER BY n", m_id);
            while (rows->Step())
                ids.push_back(rows->Integer(0));
        }
        std::vector<AddressEntryPtr> members;
        members.reserve(ids.size());
        for (const int64_t id : ids)
            members.push_back(OpenEntry(m_session, id));
        return members;
    }

protected:
    Value storedValue(PropTag tag) const override { return m_bag.Get(tag); }
    std::vector<PropTag> storedTags() const override { return m_bag.Tags(); }

private:
    SessionPtr m_session;
    int64_t m_id;
    std::string m_dn, m_name, m_type, m_smtp;
    int m_displayType = 0;
    PropertyBag m_bag;
};

/// An address that stands in no address book.
class OneOffEntry : public ReadOnlyEntry {
public:
    OneOffEntry(std::string name, std::string address)
        : m_name(std::move(name)), m_address(std::move(address)) {}
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
        Use rows = m_session->file().Query("SELECT id FROM ab_entry ORDER BY name_key,id");
        while (rows->Step())
            m_ids.push_back(rows->Integer(0));
    }
    int Count() const override { return static_cast<int>(m_ids.size()); }
    AddressEntryPtr Item(int index) const override {
        if (index < 1 || index > Count())
            Refuse(MAPI_E_NOT_FOUND, "There is no such address entry.", "AddressEntries");
        return OpenEntry(m_session, m_ids[static_cast<size_t>(index) - 1]);
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
            Refuse(MAPI_E_NOT_FOUND, "This is no id of an address entry.", "AddressBook");
        if (address->dn.empty())
            return std::make_shared<OneOffEntry>(address->name, address->address);
        const int64_t entry = m_session->file().Number(0, "SELECT id FROM ab_entry WHERE dn_key=?",
                                                       Fold(address->dn));
        if (entry == 0)
            Refuse(MAPI_E_NOT_FOUND, "The address entry could not be found.", "AddressBook");
        return OpenEntry(m_session, entry);
    }

    std::vector<AddressRow> Search(std::string_view prefix, size_t limit) const override {
        const std::string key = Fold(prefix);
        const auto most = static_cast<int64_t>(std::min<size_t>(limit, INT32_MAX));
        std::vector<AddressRow> found;
        const auto take = [&](Use rows) {
            while (rows->Step())
                found.push_back({ExchangeId(rows->Text(0)), std::string(rows->Text(1)),
                                 std::string(rows->Text(2)), static_cast<int>(rows->Integer(3))});
        };
        StoreFile& file = m_session->file();
        if (key.empty())
            take(file.Query("SELECT dn,name,address,display_type FROM ab_entry "
                            "ORDER BY name_key,id LIMIT ?",
                            most));
        else
            take(file.Query("SELECT dn,name,address,display_type FROM ab_entry WHERE id IN ("
                            "SELECT id FROM ab_entry WHERE name_key>=?1 AND name_key<?2 "
                            "UNION SELECT entry FROM ab_proxy WHERE key>=?3 AND key<?4) "
                            "ORDER BY name_key,id LIMIT ?5",
                            key, behind(key), "smtp:" + key, behind("smtp:" + key), most));
        return found;
    }

private:
    SessionPtr m_session;
};

bool isList(int displayType) {
    return displayType == kList || displayType == kPrivateList || displayType == kPrivateList5;
}

} // namespace

AddressEntryPtr OpenEntry(const SessionPtr& session, int64_t id) {
    return std::make_shared<BookEntry>(session, id);
}

AddressBookPtr OpenAddressBook(const SessionPtr& session) {
    session->file(); // throws after Logoff
    return std::make_shared<Book>(session);
}

std::vector<int64_t> ResolveName(StoreFile& file, std::string_view text) {
    const std::string key = Fold(text);
    std::vector<int64_t> found;
    if (key.empty())
        return found;
    Use rows = file.Query("SELECT id FROM ab_entry WHERE name_key=?1 UNION "
                          "SELECT id FROM ab_entry WHERE alias_key=?1 UNION "
                          "SELECT entry FROM ab_proxy WHERE key=?2",
                          key, "smtp:" + key);
    while (rows->Step())
        found.push_back(rows->Integer(0));
    return found;
}

void CollectAddresses(const AddressEntryPtr& entry, std::set<std::string>& addresses,
                      std::set<EntryID>& seen) {
    if (!seen.insert(entry->ID()).second)
        return;
    if (isList(entry->DisplayType()))
        for (const AddressEntryPtr& member : entry->Members())
            CollectAddresses(member, addresses, seen);
    else if (!entry->SMTPAddress().empty())
        addresses.insert(Fold(entry->SMTPAddress()));
}

} // namespace kr::sqlite
