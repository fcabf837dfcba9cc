#pragma once

#include <QProcess>
#include <string>
#include <vector>

namespace kr::journeys {

/// This computer as an agent server: the stand-in of the agent as a service on a bus of its own, to
/// which the environment leads from now on. It ends with this object, or with the program.
class AgentServer {
public:
    /// `options` go to the agent; what it says is written to `log`. Throws Failure.
    AgentServer(const std::vector<std::string>& options, const std::string& log);
    ~AgentServer();

private:
    QProcess m_world;
};

/// Ends the process of the agent to which the environment leads, at once, as a crash does. Throws
/// Failure.
void KillAgent();

/// By which its host message and its row are called.
std::string ThisHost();

} // namespace kr::journeys
