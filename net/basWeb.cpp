#include "net/basWeb.h"

#include "core/Keys.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr int kSlice = 10; // seconds
constexpr int kRounds = 12;
constexpr int kResolveLimit = 20'000, kConnectLimit = 20'000; // milliseconds
constexpr int kSendLimit = 30'000, kReceiveLimit = 30'000;

/// What stands at 0x80 to 0x9F in windows-1252; 0 where nothing does.
constexpr char32_t kUpperControls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char ansiOf(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return static_cast<char>(c);
    for (size_t i = 0; i < std::size(kUpperControls); ++i)
        if (kUpperControls[i] == c)
            return static_cast<char>(0x80 + i);
    return '?';
}

/// The next character of UTF-8; one byte of what is none.
char32_t nextCharacter(std::string_view text, size_t& at) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    if (more == 0 || at + static_cast<size_t>(more) > text.size())
        return lead < 0x80 ? lead : U'\xFFFD';
    char32_t c = lead & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
        const auto next = static_cast<unsigned char>(text[at]);
        if ((next & 0xC0U) != 0x80U)
            return U'\xFFFD';
        c = c << 6 | (next & 0x3FU);
        ++at;
    }
    return c;
}

void applyProxy(AgentSession& session, WebRequest& request, const ProxySettings& proxy) {
    const std::string number = std::to_string(proxy.setting);
    if (proxy.setting < 2) {
        session.log("CreateWebRequest:using proxy setting " + number);
        request.SetProxy(static_cast<ProxySetting>(proxy.setting));
        return;
    }
    request.SetProxy(ProxySetting::Named, proxy.server, proxy.bypass);
    session.log("CreateWebRequest:using proxy setting " + number + " with proxy=" + proxy.server +
                "; bypass=" + proxy.bypass + "; username=" + proxy.userName);
    if (!proxy.userName.empty())
        request.SetCredentials(proxy.userName, proxy.password, true);
}

} // namespace

ProxySettings GetProxySettings(AgentSession& session) {
    ProxySettings proxy;
    const auto read = [&] {
        const RDOMessagePtr agent = GetAgentMessage(session);
        if (!agent)
            return;
        proxy.setting = KeyNumber(*agent, "ProxySetting", 1);
        if (proxy.setting < 2)
            return;
        proxy.server = KeyText(*agent, "ProxyServer");
        proxy.bypass = KeyText(*agent, "ProxyBypass");
        const std::string user = KeyText(*agent, "Proxy1");
        if (user.empty())
            return;
        proxy.userName = session.platform.secrets.Decipher(user);
        proxy.password = session.platform.secrets.Decipher(KeyText(*agent, "Proxy2"));
    };
    Trap(read, [&](const Trapped& error) { session.log("GetProxySettings:" + error.description); });
    return proxy;
}

std::unique_ptr<WebRequest> CreateWebRequest(AgentSession& session, std::string_view method,
                                             std::string_view url, const ProxySettings* proxy) {
    return Trap(
        [&] {
            auto request = session.platform.http.CreateRequest();
            applyProxy(session, *request, proxy ? *proxy : GetProxySettings(session));
            request->SetTimeouts(kResolveLimit, kConnectLimit, kSendLimit, kReceiveLimit);
            request->Open(method, url, true);
            return request;
        },
        [&](const Trapped& error) {
            session.log("CreateWebRequest:error instantiating WinHTTP object " + error.description);
        });
}

bool WaitForWebResponse(AgentSession& session, WebRequest& request, std::string_view body) {
    const auto failed = [&](const std::string& why) {
        session.log("WaitForWebResponse:request failed: " + why);
    };
    return Trap(
        [&] {
            request.Send(body);
            for (int round = 1;; ++round) {
                const bool came = request.WaitForResponse(kSlice);
                session.ui().DoEvents();
                if (came)
                    return true;
                if (const auto why = request.Failure()) { // no round more would help
                    failed(*why);
                    return false;
                }
                if (round < kRounds)
                    continue;
                session.log("aborting submit after " + std::to_string(round * kSlice) + " seconds");
                request.Abort();
                return false;
            }
        },
        [&](const Trapped& error) { failed(error.description); });
}

void CanonizeProtocol(AgentSession& session, std::string& url) {
    if (url.find("://") != std::string::npos || IsFileSystemURL(url))
        return;
    session.log("CanonizeProtocol:appending http:// to " + url);
    url.insert(0, "http://");
}

bool IsFileSystemURL(std::string_view url) {
    return url.starts_with("\\\\") || StartsWithNoCase(url, "file://");
}

std::string StringToBytes(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (size_t at = 0; at < text.size();)
        bytes += ansiOf(nextCharacter(text, at));
    return bytes;
}

} // namespace kr
