#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// The three senders to an MDS push server. Each sends one request; none retries, and success means
/// no more than that the server took it.
namespace kr {

struct ProxySettings;

/// "host:port", or "host:port|" and the base64 of "principal:credentials".
struct PushAddress {
    std::string host;
    /// Nothing without a "|"; it may be empty behind one.
    std::optional<std::string> credential;
    explicit PushAddress(std::string_view text);
};

// Values of X-RIM-Push-Type.
inline constexpr std::string_view kBrowserMessage = "Browser-Message";
inline constexpr std::string_view kBrowserChannel = "Browser-Channel";
inline constexpr std::string_view kBrowserContent = "Browser-Content";
inline constexpr std::string_view kBrowserChannelDelete = "Browser-Channel-Delete";

/// One push of browser content.
struct MdsPush {
    std::string pushServer;  // a push address
    std::string destination; // PIN or SMTP address, sent as it stands
    std::string pushType;
    std::string title;
    std::string contentUrl;
    std::string channelId;
    std::string description;
    bool cache = false;   // send Cache-Control
    std::string readIcon; // URL, or ""
    std::string unreadIcon;
    int32_t expireDays = 0;
    std::string body;
    std::string contentType; // of the body, or ""
    std::string notifyUrl;   // for delivery notices, or ""
};

/// True for status 200. `result` becomes "<status>:<text>" or "timed out", and stays where no
/// request could be made. A run of many pushes reads the proxy settings once and hands them over.
bool PushToMDS(AgentSession& session, const MdsPush& push, std::string& result,
               const ProxySettings* proxy = nullptr);

/// Payloads for the application on the handheld, one byte a character. True for status 200;
/// PushPDL also tells the person then.
bool PushPDL(AgentSession& session, std::string_view pushServer, std::string_view destination,
             std::string_view payload);
bool PushMPL(AgentSession& session, std::string_view pushServer, std::string_view destination,
             std::string_view payload);

} // namespace kr
