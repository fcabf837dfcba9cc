#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "core/PlatformError.h"
#include "platform/events/epoll/EpollEvents.h"

using namespace std::chrono_literals;
using kr::Events;

namespace {

class EpollEventsTest : public ::testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    void SetUp() override { ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, m_pair), 0); }
    void TearDown() override {
        close(m_pair[0]);
        close(m_pair[1]);
    }
    /// Runs events until `done` holds; false after `most`.
    bool until(const std::function<bool()>& done, std::chrono::milliseconds most = 2000ms) {
        const auto end = Clock::now() + most;
        while (!done() && Clock::now() < end)
            m_events->Run(20ms);
        return done();
    }
    void put(const char* text) {
        ASSERT_EQ(write(m_pair[1], text, strlen(text)), static_cast<ssize_t>(strlen(text)));
    }

    std::unique_ptr<kr::EpollEvents> m_events = kr::MakeEpollEvents();
    int m_pair[2] = {-1, -1};
};

TEST_F(EpollEventsTest, RunReturnsAfterItsWaitWhenNothingIsDue) {
    const auto start = Clock::now();
    m_events->Run(30ms);
    EXPECT_GE(Clock::now() - start, 29ms);
    EXPECT_LT(Clock::now() - start, 500ms);
    const auto again = Clock::now();
    m_events->Run(0ms);
    EXPECT_LT(Clock::now() - again, 20ms);
}

TEST_F(EpollEventsTest, ATimerRepeatsUntilItIsCancelled) {
    int ticks = 0;
    Events::Id id = 0;
    const auto start = Clock::now();
    id = m_events->AddTimer(10ms, [&] {
        if (++ticks == 5)
            m_events->Cancel(id);
    });
    EXPECT_TRUE(until([&] { return ticks == 5; }));
    EXPECT_GE(Clock::now() - start, 48ms);
    EXPECT_FALSE(until([&] { return ticks > 5; }, 50ms));
}

TEST_F(EpollEventsTest, ATimerBehindACancelledOneComesInItsTime) {
    bool came = false, later = false;
    m_events->AddTimer(10s, [&] { later = true; });
    const auto first = m_events->AddTimer(5ms, [] {});
    m_events->Cancel(first);
    const auto start = Clock::now();
    m_events->AddTimer(40ms, [&] { came = true; });
    EXPECT_TRUE(until([&] { return came; }));
    EXPECT_GE(Clock::now() - start, 39ms);
    EXPECT_LT(Clock::now() - start, 500ms);
    EXPECT_FALSE(later);
}

TEST_F(EpollEventsTest, TimersComeInTheOrderOfTheirTimes) {
    std::string order;
    m_events->AddTimer(30ms, [&] { order += 'c'; });
    m_events->AddTimer(10ms, [&] { order += 'a'; });
    m_events->AddTimer(20ms, [&] { order += 'b'; });
    std::this_thread::sleep_for(35ms);
    m_events->Run(0ms);
    EXPECT_EQ(order, "abc");
}

TEST_F(EpollEventsTest, AHeldUpLoopSkipsTheTicksItMissed) {
    int ticks = 0;
    m_events->AddTimer(5ms, [&] { ++ticks; });
    std::this_thread::sleep_for(100ms);
    m_events->Run(0ms);
    m_events->Run(0ms);
    EXPECT_EQ(ticks, 1);
}

TEST_F(EpollEventsTest, ATimerMayCancelAnotherThatIsDueInTheSameTurn) {
    int second = 0;
    Events::Id victim = 0;
    m_events->AddTimer(5ms, [&] { m_events->Cancel(victim); });
    victim = m_events->AddTimer(6ms, [&] { ++second; });
    std::this_thread::sleep_for(20ms);
    m_events->Run(0ms);
    m_events->Run(0ms);
    EXPECT_EQ(second, 0);
}

TEST_F(EpollEventsTest, NestedRunServesOtherTimersButNotTheOneUnderWay) {
    int depth = 0;
    int deepest = 0;
    int others = 0;
    int outer = 0;
    m_events->AddTimer(5ms, [&] {
        ++depth;
        deepest = std::max(deepest, depth);
        ++outer;
        const int before = others;
        until([&] { return others >= before + 3; }, 500ms);
        EXPECT_GE(others, before + 3);
        --depth;
    });
    m_events->AddTimer(5ms, [&] { ++others; });
    EXPECT_TRUE(until([&] { return outer >= 3; }));
    EXPECT_EQ(deepest, 1);
}

