#include "push/basMDS.h"

#include <array>
#include <chrono>
#include <cstdio>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDate.h"
#include "net/basWeb.h"

namespace kr {

namespace {

constexpr int kBrowserPort = 7874;
constexpr int kApplicationPort = 8765;

std::string pushUrl(const PushAddress& address, std::string_view destination, int port) {
    return "http://" + address.host + "/push?DESTINATION=" + std::string(destination) +
           "&PORT=" + std::to_string(port) + "&REQUESTURI=/";
}

/// A header that can't be set is left out; the others go on.
void setHeader(WebRequest& request, std::string_view name, std::string_view value) {
    TrapSilently([&] { request.SetRequestHeader(name, value); });
}

/// The text without that part, in whatever case of letters.
std::string without(std::string text, std::string_view part) {
    for (size_t at = ToLower(text).find(part); at != std::string::npos;
         at = ToLower(text).find(part, at))
        text.erase(at, part.size());
    return text;
}

/// The address without its scheme, "@", and the milliseconds since the machine started.
std::string pushId(std::string_view contentUrl) {
    const auto ticks = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
    return without(without(std::string(contentUrl), "http://"), "https://") + "@" +
           std::to_string(ticks.count());
}

/// The seconds of those days in 32 bits; nothing where they don't fit.
std::optional<std::string> maxAge(int32_t days) {
    const int64_t seconds = int64_t{days} * 60 * 60 * 24;
    if (seconds != static_cast<int32_t>(seconds))
        return std::nullopt;
    return "max-age=" + std::to_string(seconds);
}

/// "Tue, 10 Mar 2026 09:30:00 GMT"
std::string httpDate(Time utc) {
    static constexpr std::array kDays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    SystemTime t;
    DateToSystemTime(utc, t);
    const std::chrono::weekday day{std::chrono::floor<std::chrono::days>(utc)};
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  kDays.at(day.c_encoding()), t.day, kMonths.at(t.month - 1U), t.year, t.hour,
                  t.minute, t.second);
    return text.data();
}

/// Which headers a type of push has, in their order.
struct TypeHeaders {
    std::string_view type;
    bool location, title, channel, icons;
};
constexpr TypeHeaders kTypes[] = {{kBrowserMessage, true, true, false, false},
                                  {kBrowserChannel, true, true, true, true},
                                  {kBrowserContent, true, false, false, false},
                                  {kBrowserChannelDelete, false, false, true, false}};

void setIcon(AgentSession& session, WebRequest& request, std::string_view which,
             const std::string& url) {
    if (url.empty())
        return;
    session.log("PushToMDS:sending " + std::string(which) + "Icon URL " + url);
    setHeader(request, "X-RIM-Push-" + std::string(which) + "-Icon-URL", url);
}

void setTypeHeaders(AgentSession& session, WebRequest& request, const MdsPush& push) {
    for (const TypeHeaders& type : kTypes) {
        if (type.type != push.pushType)
            continue;
        if (type.location)
            setHeader(request, "Content-Location", push.contentUrl);
        if (type.title) {
            setHeader(request, "X-RIM-Push-Title", push.title);
            setHeader(request, "X-RIM-Push-Description", push.description);
        }
        if (type.channel)
            setHeader(request, "X-RIM-Push-Channel-ID", push.channelId);
        if (type.icons) {
            setIcon(session, request, "Unread", push.unreadIcon);
            setIcon(session, request, "Read", push.readIcon);
        }
    }
}

/// The order of the headers is part of the protocol.
void setHeaders(AgentSession& session, WebRequest& request, const MdsPush& push) {
    setHeader(request, "X-RIM-Push-Type", push.pushType);
    if (!push.notifyUrl.empty()) {
        setHeader(request, "X-RIM-Push-NotifyURL", push.notifyUrl);
        setHeader(request, "X-RIM-Push-ID", pushId(push.contentUrl));
    }
    if (!push.contentType.empty()) {
        setHeader(request, "Content-Type", push.contentType);
        setHeader(request, "X-Rim-Transcode-Content", "*/*");
    }
    if (push.cache)
        if (const auto age = maxAge(push.expireDays))
            setHeader(request, "Cache-Control", *age);
    setTypeHeaders(session, request, push);
    // the local time's offset is that of now both ways, so it needn't be asked for
    const Time tomorrow = session.platform.clock.now() + std::chrono::days(1);
    setHeader(request, "X-RIM-Push-Deliver-Before", httpDate(tomorrow));
}

std::string statusOf(const WebRequest& request) {
    return std::to_string(request.Status()) + ":" + request.StatusText();
}

/// What the senders of payloads differ in.
struct PayloadSender {
    std::string_view tag;
    bool logsPayload;
    /// Kept: it looks at the length of the credential alone, and says so where there is none.
    bool byLength;
};
constexpr PayloadSender kPDL{"PushPDL:", true, true};
constexpr PayloadSender kMPL{"PushMPL:", false, false};

void setCredential(AgentSession& session, WebRequest& request, const PushAddress& address,
                   const std::string& tag, bool byLength) {
    const bool logs = byLength ? !address.credential || !address.credential->empty()
                               : address.credential.has_value();
    if (!logs)
        return;
    session.log(tag + "including Authorization header");
    if (address.credential)
        setHeader(request, "Authorization", "Basic " + *address.credential);
}

bool pushPayload(AgentSession& session, const PayloadSender& sender, std::string_view pushServer,
                 std::string_view destination, std::string_view payload) {
    const std::string tag(sender.tag);
    const PushAddress address(pushServer);
    const std::string url = pushUrl(address, destination, kApplicationPort);
    session.log(tag + "pushing " + (sender.logsPayload ? std::string(payload) : "payload") +
                " to " + url);
    const auto request = CreateWebRequest(session, "POST", url);
    if (!request) {
        session.log(tag + "unable to proceed: failed to instantiate WinHttpRequest object");
        return false;
    }
    request->SetAutoLogonPolicy(AutoLogonPolicy::Always);
    setCredential(session, *request, address, tag, sender.byLength);
    setHeader(*request, "Content-Type", "application/x-www-form-urlencoded");
    if (!WaitForWebResponse(session, *request, StringToBytes(payload))) {
        session.log(tag + "timed out waiting for response from " + url);
        return false;
    }
    session.log(tag + "response status = " + statusOf(*request) +
                "; responseText = " + request->ResponseText());
    return request->Status() == 200;
}

} // namespace

