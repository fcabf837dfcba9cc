#include "platform/registry/regfile/RegFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>
#include <utility>

namespace kr {

namespace {

constexpr long kAccessDenied = 5;
constexpr long kWriteFault = 29;
constexpr long kLockViolation = 33;
constexpr long kDiskFull = 112;

// The kernel's file times move in steps of a few ms, and an inode's number is soon used again: a
// file younger than this when it was read may have been replaced without its stamp telling so.
constexpr int64_t kSettleTime = 50'000'000; // ns
constexpr auto kLockPatience = std::chrono::seconds(3);

[[noreturn]] void refuse(const std::string& what, const std::string& path, int error) {
    long number = kWriteFault;
    if (error == EACCES || error == EPERM || error == EROFS)
        number = kAccessDenied;
    else if (error == ENOSPC || error == EDQUOT)
        number = kDiskFull;
    throw PlatformError(number, what + " " + path + ": " + std::strerror(error), "Registry");
}

class FileHandle {
public:
    explicit FileHandle(int fd) : m_fd(fd) {}
    ~FileHandle() {
        if (m_fd >= 0)
            close(m_fd);
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    int get() const { return m_fd; }
    bool ok() const { return m_fd >= 0; }

private:
    int m_fd;
};

/// Holds the lock of a file's writers as long as it lives.
class WriteLock {
public:
    explicit WriteLock(const std::string& path)
        : m_file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (!m_file.ok())
            refuse("Could not open", path, errno);
        const auto end = std::chrono::steady_clock::now() + kLockPatience;
        while (flock(m_file.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK && errno != EINTR)
                refuse("Could not lock", path, errno);
            if (std::chrono::steady_clock::now() > end)
                throw PlatformError(kLockViolation, path + " is locked by another program",
                                    "Registry");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    FileHandle m_file;
};

std::string folderOf(const std::string& path) {
    return std::filesystem::path(path).parent_path().string();
}

void makeFolder(const std::string& folder, bool privateFolder) {
    std::error_code error;
    if (std::filesystem::is_directory(folder, error))
        return;
    std::filesystem::create_directories(folder, error);
    if (error)
        refuse("Could not create", folder, error.value());
    if (privateFolder)
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
}

std::string readAll(int fd, const std::string& path) {
    std::string content;
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            refuse("Could not read", path, errno);
        if (n == 0 || content.size() > kRegMaxText)
            return content;
        content.append(buffer, static_cast<size_t>(n));
    }
}

void writeAll(int fd, std::string_view content, const std::string& path) {
    while (!content.empty()) {
        const ssize_t n = write(fd, content.data(), content.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            refuse("Could not write", path, errno);
        content.remove_prefix(static_cast<size_t>(n));
    }
    if (fsync(fd) != 0)
        refuse("Could not write", path, errno);
}

int64_t wallClock() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

RegFile::RegFile(std::string path, bool privateFile, Report report)
    : m_path(std::move(path)), m_private(privateFile), m_report(std::move(report)) {}

RegFile::Stamp RegFile::stampOf(const struct stat& info) {
    return {info.st_ino, info.st_size,
            info.st_mtim.tv_sec * 1'000'000'000LL + info.st_mtim.tv_nsec};
}

void RegFile::complain(const std::string& text) const {
    if (m_report)
        m_report(text);
}

bool RegFile::isFresh() const {
    if (!m_stamp || !m_settled)
        return false;
    struct stat info {};
    if (stat(m_path.c_str(), &info) != 0)
        return *m_stamp == Stamp{};
    return *m_stamp == stampOf(info);
}

bool RegFile::load() {
    m_stamp.reset();
    m_tree = {};
    m_unusable = false;
    const FileHandle file(open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.ok() && errno != ENOENT && errno != ENOTDIR)
        refuse("Could not read", m_path, errno);
    if (!file.ok()) {
        m_stamp = Stamp{};
        m_settled = true;
        return true;
    }
    struct stat info {};
    if (fstat(file.get(), &info) != 0)
        refuse("Could not read", m_path, errno);
    const std::string content = readAll(file.get(), m_path);
    const int64_t age = wallClock() - stampOf(info).modified;
    m_settled = age > kSettleTime || age < 0;
    m_stamp = stampOf(info);
    if (content.empty())
        return true;
    try {
        m_tree = RegTree::FromText(content);
        return true;
    } catch (const PlatformError& e) {
        m_damage = e.description();
        return false;
    }
}

/// The lock is held, or else another program may have repaired the file meanwhile.
void RegFile::setAside() {
    const std::string aside = m_path + ".bad";
    if (rename(m_path.c_str(), aside.c_str()) != 0)
        refuse("Could not set aside", m_path, errno);
    complain("Registry: " + m_path + " is damaged (" + m_damage + ") and was kept as " + aside);
    m_stamp = Stamp{};
    m_settled = true;
}

const RegTree& RegFile::Current() {
    if (isFresh())
        return m_tree;
    try {
        if (load())
            return m_tree;
        const WriteLock lock(m_path + ".lock");
        if (!load())
            setAside();
    } catch (const PlatformError& e) {
        // Read as empty, and complained of once for each version of the file.
        complain("Registry: " + e.description());
        m_tree = {};
        m_unusable = true;
        struct stat info {};
        m_stamp = stat(m_path.c_str(), &info) == 0 ? stampOf(info) : Stamp{};
        m_settled = true;
    }
    return m_tree;
}

bool RegFile::Update(const std::function<bool(RegTree&)>& change) {
    makeFolder(folderOf(m_path), m_private);
    const WriteLock lock(m_path + ".lock");
    if ((m_unusable || !isFresh()) && !load())
        setAside();
    if (!change(m_tree))
        return false;
    try {
        store();
    } catch (...) {
        m_stamp.reset(); // the copy in memory is ahead of the file
        throw;
    }
    return true;
}

/// One fixed name for the new file is safe under the lock and leaves no orphans after a kill.
void RegFile::store() {
    const std::string fresh = m_path + ".new";
    struct stat old {};
    const bool replaces = stat(m_path.c_str(), &old) == 0;
    const mode_t mode = replaces ? old.st_mode & 0777 : m_private ? 0600 : 0644;
    const FileHandle file(
        open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, mode));
    if (!file.ok())
        refuse("Could not write", fresh, errno);
    struct stat info {};
    if (fchmod(file.get(), mode) != 0)
        refuse("Could not write", fresh, errno);
    writeAll(file.get(), m_tree.Text(), fresh);
    if (fstat(file.get(), &info) != 0 || rename(fresh.c_str(), m_path.c_str()) != 0)
        refuse("Could not replace", m_path, errno);
    const FileHandle folder(open(folderOf(m_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.ok())
        fsync(folder.get());
    m_stamp = stampOf(info);
    m_settled = false;
}

} // namespace kr
