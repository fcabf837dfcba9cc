#pragma once

#include <gmock/gmock.h>

#include "core/Settings.h"
#include "core/basRegistry.h"
#include "hosts/AgentProps.h"
#include "tests/hosts/HostTest.h"

namespace kr {

/// AgentProps over a configured mailbox.
class AgentPropsTest : public ::testing::Test {
protected:
    AgentPropsTest() { world.LogOnConfigured(); }
    EntryID id() { return world.session->AgentMsgID; }
    AgentProps& load() {
        props = std::make_unique<AgentProps>(*world.session);
        props->GetParameters();
        return *props;
    }
    Value key(std::string_view name) { return hosts.Get(id(), name); }
    void put(std::string_view name, const Value& value) { hosts.Set(id(), name, value); }
    AgentFields& reload() { return load().fields; }
    void setRelay(const char* address) {
        RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "FaxRelay", address);
    }
    using Sent = FakeServices::Sent;

    World world;
    Hosts hosts{world};
    std::unique_ptr<AgentProps> props;
};

} // namespace kr
