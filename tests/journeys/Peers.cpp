#include "tests/journeys/Peers.h"

#include <QDir>

#include "tests/journeys/Driver.h"

namespace kr::journeys {

namespace {

constexpr const char* kPassword = "sample";

/// One request to a server on this computer; the answer's body, which only a 200 has.
std::string ask(int port, const std::string& method, const std::string& path) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
    const std::string request =
        method + " " + path + " HTTP/1.0\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n\r\n";
    std::string answer;
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
        char piece[4096];
        for (ssize_t length; (length = read(fd, piece, sizeof piece)) > 0;)
            answer.append(piece, static_cast<size_t>(length));
    }
    close(fd);
    const size_t head = answer.find("\r\n\r\n");
    if (answer.find(" 200 ") == std::string::npos || head == std::string::npos)
        throw Failure("the push server doesn't answer " + path);
    return answer.substr(head + 4);
}

} // namespace

int Peers::StartPushServer(const std::string& site) {
    m_push = std::make_unique<PushStandin>(site);
    return pushPort();
}

int Peers::pushPort() const {
    if (!m_push || m_push->port == 0)
        throw Failure("there is no push server");
    return m_push->port;
}

void Peers::SetPushMode(const std::string& mode, const std::string& seconds,
                        const std::string& pin) {
    std::string query = "/control?mode=" + mode + "&seconds=" + seconds;
    if (!pin.empty())
        query += "&pin=" + pin;
    ask(pushPort(), "POST", query);
}

nlohmann::json Peers::PushesTo(const std::string& pin) {
    return nlohmann::json::parse(ask(pushPort(), "GET", "/handhelds/" + pin));
}

int Peers::StartDatabase(const std::string& name, const std::string& folder) {
    if (m_server)
        throw Failure("there is a database already");
    // the driver for SQL Server is another one here
    QDir().mkpath(QString::fromStdString(folder));
    std::ofstream(folder + "/odbcinst.ini") << "[FreeTDS]\nDriver=psqlodbcw.so\n";
    qputenv("ODBCSYSINI", QByteArray::fromStdString(folder));
    m_server = std::make_unique<Postgres>(kPassword);
    if (!m_server->running() || !m_server->Run("CREATE DATABASE " + name))
        throw Failure("the database doesn't start");
    m_database = name;
    return m_server->port();
}

void Peers::RunSQL(const std::string& statements) {
    if (!m_server || !m_server->Run(statements, m_database))
        throw Failure("the statement fails");
}

void Peers::Stop() {
    m_push.reset();
    m_server.reset();
}

} // namespace kr::journeys
