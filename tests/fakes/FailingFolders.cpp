#include "tests/fakes/FailingObjects.h"

namespace kr::failing {

namespace {

class Store : public WrappedProperties<RDOStore> {
public:
    using WrappedProperties::WrappedProperties;
    EntryID ID() const override { return real().ID(); }
    std::string Name() const override { return real().Name(); }
    RDOFolderPtr RootFolder() const override { return wrap(real().RootFolder()); }
    RDOFolderPtr IPMRootFolder() const override { return wrap(real().IPMRootFolder()); }
    RDOFolderPtr GetDefaultFolder(int number) const override {
        return wrap(real().GetDefaultFolder(number));
    }
    bool CompareEntryIDs(const EntryID& a, const EntryID& b) const override {
        return real().CompareEntryIDs(a, b);
    }
};

class Folders : public Wrapped<RDOFolders> {
public:
    using Wrapped::Wrapped;
    int Count() const override { return real().Count(); }
    RDOFolderPtr Item(int index) const override { return wrap(real().Item(index)); }
    RDOFolderPtr Item(std::string_view name) const override { return wrap(real().Item(name)); }
    RDOFolderPtr Add(std::string_view name, std::string_view containerClass) override {
        return wrap(real().Add(name, containerClass));
    }
};

class Folder : public WrappedProperties<RDOFolder> {
public:
    using WrappedProperties::WrappedProperties;
    std::string Name() const override { return real().Name(); }
    void SetName(std::string_view name) override { real().SetName(name); }
    EntryID ID() const override { return real().ID(); }
    EntryID StoreID() const override { return real().StoreID(); }
    std::string DefaultItemClass() const override { return real().DefaultItemClass(); }
    RDOItemsPtr Items() const override { return wrap(real().Items()); }
    RDOItemsPtr HiddenItems() const override { return wrap(real().HiddenItems()); }
    RDOFoldersPtr Folders() const override { return wrap(real().Folders()); }
    RDOFolderPtr Parent() const override { return wrap(real().Parent()); }
    RDOStorePtr Store() const override { return wrap(real().Store()); }
    void Save() override { real().Save(); }
    void Delete() override { real().Delete(); }
};

class Items : public Wrapped<RDOItems> {
public:
    using Wrapped::Wrapped;
    int Count() const override { return real().Count(); }
    RDOMessagePtr Item(int index) const override { return wrap(real().Item(index)); }
    RDOMessagePtr Add(std::string_view messageClass) override {
        return wrap(real().Add(messageClass));
    }
    MAPITablePtr Table() const override { return wrap(real().Table()); }
};

class Table : public Wrapped<MAPITable> {
public:
    using Wrapped::Wrapped;
    void Columns(std::vector<PropTag> tags) override { real().Columns(std::move(tags)); }
    void Restrict(std::optional<Restriction> restriction) override {
        real().Restrict(std::move(restriction));
    }
    TableRows GetRows(size_t count) override { return real().GetRows(count); }
};

class Message : public WrappedProperties<RDOMessage> {
public:
    using WrappedProperties::WrappedProperties;
    EntryID ID() const override { return real().ID(); }
    std::string Subject() const override { return real().Subject(); }
    void SetSubject(std::string_view subject) override { real().SetSubject(subject); }
    std::string Body() const override { return real().Body(); }
    void SetBody(std::string_view body) override { real().SetBody(body); }
    std::string MessageClass() const override { return real().MessageClass(); }
    void SetMessageClass(std::string_view name) override { real().SetMessageClass(name); }
    Time CreationTime() const override { return real().CreationTime(); }
    Time LastModificationTime() const override { return real().LastModificationTime(); }
    std::shared_ptr<RDORecipients> Recipients() override { return wrap(real().Recipients()); }
    std::shared_ptr<RDOAttachments> Attachments() override { return real().Attachments(); }
    RDOStorePtr Store() const override { return wrap(real().Store()); }
    RDOFolderPtr Parent() const override { return wrap(real().Parent()); }
    void Save() override { real().Save(); }
    void Delete() override { real().Delete(); }
    void MoveTo(const RDOFolder& target) override { real().MoveTo(target); }
    void Send() override { real().Send(); }
};

} // namespace

RDOStorePtr Wrap(const Plan& plan, const RDOStorePtr& real) { return make<Store>(plan, real); }
RDOFolderPtr Wrap(const Plan& plan, const RDOFolderPtr& real) { return make<Folder>(plan, real); }
RDOFoldersPtr Wrap(const Plan& plan, const RDOFoldersPtr& real) {
    return make<Folders>(plan, real);
}
RDOItemsPtr Wrap(const Plan& plan, const RDOItemsPtr& real) { return make<Items>(plan, real); }
MAPITablePtr Wrap(const Plan& plan, const MAPITablePtr& real) { return make<Table>(plan, real); }
RDOMessagePtr Wrap(const Plan& plan, const RDOMessagePtr& real) {
    return make<Message>(plan, real);
}

} // namespace kr::failing
