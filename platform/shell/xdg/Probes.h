#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/events/Events.h"
#include "platform/shell/Shell.h"

/// The ways of asking a host for a sign of life.
namespace kr {

/// One host that is being asked; what it holds is released with it.
class Probe {
public:
    virtual ~Probe() = default;
    /// How it ended, once that is known. It sets no deadline of its own.
    virtual std::optional<PingReport> Result() = 0;
};

/// True when this computer grants an ICMP socket, an unprivileged or a raw one.
bool CanEcho(bool raw);
bool HasPingProgram();

/// `sequence` tells its answer from those to other requests of this program.
std::unique_ptr<Probe> MakeEchoProbe(Events& events, in_addr address, bool raw, uint16_t sequence);
/// The `ping` program, found along PATH.
std::unique_ptr<Probe> MakeProgramProbe(const std::string& program, in_addr address);
/// Connections to a few ports; a refusal is a sign of life.
std::unique_ptr<Probe> MakePortsProbe(Events& events, in_addr address);

} // namespace kr
