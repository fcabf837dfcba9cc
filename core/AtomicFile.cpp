#include "core/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace kr {

namespace {

bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t n = write(fd, content.data(), content.size());
        if (n < 0 && errno != EINTR)
            return false;
        if (n > 0)
            content.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

/// Opens, writes and closes; errno tells why it failed.
bool writeTo(const std::string& path, int flags, mode_t mode, bool keepMode,
             std::string_view content) {
    const int fd = open(path.c_str(), flags | O_WRONLY | O_CLOEXEC, mode);
    if (fd < 0)
        return false;
    struct stat info {};
    const bool plain = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    const bool written =
        (!keepMode || fchmod(fd, mode) == 0) && writeAll(fd, content) && (!plain || fsync(fd) == 0);
    const int reason = errno;
    const bool closed = close(fd) == 0;
    if (!written)
        errno = reason;
    return written && closed;
}

std::string targetOf(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? std::string(real.get()) : path;
}

} // namespace

bool WriteFileAtomically(const std::string& path, std::string_view content, std::string& error) {
    const std::string target = targetOf(path);
    struct stat old {};
    const bool exists = stat(target.c_str(), &old) == 0;
    bool done = false;
    if (exists && !S_ISREG(old.st_mode)) {
        done = writeTo(target, 0, 0, false, content);
    } else {
        const std::string fresh = target + '.' + std::to_string(getpid()) + ".part";
        const mode_t mode = exists ? old.st_mode & 0777 : 0666;
        done = writeTo(fresh, O_CREAT | O_TRUNC | O_NOFOLLOW, mode, exists, content) &&
               rename(fresh.c_str(), target.c_str()) == 0;
        const int reason = errno;
        if (!done)
            unlink(fresh.c_str());
        errno = reason;
    }
    if (!done)
        error = std::strerror(errno);
    return done;
}

} // namespace kr
