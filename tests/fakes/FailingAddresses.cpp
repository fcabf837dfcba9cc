#include "tests/fakes/FailingObjects.h"

namespace kr::failing {

namespace {

class Recipient : public Wrapped<RDORecipient> {
public:
    using Wrapped::Wrapped;
    std::string Name() const override { return real().Name(); }
    std::string Address() const override { return real().Address(); }
    EntryID ID() const override { return real().ID(); }
    AddressEntryPtr Entry() const override { return wrap(real().Entry()); }
};

class Recipients : public Wrapped<RDORecipients> {
public:
    using Wrapped::Wrapped;
    int Count() const override { return real().Count(); }
    std::shared_ptr<RDORecipient> Item(int index) const override {
        return wrap(real().Item(index));
    }
    std::shared_ptr<RDORecipient> Add(std::string_view nameOrAddress) override {
        return wrap(real().Add(nameOrAddress));
    }
    std::shared_ptr<RDORecipient> AddEntry(const EntryID& id) override {
        return wrap(real().AddEntry(id));
    }
    void Remove(int index) override { real().Remove(index); }
};

class Entry : public WrappedProperties<AddressEntry> {
public:
    using WrappedProperties::WrappedProperties;
    std::string Name() const override { return real().Name(); }
    std::string Address() const override { return real().Address(); }
    std::string Type() const override { return real().Type(); }
    int DisplayType() const override { return real().DisplayType(); }
    std::string SMTPAddress() const override { return real().SMTPAddress(); }
    EntryID ID() const override { return real().ID(); }
    std::vector<AddressEntryPtr> Members() const override {
        std::vector<AddressEntryPtr> members;
        for (const AddressEntryPtr& member : real().Members())
            members.push_back(wrap(member));
        return members;
    }
};

class Entries : public Wrapped<AddressEntries> {
public:
    using Wrapped::Wrapped;
    int Count() const override { return real().Count(); }
    AddressEntryPtr Item(int index) const override { return wrap(real().Item(index)); }
};

class List : public Wrapped<AddressList> {
public:
    using Wrapped::Wrapped;
    std::string Name() const override { return real().Name(); }
    std::shared_ptr<AddressEntries> Entries() const override { return wrap(real().Entries()); }
};

class Book : public Wrapped<AddressBook> {
public:
    using Wrapped::Wrapped;
    std::shared_ptr<AddressList> GAL() const override { return wrap(real().GAL()); }
    AddressEntryPtr GetAddressEntryFromID(const EntryID& id) const override {
        return wrap(real().GetAddressEntryFromID(id));
    }
    std::vector<AddressRow> Search(std::string_view prefix, size_t limit) const override {
        return real().Search(prefix, limit);
    }
};

class Profile : public Wrapped<MailProfile> {
public:
    using Wrapped::Wrapped;
    std::string Name() const override { return real().Name(); }
    bool HasService(std::string_view displayName) const override {
        return real().HasService(displayName);
    }
    void AddService(std::string_view service, std::string_view displayName) override {
        real().AddService(service, displayName);
    }
    void ConfigureService(const std::vector<std::pair<PropTag, Value>>& bag) override {
        real().ConfigureService(bag);
    }
    Value SectionField(PropTag tag) const override { return real().SectionField(tag); }
    void SetSectionField(PropTag tag, const Value& value) override {
        real().SetSectionField(tag, value);
    }
};

class Profiles : public Wrapped<MailProfiles> {
public:
    using Wrapped::Wrapped;
    MailProfilePtr Item(std::string_view name) override { return wrap(real().Item(name)); }
    MailProfilePtr Add(std::string_view name, bool isDefault) override {
        return wrap(real().Add(name, isDefault));
    }
};

} // namespace

std::shared_ptr<RDORecipients> Wrap(const Plan& plan, const std::shared_ptr<RDORecipients>& real) {
    return make<Recipients>(plan, real);
}
std::shared_ptr<RDORecipient> Wrap(const Plan& plan, const std::shared_ptr<RDORecipient>& real) {
    return make<Recipient>(plan, real);
}
AddressBookPtr Wrap(const Plan& plan, const AddressBookPtr& real) { return make<Book>(plan, real); }
std::shared_ptr<AddressList> Wrap(const Plan& plan, const std::shared_ptr<AddressList>& real) {
    return make<List>(plan, real);
}
std::shared_ptr<AddressEntries> Wrap(const Plan& plan,
                                     const std::shared_ptr<AddressEntries>& real) {
    return make<Entries>(plan, real);
}
AddressEntryPtr Wrap(const Plan& plan, const AddressEntryPtr& real) {
    return make<Entry>(plan, real);
}
std::shared_ptr<MailProfiles> Wrap(const Plan& plan, const std::shared_ptr<MailProfiles>& real) {
    return make<Profiles>(plan, real);
}
MailProfilePtr Wrap(const Plan& plan, const MailProfilePtr& real) {
    return make<Profile>(plan, real);
}

} // namespace kr::failing
