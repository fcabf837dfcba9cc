#include "tests/platform/http/WebPeers.h"

#include <pwd.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <utility>

#include "tests/support/Loopback.h"

namespace kr {

namespace {

constexpr int kTurns = 500;
constexpr auto kTurn = std::chrono::milliseconds(20);

void giveAway(const std::string& path) {
    const passwd* nobody = geteuid() == 0 ? getpwnam("nobody") : nullptr;
    if (nobody) [[maybe_unused]]
        const int result = chown(path.c_str(), nobody->pw_uid, nobody->pw_gid);
}

bool listensNow(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool there = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return there;
}

using Words = std::vector<std::string>;

Words asNobody(const std::string& program = {}) {
    Words words = {"--reuid=nobody", "--clear-groups"};
    if (!program.empty())
        words.insert(words.begin(), program);
    return words;
}

} // namespace

// --- Folders and processes

PeerFolder::PeerFolder() {
    m_path = (std::filesystem::temp_directory_path() / "kr-web-XXXXXX").string();
    m_path = mkdtemp(m_path.data());
    giveAway(m_path);
}

PeerFolder::~PeerFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string PeerFolder::Write(const std::string& name, const std::string& content) const {
    const std::string path = m_path + "/" + name;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    for (std::filesystem::path part = path; part.string().size() > m_path.size();
         part = part.parent_path())
        giveAway(part.string());
    return path;
}

std::string PeerFolder::Read(const std::string& name) const {
    std::ifstream file(m_path + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool RunPeer(const PeerFolder& folder, const std::string& command) {
    std::string line = "cd " + folder.path() + " &&";
    for (const std::string& word : geteuid() == 0 ? asNobody("setpriv") : Words())
        line += " " + word;
    return std::system((line + " " + command + " >>output 2>&1").c_str()) == 0;
}

std::vector<std::string> PeerWords(std::vector<std::string> words) {
    const std::string system = "/usr/sbin/" + words[0]; // not on everybody's path
    if (access(system.c_str(), X_OK) == 0)
        words[0] = system;
    if (geteuid() != 0)
        return words;
    Words all = asNobody(); // options of the program that starts them
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

bool WaitForPort(int port) {
    for (int turn = 0; turn < kTurns; ++turn) {
        if (listensNow(port))
            return true;
        std::this_thread::sleep_for(kTurn);
    }
    return false;
}

// --- Peers

PeerAuthority::PeerAuthority(const PeerFolder& folder)
    : caFile(folder.path() + "/ca.pem"), certificate(folder.path() + "/server.pem"),
      key(folder.path() + "/server.key") {
    folder.Write("names", "subjectAltName=IP:127.0.0.1\n");
    const std::string fresh = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
    ready = RunPeer(folder, "openssl req -x509 -days 2 -subj '/CN=Test authority' -keyout ca.key "
                            "-out ca.pem" +
                                fresh) &&
            RunPeer(folder,
                    "openssl req -new -subj /CN=server -keyout server.key -out request" + fresh) &&
            RunPeer(folder, "openssl x509 -req -days 2 -in request -CA ca.pem -CAkey ca.key "
                            "-CAcreateserial -extfile names -out server.pem");
}

std::string NginxPeer::configuration() const {
    const std::string& folder = m_folder.path();
    const std::string port = std::to_string(m_port), tlsPort = std::to_string(m_tlsPort);
    std::string text = "daemon off;\nmaster_process off;\npid " + folder +
                       "/nginx.pid;\nerror_log " + folder +
                       "/error.log;\nevents {}\nhttp {\n"
                       "types { text/html html; text/plain txt; image/png png; }\n"
                       "log_format short '$request $http_via';\naccess_log " +
                       folder + "/access.log short;\n";
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        text += std::string(kind) + "_temp_path " + folder + "/" + kind + ";\n";
    text += "server {\nlisten 127.0.0.1:" + port + ";\nlisten 127.0.0.1:" + tlsPort +
            " ssl;\nssl_certificate " + m_authority.certificate + ";\nssl_certificate_key " +
            m_authority.key + ";\nroot " + folder +
            "/www;\n"
            "location /private/ { auth_basic \"inside\"; auth_basic_user_file " +
            folder +
            "/passwords; }\n"
            "location = /circle { return 302 /circle/2; }\n"
            "location = /circle/2 { return 301 /circle; }\n"
            "location = /to-file { return 302 file:///etc/passwd; }\n"
            "location = /to-ftp { return 307 ftp://127.0.0.1/x; }\n"
            "location = /to-plain { return 302 http://127.0.0.1:" +
            port +
            "/page.html; }\n"
            "location = /to-page { return 302 /page.html; }\n"
            "location = /via { default_type text/plain; return 200 \"via $http_via\"; }\n"
            "location /packed/ { add_header Content-Encoding gzip; default_type text/html; }\n"
            "location /slow/ { limit_rate 2k; }\n"
            "location = /busy { return 503; }\n"
            "}\n}\n";
    return text;
}

NginxPeer::NginxPeer()
    : m_authority(m_folder), m_port(FreePort()), m_tlsPort(FreePort()),
      m_configuration(m_folder.Write("nginx.conf", configuration())),
      m_process(PeerWords({"nginx", "-e", m_folder.path() + "/error.log", "-c", m_configuration})),
      m_ready(m_authority.ready && WaitForPort(m_port)) {
    m_folder.Write("passwords", "user:{PLAIN}secret\n");
    Page("page.html", "<html>page</html>");
    Page("private/page.html", "<html>inside</html>");
}

void NginxPeer::Page(const std::string& name, const std::string& content) const {
    m_folder.Write("www/" + name, content);
}

std::string NginxPeer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

std::string NginxPeer::tlsUrl(const std::string& path, const std::string& host) const {
    return "https://" + host + ":" + std::to_string(m_tlsPort) + path;
}

TinyproxyPeer::TinyproxyPeer(const std::string& more)
    : m_port(FreePort()),
      m_configuration(
          m_folder.Write("tinyproxy.conf", "Port " + std::to_string(m_port) +
                                               "\nListen 127.0.0.1\nAllow 127.0.0.1\nTimeout 30\n"
                                               "MaxClients 20\nPidFile \"" +
                                               m_folder.path() + "/pid\"\nLogFile \"" +
                                               m_folder.path() + "/log\"\n" + more)),
      m_process(PeerWords({"tinyproxy", "-d", "-c", m_configuration})),
      m_ready(WaitForPort(m_port)) {}

} // namespace kr
