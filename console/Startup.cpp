#include "console/Startup.h"

#include "core/Settings.h"
#include "core/Text.h"
#include "core/Version.h"

namespace kr {

namespace {

/// The value of a piece, or nothing when it begins with another word.
bool takeValue(std::string_view piece, std::string_view word, std::string& value) {
    if (!StartsWithNoCase(piece, word))
        return false;
    value = Trim(ReplaceAll(piece, word, ""));
    return true;
}

} // namespace

CommandLine ParseCommandLine(std::string_view line) {
    CommandLine result;
    if (line.find("init") != std::string_view::npos) {
        result.mode = StartMode::FirstRun;
        return result;
    }
    if (line.find("/server") == std::string_view::npos)
        return result;
    result.mode = StartMode::CommandLineLogon;
    for (const std::string& piece : Split(line, "/"))
        if (!takeValue(piece, "server", result.server))
            takeValue(piece, "alias", result.alias);
    return result;
}

void LogBanner(const Log& log) {
    const std::string line(10, '=');
    log.Write(line + "v." + std::to_string(kVersion.major) + "." + std::to_string(kVersion.minor) +
                  "." + std::to_string(kVersion.revision) + line,
              true);
}

CommandLine TakeCommandLine(AgentSession& session, std::string_view line) {
    CommandLine parsed = ParseCommandLine(line);
    session.FirstRun = parsed.mode == StartMode::FirstRun;
    if (session.FirstRun)
        session.log("FirstRun");
    else if (parsed.mode == StartMode::CommandLineLogon)
        session.log("Launched from command line: " + std::string(line));
    session.ExServer = parsed.server;
    session.ExAlias = parsed.alias;
    session.Profile.clear();
    session.versionFlag = IsVersionAtLeast32(kVersion);
    return parsed;
}

void TakeLogonData(AgentSession& session, const CommandLine& line) {
    Registry& registry = session.platform.registry;
    if (!line.server.empty() && !line.alias.empty()) {
        SaveSetting(registry, "ExServer", line.server);
        SaveSetting(registry, "ExAlias", line.alias);
        return;
    }
    if (session.FirstRun)
        return;
    session.ExServer = TextSetting(registry, "ExServer");
    session.ExAlias = TextSetting(registry, "ExAlias");
    session.Profile = TextSetting(registry, "Profile");
}

bool HasLogonData(const AgentSession& session) {
    return !session.Profile.empty() || (!session.ExServer.empty() && !session.ExAlias.empty());
}

} // namespace kr
