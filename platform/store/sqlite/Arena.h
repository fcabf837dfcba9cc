#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace kr::sqlite {

/// Bytes of a batch that cells point into; chunks never move while the batch lives.
class Arena {
public:
    void Clear() {
        m_chunk = 0;
        m_used = 0;
    }
    std::string_view Keep(std::string_view bytes) {
        if (bytes.empty())
            return {};
        char* place = Room(bytes.size());
        std::memcpy(place, bytes.data(), bytes.size());
        return {place, bytes.size()};
    }
    char* Room(size_t size) {
        if (m_chunks.empty() || m_used + size > m_chunks[m_chunk].size)
            grow(size);
        char* place = m_chunks[m_chunk].bytes.get() + m_used;
        m_used += size;
        return place;
    }

private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        size_t size;
    };
    /// Chunks double, so that a single row costs little and a full batch few of them.
    void grow(size_t size) {
        if (!m_chunks.empty())
            ++m_chunk;
        m_used = 0;
        while (m_chunk < m_chunks.size() && m_chunks[m_chunk].size < size)
            ++m_chunk;
        if (m_chunk < m_chunks.size())
            return;
        const size_t next = m_chunks.empty() ? kFirst : m_chunks.back().size * 2;
        const size_t wanted = std::max(size, std::min(next, kLargest));
        m_chunks.push_back({std::unique_ptr<char[]>(new char[wanted]), wanted});
    }
    static constexpr size_t kFirst = 4 * 1024;
    static constexpr size_t kLargest = 512 * 1024;

    std::vector<Chunk> m_chunks;
    size_t m_chunk = 0;
    size_t m_used = 0;
};

} // namespace kr::sqlite
