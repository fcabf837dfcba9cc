#pragma once

#include <string>

#include "hosts/HostForms.h"

namespace kr {

class Console;
class ServerList;

/// The row that a command acts on, kept while events run.
struct SelectedServer {
    std::string key; // of the row: the host message's entry id
    std::string name;
    bool running = false; // the image says so
};

/// mnuServerStart, mnuServerStop, mnuServerRestart: the agent's service on that server.
void StartServer(Console& console, ServerList& list, const HostForms& forms,
                 const SelectedServer& server);
void StopServer(Console& console, ServerList& list, const HostForms& forms,
                const SelectedServer& server);
void RestartServer(Console& console, ServerList& list, const HostForms& forms,
                   const SelectedServer& server);

} // namespace kr
