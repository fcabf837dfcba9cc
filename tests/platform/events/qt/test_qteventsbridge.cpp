#include <gtest/gtest.h>
#include <unistd.h>

#include <QDialog>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>
#include <thread>

#include "platform/events/qt/QtEventsBridge.h"

using namespace std::chrono_literals;

namespace {

/// Runs Qt's loop until `done` holds; false after three seconds.
bool spin(const std::function<bool()>& done) {
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    check.start(1);
    QTimer::singleShot(3000, &loop, &QEventLoop::quit);
    loop.exec();
    return done();
}

TEST(QtEventsBridgeTest, QtsLoopRunsTimersWatchesAndPosts) {
    const auto events = kr::MakeEpollEvents();
    const kr::QtEventsBridge bridge(*events);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    int ticks = 0;
    std::string got;
    bool posted = false;
    events->AddTimer(5ms, [&] { ++ticks; });
    events->AddWatch(fds[0], kr::Events::Readable, [&](unsigned) {
        char c = 0;
        ASSERT_EQ(read(fds[0], &c, 1), 1);
        got += c;
    });
    std::thread other([&] {
        events->Post([&] { posted = true; });
        ASSERT_EQ(write(fds[1], "ab", 2), 2);
    });
    EXPECT_TRUE(spin([&] { return ticks >= 5 && got == "ab" && posted; }));
    other.join();
    close(fds[0]);
    close(fds[1]);
}

TEST(QtEventsBridgeTest, AModalDialogOpenedByAPostLetsTheReactorGoOn) {
    const auto events = kr::MakeEpollEvents();
    const kr::QtEventsBridge bridge(*events);
    int ticks = 0;
    int ticksInDialog = 0;
    bool closed = false;
    events->AddTimer(10ms, [&] { ++ticks; });
    events->Post([&] {
        QDialog dialog;
        const int before = ticks;
        QTimer::singleShot(200, &dialog, &QDialog::accept);
        dialog.exec();
        ticksInDialog = ticks - before;
        closed = true;
    });
    EXPECT_TRUE(spin([&] { return closed; }));
    EXPECT_GE(ticksInDialog, 8);
    EXPECT_LE(ticksInDialog, 21);
}

TEST(QtEventsBridgeTest, NothingDueLeavesTheDescriptorQuiet) {
    const auto events = kr::MakeEpollEvents();
    QSocketNotifier notifier(events->fd(), QSocketNotifier::Read);
    int activations = 0;
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] {
        ++activations;
        events->Run(0ms);
    });
    const auto id = events->AddTimer(1ms, [] {});
    spin([&] { return activations > 3; });
    events->Cancel(id);
    activations = 0;
    QEventLoop loop;
    QTimer::singleShot(100, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_LE(activations, 1);
}

} // namespace
