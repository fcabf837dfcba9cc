#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Delimited.h"
#include "platform/database/local/Numbers.h"
#include "platform/database/local/TableSource.h"

namespace kr {

namespace {

using SteadyClock = std::chrono::steady_clock;
/// Milliseconds between two looks at the cancel mark.
constexpr int kTurn = 50;
/// Bytes that a program may write.
constexpr size_t kMostOutput = 1U << 30U;
constexpr const char* kNull = "\\N";
constexpr const char* kDateFormat = "%Y-%m-%d %H:%M:%S";

/// This process's environment without its language: the programs are to write numbers and names in
/// one form everywhere.
class Environment {
public:
    Environment() {
        for (char** entry = environ; *entry; ++entry)
            if (const std::string_view text(*entry);
                !text.starts_with("LC_") && !text.starts_with("LANG"))
                m_entries.push_back(*entry);
        m_entries.push_back(m_language.data());
        m_entries.push_back(nullptr);
    }
    char** get() { return m_entries.data(); }

private:
    std::string m_language = "LC_ALL=C.UTF-8";
    std::vector<char*> m_entries;
};

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
        Environment environment;
        const int rc = posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(),
                                    environment.get());
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

    /// All that it writes until it ends by itself; throws after `seconds` (0: no end) or when
    /// `cancel` is set. False when it failed or was killed.
    bool Read(int seconds, const std::atomic<bool>* cancel, std::string& text) {
        const auto start = SteadyClock::now();
        std::array<char, 65536> piece{};
        for (bool open = true;;) {
            if (cancel && *cancel)
                throw PlatformError(DB_E_CANCELED, "Operation was canceled.", "Access");
            if (seconds > 0 && SteadyClock::now() - start > std::chrono::seconds(seconds))
                throw PlatformError(DB_E_TIMEOUT, "Timeout expired", "Access");
            // what closes its output need not end
            int status = 0;
            if (!open && waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_pid = -1;
                return WIFEXITED(status) && WEXITSTATUS(status) == 0;
            }
            pollfd wait{open ? m_out : -1, POLLIN, 0};
            if (poll(&wait, 1, open ? kTurn : 1) <= 0)
                continue;
            const ssize_t size = read(m_out, piece.data(), piece.size());
            open = size > 0 || (size < 0 && errno == EINTR);
            text.append(piece.data(), static_cast<size_t>(std::max<ssize_t>(size, 0)));
            if (text.size() > kMostOutput)
                throw PlatformError(DB_E_FAIL, "The table is too large.", "Access");
        }
    }

private:
    int m_out = -1;
    pid_t m_pid = -1;
};

/// Bare numbers are numbers; what stood in quotes is text, also when it looks like a number.
Value cellOf(const Delimited::Field& field) {
    if (!field.quoted && (field.text == kNull || field.text.empty()))
        return {};
    double number = 0;
    if (field.quoted || !ReadNumber(field.text, number))
        return field.text;
    const bool whole = field.text.find_first_of(".eE") == std::string_view::npos;
    if (whole && number > -2147483648.0 && number < 2147483648.0)
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
        std::vector<Delimited::Field> fields;
        if (!records.Next(fields))
            return false;
        std::vector<std::string> heading;
        for (const auto& field : fields)
            heading.emplace_back(field.text);
        sink.Columns(HeadingNames(heading));
        std::vector<Value> row;
        while (records.Next(fields)) {
            row.assign(heading.size(), {});
            for (size_t i = 0; i < heading.size() && i < fields.size(); ++i)
                row[i] = cellOf(fields[i]);
            if (!sink.Row(row))
                return true;
        }
        return true;
    }

private:
    std::string output(const std::vector<std::string>& words) const {
        Child child(words);
        std::string text;
        if (!child.Read(m_seconds, m_cancel, text))
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
