#include "push/basTarn.h"

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "net/basWeb.h"

namespace kr {

namespace {

constexpr std::string_view kPage = "default.aspx";
constexpr std::string_view kLocalhost = "localhost";

bool isClosed(std::string_view url) { return url.ends_with('/') || ToLower(url).ends_with(kPage); }

/// One test: its name in the log, its query, and what counts as the expected response.
struct TarnTest {
    std::string tag;
    std::string_view query;
    std::string_view timedOut; // the words of its time-out
    bool asksIfModified;
    bool (*expected)(const WebRequest&);
};

bool run(AgentSession& session, const TarnTest& test, std::string_view address) {
    const std::string url = WithProtocol(TarnQuery(address, test.query));
    const auto request = CreateWebRequest(session, "GET", url);
    if (!request) {
        session.log(test.tag + " unable to proceed: failed to instantiate WinHttpRequest object");
        return false;
    }
    if (test.asksIfModified)
        TrapSilently([&] {
            request->SetRequestHeader("If-Modified-Since", "Sat, 1 Jan 2000 00:00:00 GMT");
        });
    if (!WaitForWebResponse(session, *request)) {
        session.log(test.tag + std::string(test.timedOut) + url);
        return false;
    }
    if (request->Status() == 200 && test.expected(*request)) {
        session.log(test.tag + " got expected response from " + url);
        return true;
    }
    session.log(test.tag + " " + url + " failed with status:" + std::to_string(request->Status()) +
                " and response:" + request->ResponseText());
    return false;
}

} // namespace

std::string GetTarnURL(AgentSession& session) {
    const RDOMessagePtr agent = GetAgentMessage(session);
    return agent ? KeyText(*agent, "TARN.URL") : "";
}

bool SaveTarnURL(AgentSession& session, const std::string& url) {
    session.log("Saving new TARN URL: " + url);
    return Trap(
        [&] {
            const RDOMessagePtr agent = GetAgentMessage(session);
            if (!agent)
                throw PlatformError(MAPI_E_NOT_FOUND, "the agent message is not there");
            SetKey(*agent, "TARN.URL", url);
            agent->Save();
            return true;
        },
        [&](const Trapped& error) {
            session.log("Error saving new TARN URL to agent message " +
                        std::to_string(error.number));
        });
}

std::string TarnQuery(std::string_view url, std::string_view query) {
    return std::string(url) + (isClosed(url) ? "" : "/") + std::string(query);
}

std::string WithProtocol(std::string_view url) {
    const bool has = StartsWithNoCase(url, "http://") || StartsWithNoCase(url, "https://");
    return (has ? "" : "http://") + std::string(url);
}

std::string CanonTarnURL(std::string_view url) { return WithProtocol(TarnQuery(url, "")); }

bool ReplaceLocalhost(std::string& url, std::string_view computer) {
    const size_t at = ToLower(url).find(kLocalhost);
    if (at == std::string::npos)
        return false;
    url.replace(at, kLocalhost.size(), computer);
    return true;
}

bool IsRunningTarn(AgentSession& session, std::string_view url) {
    return run(session,
               {"IsRunningTarn", "?cmd=testhealth", " timed out waiting for request from ", false,
                [](const WebRequest& request) { return request.ResponseText() == "Hello"; }},
               url);
}

bool TestPdlTarn(AgentSession& session, std::string_view url) {
    return run(session,
               {"TestPdlTarn", "?cmd=getpdl&pin=test", " timed out waiting for response from ",
                false, [](const WebRequest& request) { return request.StatusText() == "OK"; }},
               url);
}

bool TestIconTarn(AgentSession& session, std::string_view url) {
    return run(session,
               {"TestIconTarn", "?cmd=geticon&listname=test",
                " timed out waiting for response from ", true,
                [](const WebRequest&) { return true; }},
               url);
}

} // namespace kr
