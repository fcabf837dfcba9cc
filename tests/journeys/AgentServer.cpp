#include "tests/journeys/AgentServer.h"

#include <QCoreApplication>
#include <QSysInfo>

#include "tests/journeys/Driver.h"

namespace kr::journeys {

namespace {

constexpr int kPatience = 10000; // milliseconds
constexpr const char* kBus = "DBUS_SYSTEM_BUS_ADDRESS";

} // namespace

AgentServer::AgentServer(const std::vector<std::string>& options, const std::string& log) {
    QStringList words{"--server", "MAIL01", "--alias", "agentbox"};
    for (const std::string& option : options)
        words << QString::fromStdString(option);
    // says where the bus is and stays until our end of the line is closed
    words << "--"
          << "sh"
          << "-c" << QString("echo \"$%1\"; exec cat").arg(kBus);
    m_world.setStandardErrorFile(QString::fromStdString(log));
    m_world.start(QCoreApplication::applicationDirPath() + "/../agent/agent-world", words);
    while (!m_world.canReadLine())
        if (!m_world.waitForReadyRead(kPatience))
            throw Failure("the agent's world doesn't start");
    qputenv(kBus, m_world.readLine().trimmed());
}

AgentServer::~AgentServer() {
    m_world.closeWriteChannel();
    m_world.waitForFinished(kPatience);
    qunsetenv(kBus);
}

void KillAgent() {
    if (qEnvironmentVariableIsEmpty(kBus))
        throw Failure("there is no agent");
    const int code = QProcess::execute(
        "busctl", {"--address=" + qEnvironmentVariable(kBus), "call", "org.freedesktop.systemd1",
                   "/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager", "KillUnit",
                   "ssi", "zandrelAgent.service", "main", "9"});
    if (code != 0)
        throw Failure("the agent can't be killed");
}

std::string ThisHost() { return QSysInfo::machineHostName().section('.', 0, 0).toStdString(); }

} // namespace kr::journeys
