#pragma once

#include <string>

namespace kr::sqlite {

/// Where the programs that want to write wait for their turn, beside the store file. SQLite's own
/// lock goes to whoever asks at the right moment, and one that writes on and on can keep it from
/// the others for long; here only the first in the queue asks for it. Without the queue's file
/// (read-only folder) writers are only slower, so its faults are passed over.
class WriteQueue {
public:
    explicit WriteQueue(const std::string& storePath);
    ~WriteQueue();
    WriteQueue(const WriteQueue&) = delete;
    WriteQueue& operator=(const WriteQueue&) = delete;

    /// Holds the first place while it lives.
    class Place {
    public:
        explicit Place(const WriteQueue& queue);
        ~Place();
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

    private:
        const WriteQueue& m_queue;
    };

private:
    int m_file = -1;
};

} // namespace kr::sqlite
