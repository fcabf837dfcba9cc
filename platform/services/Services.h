#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kr {

/// States of a service by the numbers of the Windows service manager; -1 when it can't be told.
enum class SvcState {
    Failed = -1,
    Stopped = 1,
    StartPending = 2,
    StopPending = 3,
    Running = 4,
    ContinuePending = 5,
    PausePending = 6,
    Paused = 7
};

/// Service managers of the agent servers. Calls for one host are carried out in order; none blocks,
/// each has a deadline of 2000 ms. `host` is a name with or without "\\" in front; empty means this
/// computer. Callbacks come on the user-interface thread.
class Services {
public:
    virtual ~Services() = default;
    /// `error` is empty when the state is known; "no such service" leaves state Failed.
    virtual void Query(std::string_view host, std::string_view service,
                       std::function<void(SvcState, const std::string& error)> done) = 0;
    /// Code 0 on success, else the manager's own number with its text.
    virtual void Start(std::string_view host, std::string_view service,
                       std::function<void(long code, const std::string& error)> done) = 0;
    virtual void Stop(std::string_view host, std::string_view service,
                      std::function<void(long code, const std::string& error)> done) = 0;
    /// A user-defined control code; fire and forget.
    virtual void Control(std::string_view host, std::string_view service, int code) = 0;
    /// Ends a service's process at once. Where the manager knows services by their processes
    /// (systemd) it is the unit's main process; elsewhere (Windows) all processes of that program
    /// ("zagent.exe"), which needs an ssh server there. False when there is none, or no way.
    virtual void Kill(std::string_view host, std::string_view service, std::string_view program,
                      std::function<void(bool ended)> done) = 0;
    /// Something is still under way; waiting loops run events until it is not.
    virtual bool Busy() const = 0;
};

} // namespace kr