TEST_F(EpollEventsTest, AWatchTellsWhatHolds) {
    unsigned seen = 0;
    const auto id = m_events->AddWatch(m_pair[0], Events::Readable | Events::Writable,
                                       [&](unsigned now) { seen = now; });
    m_events->Run(100ms);
    EXPECT_EQ(seen, unsigned(Events::Writable));
    m_events->SetWatch(id, Events::Readable);
    seen = 0;
    m_events->Run(0ms);
    EXPECT_EQ(seen, 0u);
    put("x");
    m_events->Run(100ms);
    EXPECT_EQ(seen, unsigned(Events::Readable));
}

TEST_F(EpollEventsTest, AClosedPeerCountsAsReadable) {
    unsigned seen = 0;
    m_events->AddWatch(m_pair[0], Events::Readable, [&](unsigned now) { seen = now; });
    close(m_pair[1]);
    m_events->Run(100ms);
    EXPECT_EQ(seen, unsigned(Events::Readable));
    m_pair[1] = dup(m_pair[0]);
}

TEST_F(EpollEventsTest, AWatchForNothingKeepsTheLoopAsleepOnAClosedPeer) {
    int calls = 0;
    const auto id = m_events->AddWatch(m_pair[0], 0, [&](unsigned) { ++calls; });
    close(m_pair[1]);
    const auto start = Clock::now();
    m_events->Run(50ms);
    EXPECT_GE(Clock::now() - start, 49ms);
    EXPECT_EQ(calls, 0);
    m_events->SetWatch(id, Events::Readable);
    m_events->Run(50ms);
    EXPECT_EQ(calls, 1);
    m_events->SetWatch(id, 0);
    m_events->Run(20ms);
    EXPECT_EQ(calls, 1);
    m_pair[1] = dup(m_pair[0]);
}

TEST_F(EpollEventsTest, ACallbackMayCancelItselfAndOthersOfTheSameTurn) {
    int second[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, second), 0);
    Events::Id ids[2] = {0, 0};
    int calls = 0;
    const auto cancelBoth = [&](unsigned) {
        ++calls;
        m_events->Cancel(ids[0]);
        m_events->Cancel(ids[1]);
    };
    ids[0] = m_events->AddWatch(m_pair[0], Events::Writable, cancelBoth);
    ids[1] = m_events->AddWatch(second[0], Events::Writable, cancelBoth);
    m_events->Run(100ms);
    m_events->Run(0ms);
    EXPECT_EQ(calls, 1);
    close(second[0]);
    close(second[1]);
}

TEST_F(EpollEventsTest, CancellingAnOldWatchLeavesTheNewOwnerOfItsDescriptor) {
    const int first = socket(AF_UNIX, SOCK_DGRAM, 0);
    const auto old = m_events->AddWatch(first, Events::Readable, [](unsigned) { FAIL(); });
    close(first);
    const int second = socket(AF_UNIX, SOCK_DGRAM, 0);
    ASSERT_EQ(second, first);
    int calls = 0;
    const auto now = m_events->AddWatch(second, Events::Writable, [&](unsigned) { ++calls; });
    EXPECT_NE(now, old);
    m_events->Cancel(old);
    m_events->Run(50ms);
    EXPECT_EQ(calls, 1);
    m_events->Cancel(now);
    close(second);
}

TEST_F(EpollEventsTest, WhatCannotBeWatchedThrows) {
    EXPECT_THROW(m_events->AddWatch(-1, Events::Readable, [](unsigned) {}), kr::PlatformError);
    FILE* file = tmpfile();
    try {
        m_events->AddWatch(fileno(file), Events::Readable, [](unsigned) {});
        FAIL() << "a plain file was taken";
    } catch (const kr::PlatformError& error) {
        EXPECT_EQ(error.number(), EPERM);
    }
    fclose(file);
}

TEST_F(EpollEventsTest, NestedRunTakesTheConditionsThatTheOuterTurnStillHolds) {
    // both ends become readable; the first callback's nested loop reads the second one empty
    int second[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, second), 0);
    std::vector<std::string> got(2);
    bool nested = false;
    const auto reader = [&](int fd, size_t slot) {
        return [&, fd, slot](unsigned) {
            char c = 0;
            // a stale condition would block here for ever
            ASSERT_EQ(recv(fd, &c, 1, MSG_DONTWAIT), 1);
            got[slot] += c;
            if (!nested) {
                nested = true;
                until([&] { return got[0] == "a" && got[1] == "b"; }, 500ms);
            }
        };
    };
    m_events->AddWatch(m_pair[0], Events::Readable, reader(m_pair[0], 0));
    m_events->AddWatch(second[0], Events::Readable, reader(second[0], 1));
    put("a");
    ASSERT_EQ(write(second[1], "b", 1), 1);
    m_events->Run(100ms);
    m_events->Run(0ms);
    EXPECT_EQ(got[0], "a");
    EXPECT_EQ(got[1], "b");
    close(second[0]);
    close(second[1]);
}

