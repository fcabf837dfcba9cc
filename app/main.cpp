#include <QApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

#include "app/App.h"
#include "app/SingleInstance.h"
#include "console/forms/frmFleetMain.h"
#include "platform/ui/qt/AppStyle.h"
#include "platform/ui/qt/QtUi.h"

namespace {

using namespace kr;

int signalPipe[2] = {-1, -1}; // a signal handler can reach nothing else

void onSignal(int) {
    const char byte = 1;
    if (write(signalPipe[0], &byte, 1) < 0)
        return; // the pipe is full of signals already
}

/// SIGTERM and SIGINT close as the Exit command does.
void watchSignals(App& app) {
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, [&app] {
        char bytes[16];
        if (read(signalPipe[1], bytes, sizeof bytes) > 0)
            app.Close();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

/// A second copy asks this one to show itself.
void watchOtherCopies(SingleInstance& instance, App& app) {
    if (instance.fd() < 0)
        return;
    auto* notifier = new QSocketNotifier(instance.fd(), QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp,
                     [&instance] { instance.Process(); });
    instance.OnRaise([&app](const std::string& token) {
        if (!token.empty())
            qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
        app.main().Raise();
    });
}

/// The desktop ends its session: settings are saved and nothing is asked.
void watchDesktop(App& app) {
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, qApp,
                     [&app](QSessionManager&) { app.main().SaveSettings(); });
    QObject::connect(qApp, &QGuiApplication::saveStateRequest, qApp, [](QSessionManager& manager) {
        manager.setRestartCommand(QCoreApplication::arguments());
    });
}

} // namespace

int main(int argc, char** argv) {
    std::string commandLine;
    for (int i = 1; i < argc; ++i)
        commandLine += (i > 1 ? " " : "") + std::string(argv[i]);
    QGuiApplication::setDesktopFileName("org.zandrel.KRAdmin");
    QApplication application(argc, argv);
    QApplication::setApplicationName("KR-Admin");
    QApplication::setStyle(new AppStyle);

    SingleInstance instance("_APPLICATION_MUTEX" + std::string(kAppTitle));
    const SingleInstance::Result result = instance.Acquire(kAppTitle);
    if (result == SingleInstance::Result::OtherNotFound)
        QtUi().MsgBox("zandrelAgent Administrator is already running", BoxIcon::Information,
                      BoxButtons::OK, kAppTitle);
    if (result != SingleInstance::Result::First)
        return 0;

    App app(DefaultOptions(commandLine));
    watchSignals(app);
    watchOtherCopies(instance, app);
    watchDesktop(app);
    // from the event loop on, so that a start that ends at once also ends the program
    QMetaObject::invokeMethod(
        qApp, [&app] { app.Start(); }, Qt::QueuedConnection);
    return QApplication::exec();
}
