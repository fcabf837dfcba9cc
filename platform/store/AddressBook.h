#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/Properties.h"

namespace kr {

class AddressEntry : public RDOProperties {
public:
    virtual std::string Name() const = 0;
    /// The SMTP address for type "SMTP", the legacy distinguished name for "EX".
    virtual std::string Address() const = 0;
    /// "SMTP" or "EX".
    virtual std::string Type() const = 0;
    /// 0 and 6 a mail user, 1 and 4 a distribution list, 3 a query-based list, 2 a folder.
    virtual int DisplayType() const = 0;
    virtual std::string SMTPAddress() const = 0;
    virtual EntryID ID() const = 0;
    /// Members of a list, in their order; none for people and query-based lists.
    virtual std::vector<AddressEntryPtr> Members() const = 0;
};

class AddressEntries {
public:
    virtual ~AddressEntries() = default;
    virtual int Count() const = 0;
    virtual AddressEntryPtr Item(int index) const = 0;
};

class AddressList {
public:
    virtual ~AddressList() = default;
    virtual std::string Name() const = 0;
    virtual std::shared_ptr<AddressEntries> Entries() const = 0;
};

/// One row of the address book for a picker: enough to show and to open the entry.
struct AddressRow {
    EntryID id;
    std::string name;
    std::string smtp;
    int displayType = 0;
};

class AddressBook {
public:
    virtual ~AddressBook() = default;
    virtual std::shared_ptr<AddressList> GAL() const = 0;
    /// Throws MAPI_E_NOT_FOUND for an id that names nothing; one-off ids always open.
    virtual AddressEntryPtr GetAddressEntryFromID(const EntryID& id) const = 0;
    /// Rows whose display name or address begins with the text, by name; at most `limit`.
    virtual std::vector<AddressRow> Search(std::string_view prefix, size_t limit) const = 0;
};
using AddressBookPtr = std::shared_ptr<AddressBook>;

} // namespace kr
