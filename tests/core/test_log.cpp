#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "core/Log.h"

namespace kr {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class SetClock : public Clock {
public:
    Time now() const override { return at; }
    Time at{std::chrono::seconds(1773135000)}; // 2026-03-10 09:30:00 UTC
};

class LogTest : public ::testing::Test {
protected:
    LogTest() {
        setenv("TZ", "Europe/Berlin", 1);
        std::string pattern = (fs::temp_directory_path() / "kr-log-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
    }
    ~LogTest() override { fs::remove_all(m_folder); }
    std::string path() const { return m_folder + "/KR-Admin.log"; }
    std::string content() const {
        std::ifstream in(path(), std::ios::binary);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }

    std::string m_folder;
    SetClock clock;
};

TEST_F(LogTest, ALineHasLocalTimeAndText) {
    const Log log(path(), clock);
    log("DoLogon: first");
    log.Write("==========v.4.0.0==========", true);
    clock.at += std::chrono::hours(4);
    log.Write("second");
    EXPECT_EQ(content(), "3/10/2026 10:30:00 AM:DoLogon: first\n"
                         "==========v.4.0.0==========\n"
                         "3/10/2026 2:30:00 PM:second\n");
}

TEST_F(LogTest, TextStaysAsItIsButForNul) {
    const Log log(path(), clock);
    log.Write("two\r\nlines\0 \xFF"s, true);
    EXPECT_EQ(content(), "two\r\nlines \xFF\n");
}

TEST_F(LogTest, AFileThatWasDeletedMeanwhileComesBack) {
    const Log log(path(), clock);
    log.Write("a", true);
    fs::remove(path());
    log.Write("b", true);
    EXPECT_EQ(content(), "b\n");
}

TEST_F(LogTest, ErrorsAreSwallowed) {
    EXPECT_NO_THROW(Log(m_folder + "/no/such/folder/x.log", clock)("lost"));
    EXPECT_NO_THROW(Log(m_folder, clock)("a folder"));
    EXPECT_NO_THROW(Log("/dev/full", clock)("no room"));
    EXPECT_NO_THROW(Log("", clock)("no name"));
    EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(LogTest, ABurstWritesEachLineAtOnceAndOpensAnewEachSecond) {
    const Log log(path(), clock);
    {
        const Log::Burst burst(log);
        log.Write("a", true);
        EXPECT_EQ(content(), "a\n");
        const Log other(path(), clock);
        other.Write("b", true);
        const Log::Burst inner(log);
        log.Write("c", true);
        EXPECT_EQ(content(), "a\nb\nc\n");
        fs::remove(path());
        clock.at += std::chrono::seconds(1);
        log("d");
        EXPECT_EQ(content(), "3/10/2026 10:30:01 AM:d\n");
    }
    fs::remove(path());
    log.Write("e", true);
    EXPECT_EQ(content(), "e\n");
}

TEST_F(LogTest, LinesOfSeveralCopiesStayWhole) {
    constexpr int kCopies = 4;
    constexpr int kLines = 300;
    for (int copy = 0; copy < kCopies; ++copy) {
        if (fork() == 0) {
            const Log log(path(), clock);
            for (int i = 0; i < kLines; ++i)
                log.Write(std::string(3000, static_cast<char>('a' + copy)), true);
            _exit(0);
        }
    }
    while (wait(nullptr) > 0) {
    }
    std::map<std::string, int> lines;
    std::ifstream in(path());
    for (std::string line; std::getline(in, line);)
        ++lines[line];
    EXPECT_EQ(lines.size(), static_cast<size_t>(kCopies));
    for (const auto& [line, count] : lines)
        EXPECT_EQ(count, kLines);
}

} // namespace
} // namespace kr
