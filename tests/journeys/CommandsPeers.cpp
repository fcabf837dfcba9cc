#include <QDir>
#include <QFileInfo>
#include <QImage>

#include "app/ctl/Describe.h"
#include "tests/journeys/Commands.h"
#include "tests/journeys/Look.h"

namespace kr::journeys {

namespace {

/// The size of an icon on a handheld's home screen.
constexpr int kIconSize = 32;

void writePicture(const Words& words) {
    QDir().mkpath(QFileInfo(Q(words[0])).path());
    QImage picture(kIconSize, kIconSize, QImage::Format_RGB32);
    picture.fill(QColor(Q(words[1])));
    if (!picture.save(Q(words[0]), "PNG"))
        throw Failure("the picture can't be written");
}

std::string keyOf(World& world, const Words& words) {
    const auto message = world.Find(words[1], words[2]);
    if (!message)
        throw Failure("there is no record " + words[2]);
    for (const auto& property : DescribeProperties(*message))
        if (property.value("name", std::string()) == words[3] && property["value"].is_string())
            return property["value"].get<std::string>();
    throw Failure("the record has no such text");
}

} // namespace

void AddPeerCommands(Driver& driver, World& world, Peers& peers) {
    const auto add = [&](const std::string& name, std::string usage, std::string help, size_t least,
                         size_t most, std::function<void(const Words&)> run) {
        driver.Add(name,
                   {std::move(usage), std::move(help), least, most, std::move(run), false, false});
    };
    add("push-server", "[FOLDER]",
        "start a push server; $MDS is its port on 127.0.0.1. As a proxy it stands in for all push "
        "servers, and gives the pages in FOLDER/<host>",
        0, 1, [&](const Words& w) {
            const int port = peers.StartPushServer(w.empty() ? "" : w[0]);
            driver.SetVariable("MDS", std::to_string(port));
        });
    add("push-mode", "MODE [SECONDS [PIN]]",
        "how it answers everybody or one handheld: ok, slow, close, 401, 403, 500, nonsense, never",
        1, 3, [&](const Words& w) {
            peers.SetPushMode(w[0], w.size() > 1 ? w[1] : "0", w.size() > 2 ? w[2] : "");
        });
    add("database", "NAME",
        "start a database server (user postgres, password sample); $DB is its port on 127.0.0.1, "
        "where connections to a SQL Server are taken",
        1, 1, [&](const Words& w) {
            const int port = peers.StartDatabase(w[0], world.folder() + "/odbc");
            driver.SetVariable("DB", std::to_string(port));
        });
    add("sql", "STATEMENT...", "run statements in it", 1, 20, [&](const Words& w) {
        for (const std::string& statement : w)
            peers.RunSQL(statement);
    });
    add("let", "NAME FOLDER SUBJECT KEY", "$NAME is the text of a record's key from here", 4, 4,
        [&](const Words& w) { driver.SetVariable(w[0], keyOf(world, w)); });
    add("write-picture", "PATH COLOUR", "make a picture of one colour, with the folders above it",
        2, 2, writePicture);
}

} // namespace kr::journeys
