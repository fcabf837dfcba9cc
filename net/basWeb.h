#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// All web requests of the console pass through here. A failure never reaches the person: callers
/// log, and give false or nothing.
namespace kr {

/// The proxy keys of the agent message, with user name and password in clear.
struct ProxySettings {
    int setting = 1; // 0 as preconfigured, 1 direct, 2 and above the proxy named here
    std::string server;
    std::string bypass; // joined by ";"
    std::string userName;
    std::string password;
};
ProxySettings GetProxySettings(AgentSession& session);

/// An open, asynchronous request with the agent's proxy and time-outs; nullptr when none can be
/// made, with the reason in the log. Long work reads the proxy settings once and hands them over.
std::unique_ptr<WebRequest> CreateWebRequest(AgentSession& session, std::string_view method,
                                             std::string_view url,
                                             const ProxySettings* proxy = nullptr);
/// Sends the body and waits, in slices of ten seconds, at most 120 seconds. False without a
/// response: the request was aborted then, or had failed.
bool WaitForWebResponse(AgentSession& session, WebRequest& request, std::string_view body = {});

/// Puts "http://" in front of a URL without a protocol.
void CanonizeProtocol(AgentSession& session, std::string& url);
/// A path on a server ("\\...") or a URL of a file.
bool IsFileSystemURL(std::string_view url);
/// One byte for each character, in windows-1252; "?" for what that doesn't have.
std::string StringToBytes(std::string_view text);

} // namespace kr
