#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "app/SingleInstance.h"

using namespace std::chrono_literals;
using kr::SingleInstance;
using Result = SingleInstance::Result;

namespace {

constexpr const char* kTitle = "zandrelAgent Administrator";

class SingleInstanceTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = "/tmp/kr-instance-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
        unsetenv("DISPLAY");
        unsetenv("XDG_ACTIVATION_TOKEN");
        unsetenv("DESKTOP_STARTUP_ID");
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    /// Serves a first copy until a second one has been heard, at most three seconds.
    static void serve(SingleInstance& first, const std::atomic<bool>& stop) {
        const auto end = std::chrono::steady_clock::now() + 3s;
        while (!stop && std::chrono::steady_clock::now() < end) {
            pollfd wait{first.fd(), POLLIN, 0};
            if (poll(&wait, 1, 20) > 0)
                first.Process();
        }
    }
    /// Starts a second copy while the first is served; gives its result.
    Result second(SingleInstance& first) {
        std::atomic<bool> stop{false};
        Result result = Result::First;
        std::thread other([&] {
            SingleInstance copy("test", m_folder);
            result = copy.Acquire(kTitle);
            stop = true;
        });
        serve(first, stop);
        other.join();
        return result;
    }

    std::string m_folder;
};

TEST_F(SingleInstanceTest, ASecondCopyRaisesTheFirstWithItsToken) {
    SingleInstance first("test", m_folder);
    std::vector<std::string> tokens;
    first.OnRaise([&](std::string token) { tokens.push_back(std::move(token)); });
    ASSERT_EQ(first.Acquire(kTitle), Result::First);
    EXPECT_EQ(second(first), Result::RaisedOther);
    setenv("DESKTOP_STARTUP_ID", "startup-1", 1);
    EXPECT_EQ(second(first), Result::RaisedOther);
    setenv("XDG_ACTIVATION_TOKEN", "token\n2", 1);
    EXPECT_EQ(second(first), Result::RaisedOther);
    EXPECT_EQ(tokens, (std::vector<std::string>{"", "startup-1", "token2"}));
}

TEST_F(SingleInstanceTest, WhenTheFirstHasEndedTheNextIsFirst) {
    {
        SingleInstance first("test", m_folder);
        EXPECT_EQ(first.Acquire(kTitle), Result::First);
        EXPECT_GE(first.fd(), 0);
    }
    SingleInstance next("test", m_folder);
    EXPECT_EQ(next.Acquire(kTitle), Result::First);
    EXPECT_EQ(second(next), Result::RaisedOther);
}

TEST_F(SingleInstanceTest, ACrashLeavesNothingThatHinders) {
    const pid_t child = fork();
    if (child == 0) {
        SingleInstance first("test", m_folder);
        const bool isFirst = first.Acquire(kTitle) == Result::First;
        kill(getpid(), isFirst ? SIGKILL : SIGTERM);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ASSERT_TRUE(std::filesystem::exists(m_folder + "/test.socket"));
    SingleInstance next("test", m_folder);
    EXPECT_EQ(next.Acquire(kTitle), Result::First);
    EXPECT_EQ(second(next), Result::RaisedOther);
}

TEST_F(SingleInstanceTest, AFirstCopyThatDoesNotAnswerIsNotFound) {
    SingleInstance first("test", m_folder);
    ASSERT_EQ(first.Acquire(kTitle), Result::First);
    SingleInstance other("test", m_folder);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(other.Acquire(kTitle), Result::OtherNotFound);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1990ms);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3000ms);
    EXPECT_EQ(other.fd(), -1);
    // the one that gave up has closed its end: answering it must not end us by a signal
    int raised = 0;
    first.OnRaise([&](const std::string&) { ++raised; });
    first.Process();
    first.Process();
    EXPECT_EQ(raised, 1);
}

TEST_F(SingleInstanceTest, OtherNamesAndFoldersDoNotMeet) {
    SingleInstance first("test", m_folder);
    SingleInstance other("another", m_folder);
    EXPECT_EQ(first.Acquire(kTitle), Result::First);
    EXPECT_EQ(other.Acquire(kTitle), Result::First);
}

