// A push of one cached page to 5,000 handhelds, beside the same requests sent one after another by
// the client library alone; what it takes in memory; and how soon Cancel is seen.

#include <stdexcept>

#include "bench/BareCurl.h"
#include "bench/LoopServer.h"
#include "bench/Measure.h"
#include "bench/People.h"
#include "bench/QuietProgress.h"
#include "handhelds/basHandhelds.h"
#include "platform/http/curl/CurlHttp.h"
#include "push/ResultDocument.h"
#include "push/basMBL.h"
#include "push/basMBLPush.h"
#include "push/basTargets.h"

namespace {

using namespace kr;
using namespace kr::bench;

constexpr int kTargets = 5000;
constexpr int kFew = 500;
constexpr int kRounds = 7;
constexpr size_t kPage = 20'000; // bytes

/// Takes pushes, and gives the page to all else.
LoopServer::Answer pushServer() {
    return [page = ResponseOf("text/html", std::string(kPage, 'x')),
            taken = ResponseOf("text/plain", "")](std::string_view path) -> std::string_view {
        return path.starts_with("/push") ? taken : page;
    };
}

/// The console's side: people, handhelds, a channel for the first `count` of them.
class Channel {
public:
    explicit Channel(const LoopServer& server) : m_server(server) {
        AddPeople(m_world, kTargets);
        AddHandhelds(m_world, kTargets);
        const auto connectors = GetMessageIDs(*m_world.session, *m_world.session->agentInfo,
                                              "IPM.Post.BesConnector", "");
        const RDOMessagePtr connector = GetMessage(*m_world.session, connectors.front());
        SetKey(*connector, "Connector.MDS.Host", server.host());
        connector->Save();
        const Platform& p = *m_world.platform;
        m_http = MakeCurlHttp(p.events, [] {});
        m_platform = std::make_unique<Platform>(Platform{p.store, p.registry, p.ui, p.events,
                                                         p.services, p.directory, p.shell,
                                                         p.database, *m_http, p.secrets, m_clock});
        AgentSession& from = *m_world.session;
        m_session = std::make_unique<AgentSession>(*m_platform, m_world.logPath());
        m_session->rdo = from.rdo;
        m_session->agentInfo = from.agentInfo;
        m_session->userInfo = from.userInfo;
        m_session->AgentMsgID = from.AgentMsgID;
        m_session->ExAlias = from.ExAlias;
        m_session->ExServer = from.ExServer;
        RequireHandhelds(*m_session);
        makeList();
    }

    void SetTargets(int count) {
        std::string names = "crowd@mail.example.test";
        if (count < kTargets) {
            names.clear();
            for (int i = 0; i < count; ++i)
                names += AddressOf(i) + ";";
        }
        SetKey(*m_list, "MBL.Target.Email", names);
        SetKey(*m_list, "MBL.LastPushList", "");
        m_list->SetBody("");
        m_list->Save();
    }
    void Push(bool whole = true) {
        const int64_t before = m_server.requests();
        if (PushToList({*m_session, m_world.tree, progress}, *m_list) != whole)
            throw std::runtime_error("the push went wrong");
        sent = m_server.requests() - before;
    }
    /// What the push must hold: its targets, and the document of what became of them.
    double HeldBy(int count) {
        const auto targets =
            GetPushTargets(*m_session, m_world.tree, KeyText(*m_list, "MBL.Target.Email"));
        if (targets->RecordCount() != count)
            throw std::runtime_error("targets are missing");
        const std::string body = m_list->Body();
        const double before = allocated();
        const auto document = LoadResultDocument(body, "");
        return allocated() - before + static_cast<double>(targets->MemoryUse());
    }

    QuietProgress progress;
    int64_t sent = 0;

private:
    void makeList() {
        m_list = GetMblFolder(*m_session)->Items()->Add(kMblClass);
        m_list->SetSubject("My News");
        SetKey(*m_list, "MBL.Type", "Channel");
        SetKey(*m_list, "MBL.ChannelID", "{9A4F0B34-0B60-4F1E-8A33-5D4F00C7D9AB}");
        SetKey(*m_list, "MBL.Title", "News");
        SetKey(*m_list, "MBL.Description", "What is new");
        SetKey(*m_list, "MBL.URL", "http://" + m_server.host() + "/page.html");
        SetKey(*m_list, "MBL.Cache", true);
        SetKey(*m_list, "MBL.Expire", 30);
        m_list->Save();
    }

    PushWorld m_world;
    SystemClock m_clock;
    const LoopServer& m_server;
    std::unique_ptr<HttpProvider> m_http;
    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<AgentSession> m_session;
    RDOMessagePtr m_list;
};

/// The same requests.
void pushBare(BareCurl& curl, const std::string& host) {
    const std::string page = curl.Get("http://" + host + "/page.html");
    for (int i = 0; i < kTargets; ++i)
        curl.Post("http://" + host + "/push?DESTINATION=" + PinOf(i) + "&PORT=7874&REQUESTURI=/",
                  {"X-RIM-Push-Type: Browser-Channel", "X-RIM-Push-NotifyURL: ?cmd=notify",
                   "X-RIM-Push-ID: " + host + "/page.html@" + std::to_string(100'000 + i),
                   "Content-Type: text/html", "X-Rim-Transcode-Content: */*",
                   "Cache-Control: max-age=2592000",
                   "Content-Location: http://" + host + "/page.html", "X-RIM-Push-Title: News",
                   "X-RIM-Push-Description: What is new",
                   "X-RIM-Push-Channel-ID: {9A4F0B34-0B60-4F1E-8A33-5D4F00C7D9AB}",
                   "X-RIM-Push-Deliver-Before: Sun, 22 Nov 2026 11:00:00 GMT", "Expect:"},
                  page);
}

void measureTime(Channel& channel, const LoopServer& server) {
    BareCurl curl;
    channel.SetTargets(kTargets);
    channel.Push(); // from here on there is a last list
    const Pair times = compare(
        kRounds, [&] { pushBare(curl, server.host()); }, [&] { channel.Push(); });
    if (channel.sent != kTargets + 1)
        throw std::runtime_error("requests are missing");
    std::printf("%d requests: by the library %.0f ms, push %.0f ms; %ld connections\n", kTargets,
                times.floor, times.work, static_cast<long>(server.connections()));
    ratio("push.time/bare_curl", times.ratio, 1.3);
}

/// What 4,500 targets more take at most, beside their table and document.
void measureMemory(Channel& channel) {
    channel.SetTargets(kFew);
    channel.Push();
    const double few = peakOf([&] { channel.Push(); });
    const auto fewHeld = channel.HeldBy(kFew);
    channel.SetTargets(kTargets);
    const double many = peakOf([&] { channel.Push(); });
    const auto manyHeld = channel.HeldBy(kTargets);
    std::printf("peak of %d targets %.2f MB, of %d %.2f MB; held %.2f and %.2f MB\n", kFew,
                few / 1e6, kTargets, many / 1e6, fewHeld / 1e6, manyHeld / 1e6);
    ratio("push.memory_growth/table_and_document", (many - few) / (manyHeld - fewHeld), 2);
}

void measureCancel(Channel& channel, const LoopServer& server) {
    const int64_t until = server.requests() + kFew;
    channel.progress.cancel = [&] { return server.requests() >= until; };
    channel.Push(false);
    ratio("push.requests_after_cancel/one", static_cast<double>(server.requests() - until), 1);
}

} // namespace

int main() {
    const LoopServer server(pushServer());
    Channel channel(server);
    measureMemory(channel);
    measureTime(channel, server);
    measureCancel(channel, server);
    return 0;
}
