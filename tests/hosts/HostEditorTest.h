#pragma once

#include <memory>

#include "core/basDate.h"
#include "hosts/HostEditor.h"
#include "tests/hosts/HostTest.h"

namespace kr {

/// A host editor over a configured mailbox with one host, "SRVA".
class HostEditorTest : public ::testing::Test {
protected:
    HostEditorTest() {
        world.LogOnConfigured();
        id = hosts.Add("SRVA");
    }
    HostEditor& load() {
        editor = std::make_unique<HostEditor>(*world.session);
        EXPECT_TRUE(editor->Load(id));
        return *editor;
    }
    HostStop save(HostTab current = HostTab::Configuration) { return editor->SaveHost(current); }
    Value key(std::string_view name) { return hosts.Get(id, name); }
    Time local() { return UTCToLocal(world.clock.now(), world.clock); }
    Time utc(Time time) { return LocalToUTC(time, world.clock); }
    void put(std::string_view name, const Value& value) { hosts.Set(id, name, value); }
    using Sent = FakeServices::Sent;

    World world;
    Hosts hosts{world};
    EntryID id;
    std::unique_ptr<HostEditor> editor;
};

} // namespace kr
