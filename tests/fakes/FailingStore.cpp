#include "tests/fakes/FailingStore.h"

#include "tests/fakes/FailingObjects.h"

namespace kr {

namespace {

using failing::Plan;
using failing::Wrap;
using failing::Wrapped;

class FailingStores : public Wrapped<RDOStores> {
public:
    using Wrapped::Wrapped;
    RDOStorePtr DefaultStore() const override { return wrap(real().DefaultStore()); }
    RDOStorePtr PublicStore() const override { return wrap(real().PublicStore()); }
    RDOFolderPtr AllPublicFolders() const override { return wrap(real().AllPublicFolders()); }
    std::vector<RDOStorePtr> All() const override {
        std::vector<RDOStorePtr> all;
        for (const RDOStorePtr& store : real().All())
            all.push_back(wrap(store));
        return all;
    }
};

class FailingSession : public Wrapped<RDOSession> {
public:
    using Wrapped::Wrapped;
    void Logon(std::string_view profile, std::string_view password, bool showDialog,
               bool newSession, int parentWindow) override {
        real().Logon(profile, password, showDialog, newSession, parentWindow);
    }
    void LogonExchangeMailbox(std::string_view alias, std::string_view server) override {
        real().LogonExchangeMailbox(alias, server);
    }
    bool LoggedOn() const override { return real().LoggedOn(); }
    void Logoff() override { real().Logoff(); }
    RDOStores& Stores() override {
        // the real one belongs to the session, so it is not deleted here
        std::shared_ptr<RDOStores> stores(&real().Stores(), [](RDOStores*) {});
        m_stores = std::make_unique<FailingStores>(m_plan, std::move(stores));
        return *m_stores;
    }
    RDOFolderPtr GetDefaultFolder(int number) override {
        return wrap(real().GetDefaultFolder(number));
    }
    AddressBookPtr GetAddressBook() override { return wrap(real().GetAddressBook()); }
    RDOMessagePtr GetMessageFromID(const EntryID& id, const EntryID& storeID) override {
        return wrap(real().GetMessageFromID(id, storeID));
    }
    RDOFolderPtr GetFolderFromID(const EntryID& id, const EntryID& storeID) override {
        return wrap(real().GetFolderFromID(id, storeID));
    }
    RDOStorePtr GetStoreFromID(const EntryID& id) override {
        return wrap(real().GetStoreFromID(id));
    }
    RDOStorePtr GetSharedMailbox(std::string_view address) override {
        return wrap(real().GetSharedMailbox(address));
    }
    AddressEntryPtr CurrentUser() override { return wrap(real().CurrentUser()); }
    std::string Version() const override { return real().Version(); }
    StoreChanges PollChanges() override { return real().PollChanges(); }
    bool StillThere() override { return real().StillThere(); }

private:
    std::unique_ptr<FailingStores> m_stores;
};

} // namespace

void FailPlan::set(int first, int last) {
    m_calls = 0;
    m_first = first;
    m_last = last;
    m_failed = false;
}

void FailPlan::Step() {
    ++m_calls;
    if (m_first == 0 || m_calls < m_first || m_calls > m_last)
        return;
    m_failed = true;
    throw PlatformError(MAPI_E_CALL_FAILED, std::string(kFailure), "FailingStore");
}

RDOSessionPtr FailingStore::CreateSession() {
    m_plan->Step();
    return std::make_shared<FailingSession>(m_plan, m_real.CreateSession());
}

std::shared_ptr<MailProfiles> FailingStore::CreateProfiles() {
    m_plan->Step();
    return Wrap(m_plan, m_real.CreateProfiles());
}

int ForEachFailure(const std::function<bool(const Arm& arm)>& attempt) {
    int runs = 0;
    bool came = true;
    for (int call = 1; came; ++call) {
        came = attempt([call](FailPlan& plan) { plan.FailAt(call); });
        attempt([call](FailPlan& plan) { plan.FailFrom(call); });
        runs += 2;
    }
    return runs;
}

} // namespace kr
