#pragma once

#include <functional>
#include <memory>

#include "platform/store/Store.h"

namespace kr {

/// Which call of the store fails. Calls are counted from 1 over everything that a session hands
/// out: stores, folders, items, tables, messages, the address book and its entries.
class FailPlan {
public:
    /// That one call fails and the next ones work again; 0: none.
    void FailAt(int call) { set(call, call); }
    /// That call and all after it fail, as when the server has gone.
    void FailFrom(int call) { set(call, kForever); }
    /// Calls since the last of the two above.
    int Calls() const { return m_calls; }
    bool Failed() const { return m_failed; }
    /// Counts a call; throws when it is one that fails.
    void Step();

private:
    static constexpr int kForever = 1 << 30;
    void set(int first, int last);

    int m_calls = 0;
    int m_first = 0;
    int m_last = 0;
    bool m_failed = false;
};

/// The description of each failure.
inline constexpr std::string_view kFailure = "The network is not available.";

/// The failing twin of a store: works through the real one until the plan's call.
class FailingStore : public StoreLibrary {
public:
    explicit FailingStore(StoreLibrary& real) : m_real(real) {}
    RDOSessionPtr CreateSession() override;
    std::shared_ptr<MailProfiles> CreateProfiles() override;
    FailPlan& plan() { return *m_plan; }

private:
    StoreLibrary& m_real;
    std::shared_ptr<FailPlan> m_plan = std::make_shared<FailPlan>();
};

/// Runs `attempt` with the first call failing, then the second, and so on until a run ends before
/// its call came; each alone, and with all that follow failing too. `attempt` makes its world, arms
/// the plan by `arm`, and tells whether the failure came; its own assertions judge. Gives the
/// number of runs.
using Arm = std::function<void(FailPlan&)>;
int ForEachFailure(const std::function<bool(const Arm& arm)>& attempt);

} // namespace kr
