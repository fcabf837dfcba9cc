#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/services/Services.h"

namespace kr {

struct ServiceRequest {
    enum class Kind { Query, Start, Stop, Control, Kill };
    Kind kind = Kind::Query;
    std::string service;
    std::string program; // Kill
    uint32_t control = 0;
};

struct ServiceAnswer {
    long code = 0; // 0 is success, else a number of the Windows service manager or errno
    std::string error;
    SvcState state = SvcState::Failed; // Query
    bool ended = false;                // Kill
};

/// Numbers of the Windows service manager.
enum ServiceCode : long {
    ServiceDenied = 5,
    ServiceNoAnswer = 1053,
    ServiceUnknown = 1060,
    ServiceNotReachable = 1722
};

inline constexpr std::string_view kNoSuchService = "no such service";

/// The way to one computer's service manager. It carries out one request at a time and never
/// blocks; how long a request may take is the caller's business.
class ServiceLink {
public:
    using Done = std::function<void(const ServiceAnswer&)>;

    virtual ~ServiceLink() = default;
    /// `done` comes while events run, never from within Begin.
    virtual void Begin(const ServiceRequest& request, Done done) = 0;
    /// Drops the request under way: its `done` doesn't come.
    virtual void Abandon() = 0;
    /// The other side has been heard of.
    virtual bool Connected() const = 0;
};

} // namespace kr
