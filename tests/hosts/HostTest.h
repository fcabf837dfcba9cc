#pragma once

#include <gtest/gtest.h>

#include <set>

#include "core/basStore.h"
#include "hosts/HostKinds.h"
#include "hosts/basHosts.h"
#include "tests/console/ConsoleTest.h"

namespace kr {

/// A network in which some hosts are silent; each ping is counted.
class PingShell : public FakeShell {
public:
    std::set<std::string, std::less<>> silent;
    std::vector<std::string> pinged;
    PingReport last;
    /// Runs while a ping waits.
    std::function<void(std::string_view host)> onPing;
    /// The answers to PingAll wait for Release, as those of a network do.
    bool hold = false;

    bool Ping(std::string_view host) override {
        pinged.emplace_back(host);
        if (onPing)
            onPing(host);
        const bool answers = !silent.contains(host);
        last = answers ? PingReport{} : PingReport{PingOutcome::TimedOut, 0};
        return answers;
    }
    PingReport LastPing() const override { return last; }
    void PingAll(const std::vector<std::string>& hosts, const PingDone& done) override {
        if (!hold)
            return Shell::PingAll(hosts, done);
        for (size_t i = 0; i < hosts.size(); ++i) {
            pinged.push_back(hosts[i]);
            m_held.emplace_back(hosts[i], [=, name = hosts[i], this] {
                done(i,
                     silent.contains(name) ? PingReport{PingOutcome::TimedOut, 0} : PingReport{});
            });
        }
    }
    /// Lets the answers of that host come; of all where none is named.
    void Release(std::string_view host = {}) {
        auto held = std::exchange(m_held, {});
        for (auto& [name, answer] : held)
            if (host.empty() || name == host)
                answer();
            else
                m_held.emplace_back(name, answer);
    }

private:
    std::vector<std::pair<std::string, std::function<void()>>> m_held;
};

inline Time at(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    return std::chrono::sys_days{std::chrono::year{year} / month / day} + std::chrono::hours(hour) +
           std::chrono::minutes(minute);
}

/// Host messages in a World.
class Hosts {
public:
    explicit Hosts(World& world) : m_world(world) {}

    EntryID Add(const std::string& name) {
        auto host = m_world.session->agentInfo->Items()->Add("zandrel.Host");
        host->SetSubject(name);
        host->Save();
        return host->ID();
    }
    RDOMessagePtr Open(const EntryID& id) { return m_world.session->rdo->GetMessageFromID(id, {}); }
    void Set(const EntryID& id, std::string_view key, const Value& value) {
        auto host = Open(id);
        SetKey(*host, key, value);
        host->Save();
    }
    Value Get(const EntryID& id, std::string_view key) { return GetKey(*Open(id), key); }

private:
    World& m_world;
};

/// As many turns as a pass over the servers takes whose answers are there.
inline void RunTurns(Events& events) {
    constexpr int kTurns = 60;
    for (int i = 0; i < kTurns; ++i)
        events.Run(std::chrono::milliseconds(0));
}

/// A console with the kinds of servers, scripted dialogs and a network of its own.
class HostConsoleTest : public ::testing::Test {
protected:
    HostConsoleTest()
        : platform{*world.store,   *world.registry, world.ui,   *world.events,
                   world.services, world.directory, shell,      world.database,
                   world.http,     world.secrets,   world.clock} {
        world.session = std::make_unique<AgentSession>(platform, world.logPath());
        world.LogOnConfigured();
        console = std::make_unique<Console>(*world.session, view);
        view.console = console.get();
        RegisterFixedKinds(*console);
        forms.frmHost = [this](const EntryID& id) {
            shown.push_back("frmHost " + id.text());
            return hostSaved;
        };
        forms.frmTasks = [this](const EntryID& id, const std::string& name,
                                const std::function<bool()>& running,
                                std::function<void()> refresh) {
            shown.push_back("frmTasks " + id.text() + " " + name + (running() ? " on" : " off"));
            refresh();
        };
        forms.frmServiceStatus = [this](const std::string& machine, SvcState target,
                                        const std::string& caption) {
            shown.push_back("frmServiceStatus " + machine + " " +
                            std::to_string(static_cast<int>(target)) + " " + caption);
            if (whileWaiting)
                whileWaiting();
        };
        world.services.states["zandrelAgent"] = SvcState::Running;
    }
    void registerKinds() {
        RegisterHostKinds(*console, forms);
        console->LoadTreeRoot();
    }
    void showServers() {
        console->GoToNode("serverroot");
        runEvents();
    }
    void runEvents() { RunTurns(*world.events); }
    /// Lets the answers to pings come, see PingShell.
    void release(std::string_view host = {}) {
        shell.Release(host);
        runEvents();
    }
    void tick() {
        console->TaskTick();
        runEvents();
    }
    const ListRow& row(const EntryID& id) {
        const size_t place = console->list().Find(id.text());
        EXPECT_NE(place, ListModel::npos);
        return console->list().At(place);
    }
    Names names() {
        Names all;
        for (size_t i = 0; i < console->list().Count(); ++i)
            all.push_back(console->list().At(i).texts[0]);
        return all;
    }
    void select(const EntryID& id) {
        view.selection = {console->list().Find(id.text())};
        console->SelectionChanged();
    }
    using Sent = FakeServices::Sent;

    World world;
    PingShell shell;
    Platform platform;
    Hosts hosts{world};
    FakeView view;
    HostForms forms;
    std::unique_ptr<Console> console;
    std::vector<std::string> shown;
    std::function<void()> whileWaiting;
    bool hostSaved = true;
};

} // namespace kr
