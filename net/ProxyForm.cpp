#include "net/ProxyForm.h"

#include <algorithm>

#include "core/Keys.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "net/basWeb.h"

namespace kr {

namespace {

constexpr std::string_view kHttp = "http=", kHttps = "https=";

std::string joined(const std::vector<std::string>& list) {
    std::string text;
    for (const std::string& element : list)
        text += (text.empty() ? "" : ";") + element;
    return text;
}

} // namespace

void ProxyForm::Load(AgentSession& session) {
    const RDOMessagePtr agent = GetAgentMessage(session);
    if (!agent || GetKey(*agent, "ProxySetting").empty()) {
        session.log("frmProxy: no existing proxy settings, defaulting to direct connection");
        return;
    }
    const ProxySettings settings = GetProxySettings(session);
    session.log("frmProxy: loading proxy settings " + std::to_string(settings.setting));
    option = std::clamp(settings.setting, 0, 2);
    if (option != 2)
        return;
    readServer(settings.server);
    AddBypass(settings.bypass);
    changed = false;
    identity = !settings.userName.empty();
    userName = settings.userName;
    password = settings.password;
}

void ProxyForm::readServer(std::string_view server) {
    for (const std::string& element : Split(server, " ")) {
        if (StartsWithNoCase(element, kHttps))
            https = element.substr(kHttps.size());
        else if (StartsWithNoCase(element, kHttp))
            http = element.substr(kHttp.size());
        else if (!element.empty())
            http = element;
    }
}

std::string_view ProxyForm::Notice() const {
    if (option == 0)
        return "ProxyCfg settings are stored in the registry so they must be created on each "
               "machine running the zandrelAgent service.";
    return option == 2 ? "These settings will be shared by all zandrelAgent servers" : "";
}

std::string ProxyForm::CheckAddress(std::string_view text) {
    if (Trim(text).find_first_of("; ") == std::string::npos)
        return {};
    return "You can only enter a single proxy in this field.\r\n"
           "Use ProxyCfg if you need to supply a delimited list.";
}

std::vector<std::string> ProxyForm::AddBypass(std::string_view typed) {
    std::string text(typed);
    std::ranges::replace_if(
        text, [](char c) { return c == ',' || c == ' '; }, ';');
    std::vector<std::string> repeated;
    for (const std::string& part : Split(text, ";")) {
        const std::string element(Trim(part));
        if (element.empty())
            continue;
        const auto same = [&](const std::string& known) { return EqualNoCase(known, element); };
        if (std::ranges::any_of(bypass, same)) {
            repeated.push_back(element);
        } else {
            bypass.push_back(element);
            changed = true;
        }
    }
    return repeated;
}

std::string ProxyForm::ProxyServer() const {
    const std::string first(Trim(http)), second(Trim(https));
    if (second.empty())
        return first;
    const std::string secure = std::string(kHttps) + second;
    return first.empty() ? secure : std::string(kHttp) + first + " " + secure;
}

std::string ProxyForm::checkIdentity(Focus& focus) {
    const size_t at = userName.find('\\');
    if (at == std::string::npos || at == 0 || at + 1 == userName.size()) {
        focus = Focus::UserName;
        return "'" + userName + "' is not in the form 'Domain\\Username'!";
    }
    focus = Focus::Password;
    if (password.empty())
        return "You must supply a password!";
    if (passwordTyped && password != confirmation) {
        password.clear();
        confirmation.clear();
        return "Passwords do not match!";
    }
    focus = Focus::None;
    return {};
}

std::string ProxyForm::Save(AgentSession& session, Focus& focus) {
    focus = Focus::None;
    if (!changed)
        return {};
    const std::string server = ProxyServer();
    if (option == 2 && server.empty()) {
        focus = Focus::Http;
        return "You must supply the address of a proxy server!";
    }
    if (identity)
        if (std::string refusal = checkIdentity(focus); !refusal.empty())
            return refusal;
    std::string failure;
    Trap(
        [&] {
            const RDOMessagePtr agent = GetAgentMessage(session);
            if (!agent)
                throw PlatformError(MAPI_E_NOT_FOUND, "the agent message is not there");
            SetKey(*agent, "ProxySetting", static_cast<int16_t>(option));
            if (option == 2) {
                SetKey(*agent, "ProxyServer", server);
                SetKey(*agent, "ProxyBypass", joined(bypass));
            }
            SetKey(*agent, "Proxy1", identity ? userName : std::string());
            SetKey(*agent, "Proxy2",
                   identity ? session.platform.secrets.Encipher(password) : std::string());
            session.log("frmProxy: saving configuration changes");
            agent->Save();
        },
        [&](const Trapped& error) {
            session.log("frmProxy: " + error.text());
            failure = "Unable to save the proxy settings: " + error.description;
        });
    changed = changed && !failure.empty();
    return failure;
}

} // namespace kr
