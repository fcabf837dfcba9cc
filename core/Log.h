#pragma once

#include <string>
#include <string_view>

#include "core/Clock.h"

namespace kr {

/// The console's log, one append-only text file. It is opened for each line and closed again, so
/// that a crash loses nothing and several copies can share it. All errors are swallowed: a folder
/// that can't be written means no log and no complaint.
class Log {
public:
    Log(std::string path, const Clock& clock) : m_path(std::move(path)), m_clock(clock) {}
    /// "<date and time>:<text>" in local time; with noTimestamp the text alone.
    void Write(std::string_view text, bool noTimestamp = false) const;
    void operator()(std::string_view text) const { Write(text); }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    const Clock& m_clock;
};

} // namespace kr
