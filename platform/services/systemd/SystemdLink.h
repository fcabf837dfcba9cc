#pragma once

#include <memory>
#include <string>

#include "platform/events/Events.h"
#include "platform/services/ServiceLink.h"
#include "platform/services/systemd/BusConnection.h"

namespace kr {

/// The services of a computer under systemd. A service's unit is "<service>.service". Control codes
/// go to the service itself: the agent owns the bus name org.zandrel.Agent and offers Control(u) on
/// /org/zandrel/Agent, interface org.zandrel.Agent1; the watchdog kRWatchdog has
/// org.zandrel.Watchdog in the same manner. Start and Stop are done when systemd has taken the job.
/// Kill sends SIGKILL to the unit's main process; the program's name isn't needed.
///
/// `computer` names it in messages: "this computer", "MAIL01".
std::unique_ptr<ServiceLink> MakeSystemdLink(Events& events, BusPlace place, std::string computer);

} // namespace kr
