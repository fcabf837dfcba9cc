#pragma once

#include <memory>
#include <string>

#include "platform/events/Events.h"
#include "platform/services/Services.h"

namespace kr {

/// The services of this computer through systemd on the system bus, or on the bus of another
/// address. A service's unit is "<service>.service". Control codes go to the service itself: the
/// agent owns the bus name org.zandrel.Agent and offers Control(u) on /org/zandrel/Agent, interface
/// org.zandrel.Agent1; the watchdog kRWatchdog has org.zandrel.Watchdog in the same manner.
///
/// Requests are carried out one after the other, each within 2000 ms from its turn. Other computers
/// answer that they can't be reached. Codes of Start and Stop are those of the Windows service
/// manager where one fits (5 denied, 1053 no answer in time, 1060 no such service, 1722 not
/// reachable), else errno. Start and Stop are done when systemd has taken the job.
std::unique_ptr<Services> MakeLocalServices(Events& events, std::string busAddress = {});

/// Services for a program that controls none: every request fails at once.
std::unique_ptr<Services> MakeNoServices();

} // namespace kr
