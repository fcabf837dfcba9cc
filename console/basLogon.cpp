#include "console/basLogon.h"

#include <algorithm>

#include "core/Settings.h"
#include "core/Text.h"
#include "core/basProfiles.h"

namespace kr {

void LogonForm::Load(AgentSession& session) {
    Registry& registry = session.platform.registry;
    profiles = ListProfiles(registry);
    std::erase_if(profiles, [](const std::string& name) { return StartsWithNoCase(name, "CDO"); });
    if (session.ExServer.empty()) {
        server = Trim(MachineValue(registry, "ExServer"));
        alias = Trim(MachineValue(registry, "ExAlias"));
    } else {
        server = session.ExServer;
        alias = session.ExAlias;
    }
    // the list is in lower case, and so is what was taken from it
    const bool listed = std::ranges::find(profiles, session.Profile) != profiles.end();
    if (session.Profile.empty() || !listed)
        return;
    SetUseProfile(true);
    profile = session.Profile;
}

void LogonForm::SetUseProfile(bool use) {
    useProfile = use;
    if (use) {
        server.clear();
        alias.clear();
    } else {
        profile.clear();
    }
}

bool LogonForm::OkEnabled() const {
    return useProfile ? !profile.empty() : !server.empty() && !alias.empty();
}

std::string LogonForm::Validate(Focus& focus) const {
    focus = Focus::None;
    if (useProfile) {
        if (!profile.empty())
            return {};
        focus = Focus::Profile;
        return "You must select a profile";
    }
    if (Trim(server).empty()) {
        focus = Focus::Server;
        return "You must enter the server name.";
    }
    if (Trim(alias).empty()) {
        focus = Focus::Alias;
        return "You must enter the mailbox alias.";
    }
    return {};
}

void LogonForm::Apply(AgentSession& session) const {
    session.Profile = useProfile ? profile : "";
    session.ExServer = useProfile ? "" : Trim(server);
    session.ExAlias = useProfile ? "" : Trim(alias);
}

} // namespace kr
