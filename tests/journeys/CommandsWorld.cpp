#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include "core/Text.h"
#include "tests/journeys/AgentServer.h"
#include "tests/journeys/Commands.h"
#include "tests/journeys/Launch.h"
#include "tests/journeys/Look.h"

namespace kr::journeys {

namespace {

void add(Driver& driver, const std::string& name, std::string usage, std::string help, size_t least,
         size_t most, std::function<void(const Words&)> run) {
    driver.Add(name,
               {std::move(usage), std::move(help), least, most, std::move(run), false, false});
}

void writeFile(const Words& words) {
    QDir().mkpath(QFileInfo(Q(words[0])).path());
    QFile file(Q(words[0]));
    const QByteArray text = QByteArray::fromStdString(words[1]);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        throw Failure("the file can't be written");
}

void addStoreCommands(Driver& driver, World& world) {
    add(driver, "delete-record", "FOLDER SUBJECT", "delete a record as another program would", 2, 2,
        [&world](const Words& w) { world.Delete(w[0], w[1]); });
    add(driver, "set-record", "FOLDER SUBJECT KEY TEXT",
        "write a text key as another program would", 4, 4,
        [&world](const Words& w) { world.SetKey(w[0], w[1], w[2], w[3]); });
    add(driver, "registry", "HKCU|HKLM KEY NAME TEXT", "write a registry value", 4, 4,
        [&world](const Words& w) { world.SetRegistry(w[0], w[1], w[2], w[3]); });
}

void addAgentCommands(Driver& driver, World& world) {
    auto agent = std::make_shared<std::unique_ptr<AgentServer>>();
    add(driver, "agent", "[OPTION...]",
        "make this computer ($HOST) an agent server, before `start`; options go to the agent's "
        "stand-in, which writes $W/agent.log",
        0, 8, [&world, agent](const Words& w) {
            if (world.folder().empty() || *agent)
                throw Failure("an agent needs a world, and a world has one agent");
            *agent = std::make_unique<AgentServer>(w, world.folder() + "/agent.log");
        });
    add(driver, "agent-kill", "", "end the agent's process at once, as a crash does", 0, 0,
        [](const Words&) { KillAgent(); });
}

} // namespace

void AddWorldCommands(Driver& driver, World& world) {
    driver.SetVariable("HOST", ThisHost());
    add(driver, "world", "none|empty|sample [USERS]",
        "make a folder for settings, log and files ($W), and a store that MAIL01 leads to", 1, 2,
        [&](const Words& w) {
            world.Make(w[0], w.size() > 1 ? std::stoul(w[1]) : 40);
            driver.SetVariable("W", world.folder());
        });
    auto running = std::make_shared<std::unique_ptr<Launched>>();
    add(driver, "start", "[ARGUMENT...]", "start the console", 0, 20, [running](const Words& w) {
        running->reset();
        *running = Launch(Join(w, " "));
    });
    add(driver, "call", "PROCEDURE [WORD...]",
        "run pick-folder, export-csv, export-xml or plant-node; `expect result` sees what it "
        "gave",
        1, 6, [running, &world](const Words& w) {
            if (!*running)
                throw Failure("the console hasn't started");
            world.result.reset();
            world.result = (*running)->Call(w);
        });
    add(driver, "close", "", "close the main form", 0, 0,
        [](const Words&) { MainForm()->close(); });
    add(driver, "pause", "MILLISECONDS", "let time pass", 1, 1,
        [](const Words& w) { QTest::qWait(std::stoi(w[0])); });
    add(driver, "timeout", "MILLISECONDS", "how long commands and expectations may take from here",
        1, 1, [&driver](const Words& w) { driver.SetTimeout(std::stoi(w[0])); });
    add(driver, "quit", "", "end here, as passed", 0, 0,
        [&driver](const Words&) { driver.Quit(); });
    add(driver, "write-file", "PATH TEXT", "make a file, with the folders above it", 2, 2,
        writeFile);
    addStoreCommands(driver, world);
    addAgentCommands(driver, world);
}

} // namespace kr::journeys