PushAddress::PushAddress(std::string_view text) {
    const auto parts = Split(text, "|");
    host = parts.empty() ? "" : parts[0];
    if (parts.size() > 1)
        credential = parts[1];
}

bool PushToMDS(AgentSession& session, const MdsPush& push, std::string& result,
               const ProxySettings* proxy) {
    const PushAddress address(push.pushServer);
    const std::string url = pushUrl(address, push.destination, kBrowserPort);
    const auto request = CreateWebRequest(session, "POST", url, proxy);
    if (!request) {
        session.log("PushToMDS:unable to proceed: failed to instantiate WinHttpRequest object");
        return false;
    }
    request->SetAutoLogonPolicy(AutoLogonPolicy::Always);
    setCredential(session, *request, address, "PushToMDS:", false);
    setHeaders(session, *request, push);
    const std::string content = push.contentType.empty()
                                    ? std::string()
                                    : " with " + std::to_string(push.body.size()) +
                                          " bytes (Content-Type = '" + push.contentType + "')";
    session.log("Pushing " + push.pushType + content + " to " + url);
    if (!WaitForWebResponse(session, *request, push.body)) {
        session.log("PushToMDS:timed out waiting for response from " + url);
        result = "timed out";
        return false;
    }
    result = statusOf(*request);
    if (request->Status() == 200) {
        session.log("PushToMDS:successfully pushed " + url + " " + result);
        return true;
    }
    session.log("PushToMDS: problem pushing " + push.pushType + " through " + push.pushServer +
                " to " + push.destination + "; status " + result);
    return false;
}

bool PushPDL(AgentSession& session, std::string_view pushServer, std::string_view destination,
             std::string_view payload) {
    if (!pushPayload(session, kPDL, pushServer, destination, payload))
        return false;
    session.ui().MsgBox("The PINDL message has been successfully transmitted to the MDS server.",
                        BoxIcon::Information);
    return true;
}

bool PushMPL(AgentSession& session, std::string_view pushServer, std::string_view destination,
             std::string_view payload) {
    return pushPayload(session, kMPL, pushServer, destination, payload);
}

} // namespace kr
