#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kr {

/// The numbers behind a sample: the same on every computer for one seed, which the distributions
/// of the standard library don't promise.
class SampleRandom {
public:
    explicit SampleRandom(uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15ULL + 1) {}

    /// 64 bits of a multiply-and-shift generator with a full period.
    uint64_t next() {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        uint64_t x = m_state ^ (m_state >> 31);
        x *= 0xBF58476D1CE4E5B9ULL;
        return x ^ (x >> 29);
    }
    /// 0 to n - 1.
    size_t below(size_t n) { return static_cast<size_t>(next() % n); }
    /// low to high, both included.
    int between(int low, int high) {
        return low + static_cast<int>(below(static_cast<size_t>(high - low) + 1));
    }
    bool chance(int percent) { return between(1, 100) <= percent; }
    template <class T, size_t N>
    const T& pick(const std::array<T, N>& from) {
        return from[below(N)];
    }
    /// That many decimal digits.
    std::string digits(int count) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += static_cast<char>('0' + below(10));
        return text;
    }
    /// That many upper-case hexadecimal digits.
    std::string hex(int count) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += "0123456789ABCDEF"[below(16)];
        return text;
    }
    std::string guid() {
        return "{" + hex(8) + "-" + hex(4) + "-" + hex(4) + "-" + hex(4) + "-" + hex(12) + "}";
    }

private:
    uint64_t m_state;
};

} // namespace kr
