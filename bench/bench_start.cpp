// The console's start on a mailbox of 2,000 people, offscreen: processor time of the whole process
// from its beginning until the window shows its tree and has nothing left to do.

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <cstdio>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/App.h"
#include "app/ctl/AdminCtl.h"
#include "app/sample/Sample.h"
#include "bench/Measure.h"
#include "console/forms/frmFleetMain.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/ui/qt/AppStyle.h"

namespace {

using namespace kr;
using namespace kr::bench;

constexpr size_t kPeople = 2000;
constexpr int kRounds = 7;
constexpr int kPause = 10; // milliseconds, asleep
constexpr int kShown = 5;  // so that what the first sight has posted is done as well
constexpr int kLooks = 3000;

/// True when the tree has its nodes on the screen.
bool usable(App& app) {
    const auto* tree = app.main().findChild<QAbstractItemView*>("tvMain");
    if (!tree || !tree->isVisible() || !tree->model() || !app.session().users)
        return false;
    const QModelIndex root = tree->model()->index(0, 0);
    return app.session().users->RecordCount() == kPeople && !tree->visualRect(root).isEmpty() &&
           tree->model()->rowCount(root) > 0;
}

/// The console as its main does it, until it is usable.
int runConsole(int argc, char** argv) {
    QGuiApplication::setDesktopFileName("org.zandrel.KRAdmin");
    QApplication application(argc, argv);
    QApplication::setApplicationName("KR-Admin");
    QApplication::setStyle(new AppStyle);
    App app(DefaultOptions("/server MAIL01 /alias agentbox"));
    QMetaObject::invokeMethod(
        qApp, [&app] { app.Start(); }, Qt::QueuedConnection);
    for (int looks = 0, shown = 0; looks < kLooks; ++looks) {
        QApplication::processEvents(QEventLoop::AllEvents, kPause);
        shown += usable(app) ? 1 : 0;
        if (shown == kShown)
            _exit(0); // closing is not measured
        usleep(kPause * 1000);
    }
    std::fprintf(stderr, "the console did not start\n");
    return 1;
}

struct Start {
    double processor = 0; // milliseconds
    double memory = 0;    // MB
};

Start startOnce(const char* program) {
    const pid_t child = fork();
    if (child == 0) {
        execl(program, program, "--console", nullptr);
        _exit(127);
    }
    int status = 0;
    rusage used{};
    if (child < 0 || wait4(child, &status, 0, &used) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0)
        throw std::runtime_error("the console did not start");
    const auto of = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return {of(used.ru_utime) + of(used.ru_stime), static_cast<double>(used.ru_maxrss) / 1024};
}

/// A mailbox, settings and log of its own; children get them through the environment.
void makeWorld(const QTemporaryDir& folder) {
    const auto point = [&](const char* variable, const char* name) {
        const QString path = folder.filePath(name);
        QDir().mkpath(path);
        qputenv(variable, path.toUtf8());
    };
    point("XDG_CONFIG_HOME", "config");
    point("XDG_STATE_HOME", "state");
    point("XDG_DATA_HOME", "data");
    point("XDG_CACHE_HOME", "cache");
    point("KR_MACHINE_REGISTRY", "machine");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LDAPNOINIT", "1");
    SampleOptions options;
    options.users = kPeople;
    const std::string store = folder.filePath("org.kr").toStdString();
    MakeSample(store, options);
    RegisterStore(*MakeRegFileRegistry(UserRegistryFolder(), MachineRegistryFolder()), store,
                  "MAIL01");
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "--console")
        return runConsole(argc, argv);
    const QTemporaryDir folder;
    makeWorld(folder);
    startOnce("/proc/self/exe"); // the store's first opening, and cold files
    std::vector<double> times, sizes;
    for (int i = 0; i < kRounds; ++i) {
        const Start start = startOnce("/proc/self/exe");
        times.push_back(start.processor);
        sizes.push_back(start.memory);
    }
    std::printf("%zu people: %.0f ms of processor time, %.0f MB\n", kPeople, median(times),
                median(sizes));
    ratio("start.processor_time/second", median(times) / 1000, 1);
    return 0;
}
