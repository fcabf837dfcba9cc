#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace kr::sqlite {

/// Bytes of a batch that cells point into; they never move while the batch lives.
class Arena {
public:
    void Clear() {
        m_chunk = 0;
        m_used = 0;
    }
    /// Room for so many bytes.
    char* Take(size_t size) {
        if (m_chunk >= m_chunks.size() || m_used + size > m_chunks[m_chunk].size)
            grow(size);
        char* place = m_chunks[m_chunk].bytes.get() + m_used;
        m_used += size;
        return place;
    }
    std::string_view Keep(std::string_view bytes) {
        char* place = Take(bytes.size());
        if (!bytes.empty())
            std::memcpy(place, bytes.data(), bytes.size());
        return {place, bytes.size()};
    }

private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        size_t size;
    };
    static constexpr size_t kChunk = 256 * 1024;

    void grow(size_t size) {
        if (m_chunk < m_chunks.size())
            ++m_chunk;
        while (m_chunk < m_chunks.size() && m_chunks[m_chunk].size < size)
            ++m_chunk;
        m_used = 0;
        if (m_chunk < m_chunks.size())
            return;
        const size_t wanted = std::max(size, kChunk);
        m_chunks.push_back({std::unique_ptr<char[]>(new char[wanted]), wanted});
    }

    std::vector<Chunk> m_chunks;
    size_t m_chunk = 0;
    size_t m_used = 0;
};

} // namespace kr::sqlite
