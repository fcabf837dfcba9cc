#include "push/basPDL.h"

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "net/basWeb.h"
#include "platform/xml/Xml.h"
#include "push/basTarn.h"

namespace kr {

namespace {

constexpr int kOK = 200;
constexpr int kForbidden = 403; // a server need not list its directory
constexpr int kNotFound = 404;
constexpr std::string_view kNoFetch = "nofetch";
constexpr Time kZeroDate = std::chrono::sys_days{std::chrono::year{1899} / 12 / 30};

std::string packetQuery(const std::string& tarn, std::string_view pin) {
    return tarn + "?cmd=getpdl&pin=" + std::string(pin);
}

/// What the log says when there is no response.
struct AskWords {
    std::string_view noRequest;
    std::string_view timedOut; // and the URL
};
constexpr AskWords kTarnWords{
    "GetTarnPDL:unable to proceed: failed to instantiate WinHttpRequest object",
    "GetTarnPDL:timed out waiting for response from "};
constexpr AskWords kUrlWords{
    "GetPDLUrl:unable to proceed: failed to instantiate WinHttpRequest object",
    "GetPDLUrl:timed out waiting for response from "};
constexpr AskWords kPacketWords{
    "GetPDL:unable to proceed: failed to instantiate WinHttpRequest object",
    "GetPDL:timed out waiting for response from "};

/// The response to a GET; nullptr when none came.
std::unique_ptr<WebRequest> ask(AgentSession& session, const AskWords& words,
                                const std::string& url) {
    auto request = CreateWebRequest(session, "GET", url);
    if (!request) {
        session.log(words.noRequest);
        return nullptr;
    }
    if (WaitForWebResponse(session, *request))
        return request;
    session.log(std::string(words.timedOut) + url);
    return nullptr;
}

std::string statusOf(const WebRequest& request) {
    return std::to_string(request.Status()) + ":" + request.StatusText();
}

/// The engine's answer is the packet itself, not its URL.
bool isPacket(std::string_view answer) { return answer.starts_with('<'); }

} // namespace

std::string TarnPDLAddress(AgentSession& session, std::string_view pin) {
    const std::string tarn = GetTarnURL(session);
    return tarn.empty() ? tarn : packetQuery(tarn, pin) + std::string(kNoFetch);
}

std::string GetTarnPDL(AgentSession& session, std::string_view pin, std::string& content) {
    content.clear();
    const std::string url = TarnPDLAddress(session, pin);
    const auto request = url.empty() ? nullptr : ask(session, kTarnWords, url);
    if (!request)
        return {};
    if (request->Status() != kOK) {
        session.log("GetTarnPDL:received " + statusOf(*request) + " from " + url);
        return {};
    }
    const std::string answer = Trim(request->ResponseText());
    if (answer.empty()) {
        session.log("GetTarnPDL:responseText is empty on request from " + url);
        return {};
    }
    session.log("GetTarnPDL:access OK to " + url + "; received " +
                std::to_string(request->ResponseBody().size()) + " bytes with Status " +
                statusOf(*request));
    if (!isPacket(answer))
        return answer;
    content = answer;
    // the handheld's own fetch counts
    return url.substr(0, url.size() - kNoFetch.size());
}

std::string GetPDLUrl(AgentSession& session, std::string_view hostName, std::string_view userName) {
    const std::string host(hostName);
    if (host.empty())
        return {};
    std::string url = HostText(session, host, "EPS.PINDL.URL");
    if (url.empty())
        url = "http://" + host + "/PINDL/";
    if (const auto request = ask(session, kUrlWords, url)) {
        if (request->Status() == kOK || request->Status() == kForbidden) {
            session.log("GetPDLUrl:access OK to " + url + " on " + host + "; received " +
                        statusOf(*request));
            return url;
        }
        session.log("GetPDLUrl:received " + statusOf(*request) + " on request for " + url);
    }
    session.ui().MsgBox("Unable to access the specified PINDL directory on " + host + " for " +
                            std::string(userName) + "!\r\nPlease verify that " + url +
                            " exists and is accessible",
                        BoxIcon::Exclamation);
    return {};
}

std::string GetPDL(AgentSession& session, const std::string& url, std::string_view userName) {
    std::string what = "no response";
    if (const auto request = ask(session, kPacketWords, url)) {
        what = statusOf(*request);
        session.log("GetPDL:received " + what + " from " + url);
        if (request->Status() == kOK)
            return request->ResponseText();
        if (request->Status() == kNotFound)
            what.clear();
    }
    session.ui().MsgBox((what.empty()
                             ? "No PINDL is available on the target server!"
                             : "Request for PINDL from " + url + " returned " + what + "!") +
                            "\r\nUnable to push to " + std::string(userName),
                        BoxIcon::Stop);
    return {};
}

Time GetPDLDate(AgentSession& session, std::string_view packet, std::string_view fileName) {
    if (const auto document = XmlDocument::Parse(packet))
        if (const XmlNode lists = document->Find("PBLists"))
            if (const auto date = ParseDate(lists.Attribute("date").value_or("")))
                return *date;
    session.log("Unable to retrieve date stamp from " + std::string(fileName));
    return kZeroDate;
}

std::string HostText(AgentSession& session, std::string_view hostName, std::string_view key) {
    return TrapSilently([&]() -> std::string {
        if (!session.agentInfo || hostName.empty())
            return {};
        const auto ids = GetMessageIDs(session, *session.agentInfo, kHostClass, hostName);
        const RDOMessagePtr host = ids.empty() ? nullptr : GetMessage(session, ids.front());
        return host ? KeyText(*host, key) : "";
    });
}

} // namespace kr
