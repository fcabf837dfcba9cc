#include "push/basPDLPush.h"

#include "core/Text.h"
#include "core/basText.h"
#include "handhelds/basBES.h"
#include "push/Payload.h"
#include "push/basMDS.h"
#include "push/basPDL.h"
#include "push/basPDLUsers.h"
#include "push/basTargets.h"
#include "push/basTarn.h"

namespace kr {

namespace {

void warn(AgentSession& session, const std::string& text) {
    session.ui().MsgBox(text, BoxIcon::Exclamation);
}

struct Packet {
    std::string url; // for the payload: the handheld puts its PIN to it
    std::string content;
};

/// From the engine, else from the directory on the agent's server. Nothing, with everybody told,
/// when there is none.
std::optional<Packet> findPacket(AgentSession& session, const PDLRecipient& user,
                                 const std::string& pin) {
    Packet packet;
    packet.url = ReplaceAll(GetTarnPDL(session, pin, packet.content), pin, "");
    if (packet.url.empty()) {
        packet.url = GetPDLUrl(session, user.server, user.name);
        if (packet.url.empty()) {
            session.log("Aborted PDLPush for " + user.name + "; unable to find valid URL");
            warn(session, "Failed to find valid push URL for " + user.name +
                              "!\r\nUnable to send push notification");
            return std::nullopt;
        }
        packet.content = GetPDL(session, packet.url + pin + ".xml", user.name);
        if (packet.content.empty()) {
            session.log("Aborted PDLPush for " + user.name + "; there is no packet");
            return std::nullopt;
        }
    }
    packet.url = ReplaceAll(packet.url, "&", "&amp;");
    return packet;
}

std::string pushServerOf(AgentSession& session, TreeModel& tree, const PDLRecipient& user,
                         const std::string& pin) {
    std::string server;
    if (const std::string bes = FindBES(session, pin); !bes.empty())
        server = FindPushServer(session, tree, bes);
    if (server.empty() && !user.server.empty())
        server = GetHostMdsAddress(session, user.server);
    if (server.empty())
        warn(session, "No Push server could be identified to use for " + user.name +
                          "!\r\nPlease check your BES Connector(s) to refresh the Push server "
                          "data");
    return server;
}

bool send(AgentSession& session, const PDLRecipient& user, const std::string& server,
          const std::string& pin, const std::string& payload) {
    std::string how;
    if (PushPDL(session, server, pin, payload))
        how = " using PIN";
    else if (PushPDL(session, server, user.email, payload))
        how = " using SMTP address";
    if (how.empty()) {
        warn(session, "Push failed to " + user.name + "\r\nConsult the log for details");
        return false;
    }
    session.ui().MsgBox("Successful push to " + user.name + how, BoxIcon::Information);
    return true;
}

} // namespace

std::optional<Time> PDLPush(AgentSession& session, TreeModel& tree, const PDLRecipient& user) {
    const WaitCursor wait(session.ui());
    if (user.server.empty() && GetTarnURL(session).empty()) {
        warn(session, user.name + " is not associated with an zandrel Agent server!\r\n"
                                  "Push notification is not available.");
        return std::nullopt;
    }
    const std::string pin = FindPIN(session, user.email);
    if (pin.empty()) {
        session.log("Aborted PDLPush for " + user.name + "; unable to get PIN");
        warn(session,
             "Failed to retrieve PIN for " + user.name + "!\r\nUnable to send push notification");
        return std::nullopt;
    }
    const auto packet = findPacket(session, user, pin);
    if (!packet)
        return std::nullopt;
    const Time date = GetPDLDate(session, packet->content, pin + ".xml");
    const std::string payload =
        BuildPDLPayload(PayloadNamespace(session), date, packet->url, user.textBlast);
    const std::string server = pushServerOf(session, tree, user, pin);
    if (server.empty() || !send(session, user, server, pin, payload))
        return std::nullopt;
    return RecordPush(session, user.id, user.email);
}

void ViewPDL(AgentSession& session, const PDLRecipient& user) {
    const std::string pin = FindPIN(session, user.email);
    const std::string address = pin.empty() ? "" : TarnPDLAddress(session, pin);
    if (!address.empty()) {
        OpenURL(session.platform.shell, address);
        return;
    }
    warn(session,
         (pin.empty() ? "Failed to retrieve PIN!" : "The zandrel TARN service is not configured!") +
             std::string("\r\nUnable to view PDL packet for ") + user.name + ".");
}

} // namespace kr
