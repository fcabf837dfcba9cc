#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/Clock.h"

namespace kr {

/// The console's log, one append-only text file. It is opened for each line and closed again, so
/// that a crash loses nothing and several copies can share it. All errors are swallowed: a folder
/// that can't be written means no log and no complaint.
class Log {
public:
    /// While one of these stands, the lines of one second go through one opening: long work writes
    /// thousands. Each is still in the file before Write returns.
    class Burst {
    public:
        explicit Burst(const Log& log) : m_log(log) { ++m_log.m_state->bursts; }
        ~Burst() {
            if (--m_log.m_state->bursts == 0)
                m_log.close();
        }
        Burst(const Burst&) = delete;
        Burst& operator=(const Burst&) = delete;

    private:
        const Log& m_log;
    };

    Log(std::string path, const Clock& clock) : m_path(std::move(path)), m_clock(clock) {}
    /// "<date and time>:<text>" in local time; with noTimestamp the text alone.
    void Write(std::string_view text, bool noTimestamp = false) const;
    void operator()(std::string_view text) const { Write(text); }
    const std::string& path() const { return m_path; }

private:
    const std::string& stamp(Time now) const;
    int open(Time now) const;
    void close() const;

    std::string m_path;
    const Clock& m_clock;
    // copies of a log share it
    struct State {
        Time second = Time::max(); // the last line's
        std::string stamp;         // the beginning of the lines of that second
        int bursts = 0;
        int fd = -1; // during a burst
        Time opened{};
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace kr
