#pragma once

#include <memory>

#include "platform/store/Store.h"
#include "tests/fakes/FailingStore.h"

/// The objects of FailingStore: each passes its calls on to the real one after counting them.
namespace kr::failing {

using Plan = std::shared_ptr<FailPlan>;

// What goes out of a failing object is a failing object again; nullptr stays nullptr.
RDOStorePtr Wrap(const Plan& plan, const RDOStorePtr& real);
RDOFolderPtr Wrap(const Plan& plan, const RDOFolderPtr& real);
RDOFoldersPtr Wrap(const Plan& plan, const RDOFoldersPtr& real);
RDOItemsPtr Wrap(const Plan& plan, const RDOItemsPtr& real);
MAPITablePtr Wrap(const Plan& plan, const MAPITablePtr& real);
RDOMessagePtr Wrap(const Plan& plan, const RDOMessagePtr& real);
std::shared_ptr<RDORecipients> Wrap(const Plan& plan, const std::shared_ptr<RDORecipients>& real);
std::shared_ptr<RDORecipient> Wrap(const Plan& plan, const std::shared_ptr<RDORecipient>& real);
AddressBookPtr Wrap(const Plan& plan, const AddressBookPtr& real);
std::shared_ptr<AddressList> Wrap(const Plan& plan, const std::shared_ptr<AddressList>& real);
std::shared_ptr<AddressEntries> Wrap(const Plan& plan, const std::shared_ptr<AddressEntries>& real);
AddressEntryPtr Wrap(const Plan& plan, const AddressEntryPtr& real);
std::shared_ptr<MailProfiles> Wrap(const Plan& plan, const std::shared_ptr<MailProfiles>& real);
MailProfilePtr Wrap(const Plan& plan, const MailProfilePtr& real);

template <class Interface>
class Wrapped : public Interface {
public:
    Wrapped(Plan plan, std::shared_ptr<Interface> object)
        : m_plan(std::move(plan)), m_real(std::move(object)) {}

protected:
    /// The object behind, each time a counted call.
    Interface& real() const {
        m_plan->Step();
        return *m_real;
    }
    template <class Ptr>
    Ptr wrap(const Ptr& object) const {
        return Wrap(m_plan, object);
    }

    Plan m_plan;
    std::shared_ptr<Interface> m_real;
};

/// A twin of a real object.
template <class Twin, class Interface>
std::shared_ptr<Interface> make(const Plan& plan, const std::shared_ptr<Interface>& real) {
    return real ? std::make_shared<Twin>(plan, real) : nullptr;
}

template <class Interface>
class WrappedProperties : public Wrapped<Interface> {
public:
    using Wrapped<Interface>::Wrapped;
    Value Fields(PropTag tag) const override { return this->real().Fields(tag); }
    void SetFields(PropTag tag, const Value& value) override { this->real().SetFields(tag, value); }
    PropTag GetIDsFromNames(std::string_view guid, std::string_view name) override {
        return this->real().GetIDsFromNames(guid, name);
    }
    std::vector<PropTag> PropList() const override { return this->real().PropList(); }
    std::optional<PropName> NameOf(PropTag tag) const override { return this->real().NameOf(tag); }
};

} // namespace kr::failing
