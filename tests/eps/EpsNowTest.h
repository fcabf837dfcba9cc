#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "core/basStore.h"
#include "eps/EpsNow.h"
#include "tests/support/World.h"

namespace kr {

inline constexpr const char* kOnDemandKeys[] = {
    "EPS.OnDemand.UseCachedData",   "EPS.OnDemand.FullUpdate",
    "EPS.OnDemand.RemoveObsolete",  "EPS.OnDemand.SendUpdates",
    "EPS.OnDemand.UseTargetList",   "EPS.OnDemand.TargetList",
    "EPS.OnDemand.TargetNames",     "EPS.OnDemand.NoSummary",
    "EPS.OnDemand.MergeEmailDupes", "EPS.ReportOnly",
    "EPS.ReportOnly.Admin",         "EPS.ReportOnly.User"};

/// A world with one server.
class EpsNowTest : public ::testing::Test {
protected:
    EpsNowTest() {
        world.LogOnConfigured();
        const auto host = world.session->agentInfo->Items()->Add("zandrel.Host");
        host->SetSubject("SRVA");
        host->Save();
        id = host->ID();
    }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr host() { return session().rdo->GetMessageFromID(id, {}); }
    void put(std::string_view key, const Value& value) {
        const auto record = host();
        SetKey(*record, key, value);
        record->Save();
    }
    Value key(std::string_view name) { return GetKey(*host(), name); }
    bool untouched() {
        const auto record = host();
        return std::ranges::all_of(kOnDemandKeys,
                                   [&](const char* name) { return GetKey(*record, name).empty(); });
    }

    World world;
    EntryID id;
};

} // namespace kr
