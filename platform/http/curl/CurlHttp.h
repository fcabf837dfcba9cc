#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/events/Events.h"
#include "platform/http/Http.h"

namespace kr {

struct HttpOptions {
    /// A longer body ends the request, so that an endless answer can't fill the memory.
    int64_t longestBody = 64 << 20;
    /// Certificates to trust instead of the system's; a file in PEM form.
    std::string caFile;
    /// A synchronous request that drips ends then: nobody counts outside.
    std::chrono::seconds longestWait{120};
};

/// Web requests by libcurl on the program's own loop. All requests share their connections.
/// `events` must outlive the provider, and the provider its requests. `idle` runs while somebody
/// waits, so that windows stay alive.
std::unique_ptr<HttpProvider> MakeCurlHttp(Events& events, std::function<void()> idle,
                                           HttpOptions options = {});

} // namespace kr
