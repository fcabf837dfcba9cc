// console-driver: starts the real console and works it from a script of one command a line.
#include <QApplication>
#include <QJsonDocument>
#include <QLocale>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/ui/qt/AppStyle.h"
#include "tests/journeys/Commands.h"
#include "tests/journeys/Look.h"

namespace {

using namespace kr::journeys;

struct Options {
    std::string script = "-";
    std::string arguments; // for a `start` without words
    bool help = false;
};

Options optionsOf(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool more = i + 1 < argc;
        if (word == "--help")
            options.help = true;
        else if (word == "--platform" && more)
            qputenv("QT_QPA_PLATFORM", argv[++i]);
        else if (word == "--arguments" && more)
            options.arguments = argv[++i];
        else if (!word.starts_with("--"))
            options.script = word;
        else
            throw std::runtime_error("unknown option " + word + "; try --help");
    }
    return options;
}

std::string scriptText(const std::string& path) {
    std::ostringstream text;
    if (path == "-") {
        text << std::cin.rdbuf();
    } else {
        std::ifstream in(path);
        if (!in)
            throw std::runtime_error("there is no script " + path);
        text << in.rdbuf();
    }
    return text.str();
}

void printHelp(const Driver& driver) {
    std::printf(
        "console-driver [--platform offscreen|xcb] [--arguments \"TEXT\"] [SCRIPT]\n\n"
        "Starts the real console and works it from a script, or from standard input: one\n"
        "command a line, words with blanks in \"...\", comments behind '# '. A command that\n"
        "opens a dialog lets the next one run inside it. A box that nobody answers or\n"
        "expects ends the journey as failed, with its text. Exit codes: 0 passed, 1 failed,\n"
        "2 wrong usage.\n\nCommands:\n");
    for (const auto& [name, command] : driver.commands())
        std::printf("  %s %s\n        %s\n", name.c_str(), command.usage.c_str(),
                    command.help.c_str());
}

// What stands on the screen, for whoever has to find out why a journey failed.
void printScreen() {
    const auto print = [](const QJsonObject& object) {
        std::fprintf(stderr, "    %s\n",
                     QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    };
    try {
        print(StatusAsJson());
        print(BoxAsJson());
        if (Blocker())
            print(FormAsJson(*Blocker()));
        if (MainFormIsOpen())
            print(TreeAsJson());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "    %s\n", error.what());
    }
}

int run(QApplication& app, const Options& options) {
    auto script = options.help ? std::vector<Line>()
                               : ParseScript(options.script, scriptText(options.script));
    for (Line& line : script)
        if (line.words == Words{"start"} && !options.arguments.empty())
            line.words.push_back(options.arguments);
    World world;
    Peers peers;
    Driver driver(std::move(script));
    AddInputCommands(driver);
    AddPrintCommands(driver);
    AddExpectCommands(driver, world, peers);
    AddWorldCommands(driver, world);
    AddPeerCommands(driver, world, peers);
    if (options.help) {
        printHelp(driver);
        return 0;
    }
    int result = 1;
    driver.onFailure = printScreen;
    driver.onFinished = [&](int code) {
        result = code;
        // dialogs may stand in loops of their own, which nothing would end
        if (code != 0 || Blocker()) {
            peers.Stop();
            std::fflush(nullptr);
            std::_Exit(code);
        }
        app.quit();
    };
    driver.Begin();
    app.exec();
    return result;
}

// What the offscreen platform says of itself for every window is no news.
void onMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    if (!text.startsWith("This plugin does not support"))
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(onMessage);
    try {
        const Options options = optionsOf(argc, argv);
        QLocale::setDefault(QLocale::c());
        QApplication app(argc, argv);
        app.setQuitOnLastWindowClosed(false);
        QApplication::setStyle(new kr::AppStyle);
        return run(app, options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "console-driver: %s\n", error.what());
        return 2;
    }
}
