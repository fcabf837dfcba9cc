#include "core/Log.h"

#include <fcntl.h>
#include <unistd.h>

#include "core/basDate.h"

namespace kr {

namespace {

std::string lineOf(std::string_view text, bool noTimestamp, const Clock& clock) {
    std::string line;
    if (!noTimestamp)
        line = FormatDate(UTCToLocal(clock.now(), clock)) + ':';
    // A NUL would make the file look binary to the tools that people read it with.
    for (const char c : text)
        if (c != '\0')
            line += c;
    return line + '\n';
}

} // namespace

void Log::Write(std::string_view text, bool noTimestamp) const {
    try {
        const std::string line = lineOf(text, noTimestamp, m_clock);
        const int fd = open(m_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0)
            return;
        // One write keeps the line whole when several copies append at a time.
        [[maybe_unused]] const ssize_t written = write(fd, line.data(), line.size());
        close(fd);
    } catch (const std::bad_alloc&) {
        // The log never gets in the way.
    }
}

} // namespace kr
