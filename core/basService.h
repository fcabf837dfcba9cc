#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// Service managers answer later. These wait for the answer while events run, so the caller's world
/// may have changed when they return: look up again what was held.
namespace kr {

/// How a service manager took an order. Code 0 is success, else the manager's own number.
struct ServiceResult {
    bool answered = false;
    long code = 0;
    std::string error;
    bool ok() const { return answered && code == 0; }
};

/// The state of a service on a host ("" is this computer); Failed when it can't be told.
SvcState QueryService(AgentSession& session, std::string_view host, std::string_view service);
ServiceResult StartService(AgentSession& session, std::string_view host, std::string_view service);
ServiceResult StopService(AgentSession& session, std::string_view host, std::string_view service);
/// Services::Kill; true when a process was ended.
bool KillService(AgentSession& session, std::string_view host, std::string_view service,
                 std::string_view program);

/// Lets events run for that time.
void RunEventsFor(AgentSession& session, std::chrono::milliseconds time);

} // namespace kr
