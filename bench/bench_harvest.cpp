// Harvesting 251 documents from a local web server, beside curl that fetches the same addresses one
// after another, and beside its library alone; and the links of hostile pages of a megabyte.

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "bench/BareCurl.h"
#include "bench/LoopServer.h"
#include "bench/Measure.h"
#include "bench/QuietProgress.h"
#include "platform/http/curl/CurlHttp.h"
#include "push/basHarvest.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using namespace kr::bench;

constexpr int kDocuments = 251;
constexpr int kLinks = 20;     // on a page, to others
constexpr size_t kPage = 3000; // bytes
constexpr int kLimitKB = 999;
constexpr int kRounds = 15;
constexpr size_t kHostile = 1 << 20;

std::string pathOf(int page) { return "/page" + std::to_string(page) + ".html"; }

std::string linkTo(int page) {
    return "<p><a class=\"x\" href=\"" + pathOf(page) + "\">Page " + std::to_string(page) +
           "</a></p>\n";
}

/// A site of pages with text, and a root that links to all of them.
LoopServer::Answer site() {
    std::string root = "<html><body>";
    std::vector<std::string> pages;
    for (int i = 0; i < kDocuments; ++i) {
        if (i > 0)
            root += linkTo(i);
        std::string page = "<html><body>";
        for (int k = 1; k <= kLinks; ++k)
            page += linkTo(1 + (i + k * 7) % (kDocuments - 1));
        page.resize(kPage, ' ');
        pages.push_back(ResponseOf("text/html; charset=utf-8", page + "</body></html>"));
    }
    return [home = ResponseOf("text/html; charset=utf-8", root + "</body></html>"),
            pages](std::string_view path) -> std::string_view {
        if (!path.starts_with("/page"))
            return home;
        return pages.at(std::stoul(std::string(path.substr(5))));
    };
}

/// All addresses of the site as curl takes them.
void writeConfig(const std::string& path, const std::string& host) {
    std::ofstream file(path);
    file << "silent\nfail\nnoproxy = \"*\"\n";
    for (int i = 0; i < kDocuments; ++i)
        file << "url = \"" << host << (i == 0 ? "/" : pathOf(i)) << "\"\noutput = /dev/null\n";
}

void measureHarvest() {
    const LoopServer server(site());
    World world;
    world.LogOnConfigured();
    const auto http = MakeCurlHttp(*world.events, [] {});
    const Platform& p = *world.platform;
    const SystemClock clock;
    Platform platform{p.store, p.registry, p.ui,  p.events,  p.services, p.directory,
                      p.shell, p.database, *http, p.secrets, clock};
    AgentSession session(platform, world.logPath());
    session.rdo = world.session->rdo;
    session.agentInfo = world.session->agentInfo;
    session.AgentMsgID = world.session->AgentMsgID;
    QuietProgress progress;
    const std::string host = "http://" + server.host();
    const std::string config = world.folder() + "/curl.txt";
    writeConfig(config, host);
    const auto program = [&] {
        if (std::system(("curl --config " + config).c_str()) != 0)
            throw std::runtime_error("curl failed");
    };
    BareCurl curl;
    const auto library = [&] {
        curl.Get(host + "/");
        for (int i = 1; i < kDocuments; ++i)
            curl.Get(host + pathOf(i));
    };
    const auto harvest = [&] {
        ResultDocument document = CreateResultDocument("{ID}", host + "/");
        const auto contents =
            GetPushContent({session, progress, document}, host + "/", 3, kLimitKB);
        if (contents.size() != kDocuments)
            throw std::runtime_error("documents are missing: " + std::to_string(contents.size()));
    };
    harvest();
    const Pair alone = compare(kRounds, library, harvest);
    const Pair times = compare(kRounds, program, harvest);
    std::printf(
        "%d documents: by the library %.1f ms, by curl %.1f ms, harvest %.1f ms (%.2f times "
        "the library)\n",
        kDocuments, alone.floor, times.floor, times.work, alone.ratio);
    ratio("harvest.time/curl", times.ratio, 1.3);
}

std::string repeated(std::string_view part) {
    std::string text;
    text.reserve(kHostile + part.size());
    while (text.size() < kHostile)
        text += part;
    return text;
}

/// What a page may hold to keep its reader busy.
void measurePatterns() {
    const std::pair<const char*, std::string> pages[] = {
        {"open tags", repeated("<a ")},
        {"one long tag", "<a " + repeated("x")},
        {"tags without an end", repeated("<a href ")},
        {"names without values", "<a " + repeated("href ")},
        {"quotes that never close", repeated("<a href=\"") + "'"},
        {"equals signs and blanks", "<a href" + repeated(" ")},
        {"many blanks", repeated("<a href   =   ")},
        {"scripts", repeated("<a href=\"javascript:x\" ")},
        {"images without an end", repeated("<img src=")},
        {"images and blanks", "<img src" + repeated(" ")},
        {"image quotes", repeated("<img src='")},
        {"one long address", "<a href='" + repeated("x") + "'>"},
        {"nothing but angle brackets", repeated("<")},
        {"a page of links", repeated("<a href=\"/page/with/a/name.html\">text</a> ")}};
    double worst = 0;
    for (const auto& [name, html] : pages) {
        std::vector<double> times;
        for (int i = 0; i < kRounds; ++i) {
            PushContent content;
            content.SetURL("http://host/");
            content.HTML = html;
            times.push_back(processorMillisecondsOf([&] {
                content.GetChildLinks("");
                content.GetImageLinks("");
            }));
        }
        std::printf("%-28s %.2f ms\n", name, median(times));
        worst = std::max(worst, median(times));
    }
    ratio("harvest.hostile_megabyte/20ms", worst / 20, 1);
}

} // namespace

int main() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    measurePatterns();
    measureHarvest();
    return 0;
}
