#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Delimited.h"
#include "platform/database/local/TableSource.h"

namespace kr {

namespace {

using SteadyClock = std::chrono::steady_clock;
/// Milliseconds between two looks at the cancel mark.
constexpr int kTurn = 50;
constexpr const char* kNull = "\\N";
constexpr const char* kDateFormat = "%Y-%m-%d %H:%M:%S";

/// A child process whose output is read; killed when it is still there at the end.
class Child {
public:
    explicit Child(const std::vector<std::string>& words) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw PlatformError(DB_E_FAIL, "No pipe could be made.", "Access");
        m_out = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        const int rc =
            posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        if (rc != 0) {
            close(m_out);
            throw PlatformError(DB_E_PROVIDER_MISSING,
                                "Provider cannot be found. It may not be properly installed.",
                                "Access");
        }
    }
    ~Child() {
        close(m_out);
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// All that it writes; throws after `seconds` (0: no end) or when `cancel` is set.
    std::string Read(int seconds, const std::atomic<bool>* cancel) {
        const auto start = SteadyClock::now();
        std::string text;
        std::array<char, 65536> piece{};
        for (;;) {
            if (cancel && *cancel)
                throw PlatformError(DB_E_CANCELED, "Operation was canceled.", "Access");
            if (seconds > 0 && SteadyClock::now() - start > std::chrono::seconds(seconds))
                throw PlatformError(DB_E_TIMEOUT, "Timeout expired", "Access");
            pollfd wait{m_out, POLLIN, 0};
            if (poll(&wait, 1, kTurn) <= 0)
                continue;
            const ssize_t size = read(m_out, piece.data(), piece.size());
            if (size <= 0)
                return text;
            text.append(piece.data(), static_cast<size_t>(size));
        }
    }
    /// Whether it ended by itself with 0.
    bool Succeeded() {
        int status = 0;
        const pid_t pid = std::exchange(m_pid, -1);
        return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    int m_out = -1;
    pid_t m_pid = -1;
};

/// Bare numbers are numbers; what stood in quotes is text, also when it looks like a number.
Value cellOf(const std::string& text, bool quoted) {
    if (!quoted && (text == kNull || text.empty()))
        return {};
    if (quoted)
        return text;
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size())
        return text;
    if (text.find_first_of(".eE") == std::string::npos && number > -2147483648.0 &&
        number < 2147483648.0)
        return static_cast<int32_t>(number);
    return number;
}

class AccessFile : public TableSource {
public:
    AccessFile(const std::string& path, int seconds, const std::atomic<bool>* cancel)
        : m_path(path), m_seconds(seconds), m_cancel(cancel) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(path, error))
            throw PlatformError(DB_E_FAIL, "Could not find file '" + path + "'.", "Access");
        // a path that begins with "-" would be read as an option
        m_path = std::filesystem::absolute(path, error).string();
        m_tables = SplitNonEmpty(output({"mdb-tables", "-1", m_path}), "\n");
    }

    bool Read(std::string_view table, TableSink& sink) override {
        const auto found = std::find_if(m_tables.begin(), m_tables.end(),
                                        [&](const auto& name) { return EqualNoCase(name, table); });
        if (found == m_tables.end())
            return false;
        const std::string text = output({"mdb-export", "-0", kNull, "-b", "strip", "-T",
                                         kDateFormat, "-D", kDateFormat, m_path, *found});
        Delimited records(text, ',', '"');
        std::vector<std::string> fields;
        std::vector<bool> quoted;
        if (!records.Next(fields, quoted))
            return false;
        const size_t count = fields.size();
        sink.Columns(HeadingNames(fields));
        std::vector<Value> row;
        while (records.Next(fields, quoted)) {
            row.assign(count, {});
            for (size_t i = 0; i < count && i < fields.size(); ++i)
                row[i] = cellOf(fields[i], quoted[i]);
            if (!sink.Row(row))
                return true;
        }
        return true;
    }

private:
    std::string output(const std::vector<std::string>& words) const {
        Child child(words);
        std::string text = child.Read(m_seconds, m_cancel);
        if (!child.Succeeded())
            throw PlatformError(DB_E_FAIL, "Unrecognized database format '" + m_path + "'.",
                                "Access");
        return text;
    }

    std::string m_path;
    int m_seconds;
    const std::atomic<bool>* m_cancel;
    std::vector<std::string> m_tables;
};

} // namespace

std::unique_ptr<TableSource> OpenAccess(const std::string& path, int seconds,
                                        const std::atomic<bool>* cancel) {
    return std::make_unique<AccessFile>(path, seconds, cancel);
}

} // namespace kr