TEST_F(EpollEventsTest, PostsFromThreadsAllRunHereInEachThreadsOrder) {
    const auto here = std::this_thread::get_id();
    std::vector<int> last(4, -1);
    int calls = 0;
    std::vector<std::thread> threads;
    for (size_t t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i)
                m_events->Post([&, t, i] {
                    EXPECT_EQ(std::this_thread::get_id(), here);
                    EXPECT_EQ(last[t], i - 1);
                    last[t] = i;
                    ++calls;
                });
        });
    EXPECT_TRUE(until([&] { return calls == 2000; }));
    for (auto& thread : threads)
        thread.join();
}

TEST_F(EpollEventsTest, APostThatPostsItselfDoesNotKeepRunForItself) {
    int calls = 0;
    std::function<void()> again = [&] {
        ++calls;
        m_events->Post(again);
    };
    m_events->Post(again);
    m_events->Run(10ms);
    EXPECT_EQ(calls, 1);
    m_events->Run(10ms);
    EXPECT_EQ(calls, 2);
}

TEST_F(EpollEventsTest, APostWithANestedRunLeavesNoneBehind) {
    std::string order;
    m_events->Post([&] {
        order += 'a';
        m_events->Run(100ms);
        order += 'd';
    });
    m_events->Post([&] { order += 'b'; });
    m_events->Post([&] { order += 'c'; });
    m_events->Run(10ms);
    EXPECT_EQ(order, "abcd");
}

TEST_F(EpollEventsTest, AThrowingCallLeavesTheLoopUsable) {
    int after = 0;
    m_events->Post([] { throw std::runtime_error("x"); });
    m_events->Post([&] { ++after; });
    EXPECT_THROW(m_events->Run(10ms), std::runtime_error);
    m_events->Run(10ms);
    EXPECT_EQ(after, 1);
    int ticks = 0;
    m_events->AddTimer(2ms, [&] {
        if (++ticks == 1)
            throw std::runtime_error("y");
    });
    EXPECT_THROW(until([] { return false; }, 50ms), std::runtime_error);
    EXPECT_TRUE(until([&] { return ticks >= 3; }));
}

TEST_F(EpollEventsTest, ObjectsHeldByCallsMayCancelWhenTheLoopGoes) {
    struct Owner {
        Events& events;
        Events::Id id;
        ~Owner() { events.Cancel(id); }
    };
    int ticks = 0;
    const auto id = m_events->AddTimer(1ms, [&] { ++ticks; });
    auto owner = std::make_shared<Owner>(Owner{*m_events, id});
    m_events->Post([owner] {});
    m_events->AddTimer(1ms, [owner] {});
    owner.reset();
    m_events.reset();
    EXPECT_EQ(ticks, 0);
}

TEST_F(EpollEventsTest, AHundredEchoesPassWhole) {
    constexpr size_t kPairs = 100;
    constexpr size_t kBytes = 20'000;
    struct Echo {
        int near, far;
        size_t sent = 0, back = 0;
    };
    std::vector<Echo> echoes;
    for (size_t i = 0; i < kPairs; ++i) {
        int fds[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds), 0);
        echoes.push_back({fds[0], fds[1]});
    }
    size_t total = 0;
    for (auto& echo : echoes) {
        m_events->AddWatch(echo.far, Events::Readable, [&](unsigned) {
            char buffer[4096];
            const ssize_t n = recv(echo.far, buffer, sizeof buffer, 0);
            if (n > 0)
                ASSERT_EQ(send(echo.far, buffer, size_t(n), MSG_NOSIGNAL), n);
        });
        m_events->AddWatch(echo.near, Events::Readable | Events::Writable, [&](unsigned now) {
            char buffer[1000] = {};
            if ((now & Events::Writable) && echo.sent < kBytes && echo.sent - echo.back < 8000)
                echo.sent += size_t(send(echo.near, buffer, sizeof buffer, MSG_NOSIGNAL));
            if (now & Events::Readable) {
                const ssize_t n = recv(echo.near, buffer, sizeof buffer, 0);
                ASSERT_GT(n, 0);
                echo.back += size_t(n);
                total += size_t(n);
            }
        });
    }
    EXPECT_TRUE(until([&] { return total == kPairs * kBytes; }, 20'000ms));
    for (auto& echo : echoes) {
        close(echo.near);
        close(echo.far);
    }
}

} // namespace
