#include "core/Log.h"

#include <fcntl.h>
#include <unistd.h>

#include <new>
#include <utility>

#include "core/basDate.h"

namespace kr {

const std::string& Log::stamp(Time now) const {
    if (now != m_state->second) {
        m_state->stamp = FormatDate(UTCToLocal(now, m_clock)) + ':';
        m_state->second = now;
    }
    return m_state->stamp;
}

int Log::open(Time now) const {
    if (m_state->fd >= 0 && m_state->opened == now)
        return m_state->fd;
    close();
    m_state->opened = now;
    return m_state->fd = ::open(m_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
}

void Log::close() const {
    if (m_state->fd >= 0)
        ::close(std::exchange(m_state->fd, -1));
}

void Log::Write(std::string_view text, bool noTimestamp) const {
    try {
        const Time now = m_clock.now();
        std::string line = noTimestamp ? std::string() : stamp(now);
        line.reserve(line.size() + text.size() + 1);
        // A NUL would make the file look binary to the tools that people read it with.
        line += text;
        std::erase(line, '\0');
        line += '\n';
        const int fd = open(now);
        if (fd < 0)
            return;
        // One write keeps the line whole when several copies append at a time.
        [[maybe_unused]] const ssize_t written = write(fd, line.data(), line.size());
        if (m_state->bursts == 0)
            close();
    } catch (const std::bad_alloc&) {
        // The log never gets in the way.
    }
}

} // namespace kr
