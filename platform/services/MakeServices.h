#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/events/Events.h"
#include "platform/registry/Registry.h"
#include "platform/services/Services.h"

namespace kr {

struct ServiceOptions {
    std::string busAddress; // "": the system bus
    std::string sshProgram = "ssh";
    std::vector<std::string> sshArguments; // before the computer's name
    std::string scmWorker;                 // "": the installed kr-scm-worker
    std::vector<std::string> scmArguments; // before the computer's name
    uint16_t sshPort = 22;                 // that are probed
    uint16_t smbPort = 445;
};

/// The services of all computers. This computer's are reached through systemd on the system bus.
/// Another's as the machine-wide registry value Transport of its key says (see HostSettings.h):
/// systemd over ssh, or the Windows service manager. Without that value its ports 445 and 22 are
/// tried, and what they show holds for this run.
///
/// Requests for one computer are carried out one after the other, each within 2000 ms from its
/// turn; no computer waits for another. Codes of Start and Stop are those of the Windows service
/// manager where one fits (5 denied, 1053 no answer in time, 1060 no such service, 1722 not
/// reachable), else errno. Start and Stop are done when the manager has taken the job.
std::unique_ptr<Services> MakeServices(Events& events, Registry& registry,
                                       ServiceOptions options = {});

} // namespace kr
