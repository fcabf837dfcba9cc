#include "platform/store/sqlite/WriteQueue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kr::sqlite {

namespace {

/// Waits for the lock when it is taken; goes with the process that holds it, however that ends.
void change(int file, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    while (file >= 0 && fcntl(file, F_OFD_SETLKW, &lock) != 0 && errno == EINTR) {
    }
}

} // namespace

WriteQueue::WriteQueue(const std::string& storePath) {
    const std::string path = storePath + "-queue";
    m_file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    struct stat store {};
    struct stat queue {};
    // whoever may write the store may stand in its queue
    if (m_file >= 0 && stat(storePath.c_str(), &store) == 0 && fstat(m_file, &queue) == 0 &&
        queue.st_uid == geteuid() && (queue.st_mode & 0777) != (store.st_mode & 0777)) {
        if (fchmod(m_file, store.st_mode & 0777) != 0) {
            close(m_file);
            m_file = -1;
        }
    }
}

WriteQueue::~WriteQueue() {
    if (m_file >= 0)
        close(m_file);
}

WriteQueue::Place::Place(const WriteQueue& queue) : m_queue(queue) {
    change(m_queue.m_file, F_WRLCK);
}

WriteQueue::Place::~Place() { change(m_queue.m_file, F_UNLCK); }

} // namespace kr::sqlite
