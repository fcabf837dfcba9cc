#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

namespace kr {

/// What frmLogon shows and decides, without any widget.
class LogonForm {
public:
    enum class Focus { None, Server, Alias, Profile };

    /// Profiles from the registry but those that begin with "CDO"; the session's logon data, else
    /// the machine-wide server and alias as a proposal.
    void Load(AgentSession& session);
    /// chkProfile was clicked: the fields of the other way are cleared.
    void SetUseProfile(bool use);
    /// OK follows the active fields.
    bool OkEnabled() const;
    /// "" when the data can be taken, else the message and the field that gets the focus.
    std::string Validate(Focus& focus) const;
    /// Into the session: a profile empties server and alias, and the other way round.
    void Apply(AgentSession& session) const;

    std::vector<std::string> profiles;
    std::string server;
    std::string alias;
    bool useProfile = false;
    std::string profile; // "" when none is selected
};

/// Writes a report on the logon to a file, one line for each step, and shows each step in the
/// status bar. False when the file can't be written; that is logged.
bool LogonDiagnostics(AgentSession& session, const std::string& path);

} // namespace kr
