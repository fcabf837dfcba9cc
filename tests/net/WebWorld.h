#pragma once

#include <memory>

#include "platform/http/curl/CurlHttp.h"
#include "tests/support/World.h"

namespace kr {

/// A world whose web requests are real ones; logged on and configured.
struct WebWorld : World {
    explicit WebWorld(HttpOptions options = {})
        : web(MakeCurlHttp(*events, {}, std::move(options))) {
        session.reset();
        platform =
            std::make_unique<Platform>(Platform{*store, *registry, ui, *events, services, directory,
                                                shell, database, *web, secrets, clock});
        session = std::make_unique<AgentSession>(*platform, logPath());
        LogOnConfigured();
    }
    ~WebWorld() {
        session.reset();
        platform.reset();
    }
    std::unique_ptr<HttpProvider> web;
};

} // namespace kr
