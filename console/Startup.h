#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// What decides how a run begins: the command line, and the stored logon data.
namespace kr {

enum class StartMode { FirstRun, CommandLineLogon, Normal };

/// The command line as one string, split at "/".
struct CommandLine {
    StartMode mode = StartMode::Normal;
    std::string server;
    std::string alias;
};

/// "init" anywhere (exact in case) makes a first run and wins over "/server" (exact in case). Of a
/// piece that begins with "server" or "alias", case ignored, the lower-case word is taken out
/// wherever it stands, deliberately also within a server's name, and the rest is the value.
CommandLine ParseCommandLine(std::string_view line);

/// The banner that opens a run in the log, without time stamp.
void LogBanner(const Log& log);
/// Sets the session's mode and logon data from the command line, logging which mode it is.
CommandLine TakeCommandLine(AgentSession& session, std::string_view line);
/// Form_Load's part: a server and an alias from the line are stored as the person's logon data;
/// else, unless the wizard is to run, the stored data replace what the line gave.
void TakeLogonData(AgentSession& session, const CommandLine& line);
/// True when there is a profile, or a server and an alias.
bool HasLogonData(const AgentSession& session);

} // namespace kr
