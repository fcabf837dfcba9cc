#pragma once

#include <memory>
#include <string>

#include "platform/events/Events.h"
#include "platform/registry/Registry.h"
#include "platform/services/HostProbe.h"
#include "platform/services/MakeServices.h"
#include "platform/services/ServiceLink.h"

namespace kr {

/// Another computer's link, made when its first request comes: as the registry says, else by what
/// the computer answers. What was found out is kept; a change of the registry is followed.
std::unique_ptr<ServiceLink> MakeRoutedLink(Events& events, Registry& registry,
                                            const ServiceOptions& options, std::string host);

} // namespace kr