TEST_F(SingleInstanceTest, NonsenseOnTheSocketIsDropped) {
    SingleInstance first("test", m_folder);
    int raised = 0;
    first.OnRaise([&](const std::string&) { ++raised; });
    ASSERT_EQ(first.Acquire(kTitle), Result::First);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (m_folder + "/test.socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const auto say = [&](const std::string& text) {
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(send(fd, text.data(), text.size(), MSG_NOSIGNAL), ssize_t(text.size()));
        for (int i = 0; i < 20; ++i)
            first.Process();
        char reply[8] = {};
        const ssize_t got = recv(fd, reply, sizeof reply, MSG_DONTWAIT);
        const int error = errno;
        close(fd);
        if (got > 0)
            return std::string(reply, size_t(got));
        // closed with bytes of ours unread: a reset
        return std::string(got == 0 || error == ECONNRESET ? "closed" : "");
    };
    EXPECT_EQ(say("delete everything\n"), "closed");
    EXPECT_EQ(say("raise"), "");
    EXPECT_EQ(say(std::string(10'000, 'x')), "closed");
    EXPECT_EQ(raised, 0);
    EXPECT_EQ(say("raise t\n"), "ok\n");
    EXPECT_EQ(raised, 1);
}

TEST_F(SingleInstanceTest, TheLockIsOursAlone) {
    SingleInstance first("test", m_folder);
    ASSERT_EQ(first.Acquire(kTitle), Result::First);
    struct stat info {};
    ASSERT_EQ(stat((m_folder + "/test.lock").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(SingleInstanceTest, TheRuntimeFolderIsUsedWhenItIsOurs) {
    ASSERT_EQ(chmod(m_folder.c_str(), 0700), 0);
    setenv("XDG_RUNTIME_DIR", m_folder.c_str(), 1);
    {
        SingleInstance first("runtime-test");
        ASSERT_EQ(first.Acquire(kTitle), Result::First);
        EXPECT_TRUE(std::filesystem::exists(m_folder + "/runtime-test.lock"));
    }
    // a folder that others may enter is not trusted
    ASSERT_EQ(chmod(m_folder.c_str(), 0755), 0);
    SingleInstance first("other-test");
    ASSERT_EQ(first.Acquire(kTitle), Result::First);
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/other-test.lock"));
    unsetenv("XDG_RUNTIME_DIR");
    std::filesystem::remove("/tmp/kr-admin-" + std::to_string(geteuid()) + "/other-test.lock");
}

/// A display of its own with a window manager.
class RaiseWindowTest : public SingleInstanceTest {
protected:
    void SetUp() override {
        SingleInstanceTest::SetUp();
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        const std::string number = std::to_string(fds[1]);
        m_server = start({"Xvfb", "-displayfd", number.c_str(), "-screen", "0", "640x480x24",
                          "-nolisten", "tcp"});
        close(fds[1]);
        char display[16] = {};
        pollfd wait{fds[0], POLLIN, 0};
        ASSERT_GT(poll(&wait, 1, 10'000), 0) << "Xvfb does not start";
        ASSERT_GT(read(fds[0], display, sizeof display - 1), 0);
        close(fds[0]);
        setenv("DISPLAY", (":" + std::to_string(atoi(display))).c_str(), 1);
        m_manager = start({"openbox"});
        m_x = xcb_connect(nullptr, nullptr);
        ASSERT_EQ(xcb_connection_has_error(m_x), 0);
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_x)).data->root;
        for (int i = 0; i < 500 && value(m_root, "_NET_SUPPORTING_WM_CHECK") == 0; ++i)
            std::this_thread::sleep_for(10ms);
        ASSERT_NE(value(m_root, "_NET_SUPPORTING_WM_CHECK"), 0u) << "openbox does not start";
    }
    void TearDown() override {
        if (m_x != nullptr)
            xcb_disconnect(m_x);
        for (const pid_t pid : {m_manager, m_server})
            if (pid > 0) {
                kill(pid, SIGTERM);
                waitpid(pid, nullptr, 0);
            }
        unsetenv("DISPLAY");
        SingleInstanceTest::TearDown();
    }
    static pid_t start(std::vector<const char*> argv) {
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
        pid_t pid = 0;
        if (posix_spawnp(&pid, argv[0], &files, nullptr, const_cast<char* const*>(argv.data()),
                         environ) != 0)
            pid = 0;
        posix_spawn_file_actions_destroy(&files);
        return pid;
    }
    xcb_atom_t atom(const char* name) {
        auto* reply = xcb_intern_atom_reply(
            m_x, xcb_intern_atom(m_x, 0, uint16_t(strlen(name)), name), nullptr);
        const xcb_atom_t result = reply->atom;
        free(reply);
        return result;
    }
    /// First number of a property; 0 when it isn't there.
    uint32_t value(xcb_window_t window, const char* name) {
        auto* reply = xcb_get_property_reply(
            m_x, xcb_get_property(m_x, 0, window, atom(name), XCB_ATOM_ANY, 0, 1), nullptr);
        uint32_t result = 0;
        if (reply != nullptr && xcb_get_property_value_length(reply) >= 4)
            memcpy(&result, xcb_get_property_value(reply), 4);
        free(reply);
        return result;
    }
    xcb_window_t window(const std::string& title) {
        const xcb_window_t id = xcb_generate_id(m_x);
        xcb_create_window(m_x, XCB_COPY_FROM_PARENT, id, m_root, 10, 10, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_change_property(m_x, XCB_PROP_MODE_REPLACE, id, atom("_NET_WM_NAME"),
                            atom("UTF8_STRING"), 8, uint32_t(title.size()), title.data());
        // a window manager that is still starting may miss a window
        bool managed = false;
        for (int i = 0; i < 20 && !managed; ++i) {
            xcb_unmap_window(m_x, id);
            xcb_map_window(m_x, id);
            xcb_flush(m_x);
            managed = waitFor([&] { return value(id, "WM_STATE") == 1; }, 20);
        }
        EXPECT_TRUE(managed);
        return id;
    }
    static bool waitFor(const std::function<bool()>& done, int turns = 300) {
        for (int i = 0; i < turns && !done(); ++i)
            std::this_thread::sleep_for(10ms);
        return done();
    }
    bool becomesActive(xcb_window_t id) {
        return waitFor([&] { return value(m_root, "_NET_ACTIVE_WINDOW") == id; });
    }

    pid_t m_server = 0;
    pid_t m_manager = 0;
    xcb_connection_t* m_x = nullptr;
    xcb_window_t m_root = 0;
};

TEST_F(RaiseWindowTest, TheWindowOfThatTitleComesToTheFront) {
    const xcb_window_t ours = window("ZANDRELAGENT administrator");
    const xcb_window_t other = window("zandrelAgent Administrator - more");
    ASSERT_TRUE(kr::RaiseWindow("zandrelAgent Administrator - MORE"));
    ASSERT_TRUE(becomesActive(other));
    EXPECT_TRUE(kr::RaiseWindow(kTitle));
    EXPECT_TRUE(becomesActive(ours));
}

TEST_F(RaiseWindowTest, AMinimisedWindowIsRestored) {
    const xcb_window_t ours = window(kTitle);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = ours;
    event.type = atom("WM_CHANGE_STATE");
    event.data.data32[0] = 3; // IconicState
    xcb_send_event(m_x, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(m_x);
    ASSERT_TRUE(waitFor([&] { return value(ours, "WM_STATE") == 3; }));
    EXPECT_TRUE(kr::RaiseWindow(kTitle));
    EXPECT_TRUE(waitFor([&] { return value(ours, "WM_STATE") == 1; }));
    EXPECT_TRUE(becomesActive(ours));
}

TEST_F(RaiseWindowTest, WithoutSuchAWindowNothingIsRaised) {
    window("Something else");
    EXPECT_FALSE(kr::RaiseWindow(kTitle));
}

TEST_F(RaiseWindowTest, ASecondCopyFindsTheWindowOfAFirstThatDoesNotAnswer) {
    const xcb_window_t ours = window(kTitle);
    window("Something else");
    SingleInstance first("test", m_folder);
    ASSERT_EQ(first.Acquire(kTitle), Result::First);
    SingleInstance other("test", m_folder);
    EXPECT_EQ(other.Acquire(kTitle), Result::RaisedOther);
    EXPECT_TRUE(becomesActive(ours));
}

TEST(RaiseWindowAloneTest, WithoutADisplayThereIsNoWindow) {
    unsetenv("DISPLAY");
    EXPECT_FALSE(kr::RaiseWindow(kTitle));
    setenv("DISPLAY", ":987", 1);
    EXPECT_FALSE(kr::RaiseWindow(kTitle));
    unsetenv("DISPLAY");
}

} // namespace
