#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/events/Events.h"
#include "platform/services/ChildProcess.h"
#include "platform/services/ServiceLink.h"

namespace kr {

struct ScmSettings {
    /// The worker and its arguments before the computer's name.
    std::vector<std::string> worker;
    SshSettings ssh;
};

/// The services of a Windows computer, through a worker process that speaks the service manager's
/// protocol: the libraries for it only know how to block. The worker lives as long as it answers in
/// time; one that is abandoned is killed and the next request gets another.
///
/// The protocol ends no processes: Kill runs taskkill over ssh, which ends all processes of that
/// program, and without an ssh server there nothing is ended.
std::unique_ptr<ServiceLink> MakeScmLink(Events& events, ScmSettings settings, std::string host);

/// The program kr-scm-worker: beside this one, or in its installation's libexec folder.
std::string FindScmWorker();

} // namespace kr
