#include "platform/store/sqlite/AttachmentFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/store/sqlite/Random.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOAttachment";
constexpr int64_t kStep = 1 << 20;

} // namespace

WholeFile::WholeFile(std::string path)
    : m_path(std::move(path)), m_fresh(m_path + ".new" + std::to_string(RandomNumber())),
      m_file(open(m_fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    if (m_file < 0)
        fail();
}

WholeFile::~WholeFile() {
    if (m_file < 0)
        return;
    close(m_file);
    unlink(m_fresh.c_str());
}

void WholeFile::fail() {
    const bool full = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
    Refuse(full ? MAPI_E_NOT_ENOUGH_DISK : MAPI_E_NO_ACCESS,
           "The file " + m_path + " can't be written: " + std::strerror(errno) + ".", kSource);
}

void WholeFile::Write(const void* data, size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(m_file, at, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail();
        at += written;
        size -= static_cast<size_t>(written);
    }
}

void WholeFile::Finish() {
    if (fsync(m_file) != 0 || std::rename(m_fresh.c_str(), m_path.c_str()) != 0)
        fail();
    close(m_file);
    m_file = -1;
}

Bytes ReadWholeFile(const std::string& path) {
    const auto refuse = [&] {
        Refuse(errno == EACCES ? MAPI_E_NO_ACCESS : MAPI_E_NOT_FOUND,
               "The file " + path + " can't be attached: " + std::strerror(errno) + ".", kSource);
    };
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        refuse();
    Bytes content;
    for (ssize_t size = 1; size > 0;) {
        const size_t at = content.size();
        content.resize(at + kStep);
        size = read(file, content.data() + at, kStep);
        if (size < 0)
            break;
        content.resize(at + static_cast<size_t>(size));
        if (size == 0) {
            close(file);
            return content;
        }
    }
    const int error = errno;
    close(file);
    errno = error;
    refuse();
    return {};
}

AttachmentReader::AttachmentReader(StoreFile& file, const AttachmentData& data)
    : m_file(file), m_blob(nullptr, sqlite3_blob_close) {
    if (file.Number(0, "SELECT 1 FROM attach WHERE id=? AND msg=?", data.id, data.message) == 0)
        Refuse(MAPI_E_OBJECT_DELETED, "The attachment has been deleted.", kSource);
    sqlite3_blob* blob = nullptr;
    const int rc = sqlite3_blob_open(file.db(), "main", "attach_data", "data", data.id, 0, &blob);
    m_blob.reset(blob);
    if (rc != SQLITE_OK)
        Fail(file.db(), rc);
}

int64_t AttachmentReader::Size() const { return sqlite3_blob_bytes(m_blob.get()); }

void AttachmentReader::Read(int64_t at, void* to, size_t size) {
    const int rc =
        sqlite3_blob_read(m_blob.get(), to, static_cast<int>(size), static_cast<int>(at));
    if (rc != SQLITE_OK)
        Fail(m_file.db(), rc);
}

void AttachmentReader::CopyTo(WholeFile& out) {
    std::vector<char> part(static_cast<size_t>(std::min(kStep, Size())));
    for (int64_t at = 0; at < Size(); at += kStep) {
        const auto size = static_cast<size_t>(std::min(kStep, Size() - at));
        Read(at, part.data(), size);
        out.Write(part.data(), size);
    }
}

} // namespace kr::sqlite
