#pragma once

#include <string>
#include <vector>

#include "core/AgentSession.h"

namespace kr {

/// What frmProxy shows and writes, without its window.
struct ProxyForm {
    enum class Focus { None, Option, Http, Https, UserName, Password };
    static constexpr std::string_view kOptions[] = {"Follow settings defined by ProxyCfg",
                                                    "Connect directly, do not use a proxy",
                                                    "Use proxy settings as defined here"};

    int option = 1;
    std::string http, https;
    std::vector<std::string> bypass;
    bool identity = false;
    std::string userName, password, confirmation;
    bool changed = false;
    bool passwordTyped = false;

    /// Reads the keys of the agent message, and logs what there is.
    void Load(AgentSession& session);
    /// The text below the options.
    std::string_view Notice() const;
    bool FieldsEnabled() const { return option == 2; }
    /// "" when the text of a proxy field is one address, else the refusal.
    static std::string CheckAddress(std::string_view text);
    /// Adds each element of what was typed; gives those that are in the list already.
    std::vector<std::string> AddBypass(std::string_view typed);
    std::string ProxyServer() const;
    /// Checks and writes in the order of the dialog, and saves the agent message. The refusal where
    /// there is one; an empty one and Focus::None when all is written or nothing had changed.
    std::string Save(AgentSession& session, Focus& focus);

private:
    void readServer(std::string_view server);
    std::string checkIdentity(Focus& focus);
};

} // namespace kr
