#include "platform/store/sqlite/FileCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "platform/store/Store.h"
#include "platform/store/sqlite/Connection.h"

namespace kr::sqlite {

namespace {

// The file header of SQLite (sqlite.org/fileformat2.html, 1.3).
constexpr std::string_view kMagic("SQLite format 3\0", 16);
constexpr size_t kHeaderSize = 100;
constexpr size_t kPageSizeAt = 16, kPageCountAt = 28, kApplicationIdAt = 68;
using Header = std::array<unsigned char, kHeaderSize>;

[[noreturn]] void refuse(long number, const std::string& words) {
    throw PlatformError(number, words, "MessageStore");
}

uint32_t bigEndian(const Header& header, size_t at, size_t size) {
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i)
        value = value << 8 | header[at + i];
    return value;
}

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

[[noreturn]] void refuseMissing(const std::string& path, int error) {
    if (error == EACCES || error == EPERM)
        refuse(MAPI_E_NO_ACCESS, "The store file " + path + " can't be reached: access is denied.");
    struct stat info {};
    const bool noFolder = stat(folderOf(path).c_str(), &info) != 0 || !S_ISDIR(info.st_mode);
    refuse(MAPI_E_NOT_FOUND,
           "There is no message store at " + path +
               (noFolder ? ": the folder " + folderOf(path) + " is missing." : "."));
}

size_t readHeader(const std::string& path, Header& header) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        refuse(MAPI_E_NO_ACCESS,
               "The store file " + path + " can't be read: " + std::strerror(errno) + ".");
    const ssize_t size = read(file, header.data(), header.size());
    close(file);
    return size < 0 ? 0 : static_cast<size_t>(size);
}

/// With a log beside it the file may lawfully be shorter than its header says.
void requireWhole(const std::string& path, const Header& header, off_t size) {
    struct stat log {};
    if (stat((path + "-wal").c_str(), &log) == 0 && log.st_size > 0)
        return;
    uint64_t page = bigEndian(header, kPageSizeAt, 2);
    page = page == 1 ? 65536 : page;
    if (static_cast<uint64_t>(size) < page * bigEndian(header, kPageCountAt, 4))
        refuse(MAPI_E_CORRUPT_STORE, "The store file " + path +
                                         " is damaged: its end is missing. Put a copy from a "
                                         "backup in its place.");
}

} // namespace

void RequireFolderFor(const std::string& path) {
    const std::string folder = folderOf(path);
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        refuse(MAPI_E_NOT_FOUND, "The folder " + folder + " of the store file is missing.");
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        refuse(MAPI_E_NO_ACCESS,
               "The folder " + folder +
                   " can't be written: it is read-only for this user, and a store "
                   "file keeps its log beside itself.");
}

void RequireStoreFile(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        refuseMissing(path, errno);
    if (!S_ISREG(info.st_mode))
        refuse(MAPI_E_NOT_FOUND, "There is no message store at " + path + ": it is not a file.");
    Header header{};
    if (readHeader(path, header) < kHeaderSize ||
        std::memcmp(header.data(), kMagic.data(), kMagic.size()) != 0)
        refuse(MAPI_E_CORRUPT_STORE, path + ": the file is not a message store.");
    if (bigEndian(header, kApplicationIdAt, 4) != kApplicationId)
        refuse(MAPI_E_CORRUPT_STORE,
               path + ": the file is not a message store, but an SQLite file of another program.");
    requireWhole(path, header, info.st_size);
    RequireFolderFor(path);
}

} // namespace kr::sqlite
