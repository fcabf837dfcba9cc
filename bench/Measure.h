#pragma once

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

/// What benchmarks share: times, medians, memory, and the line that script/bench reads.
namespace kr::bench {

template <class F>
double millisecondsOf(F&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// Of this process alone, for figures that aren't ratios to a floor.
template <class F>
double processorMillisecondsOf(F&& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) * 1e3 / CLOCKS_PER_SEC;
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

inline void ratio(const char* name, double value, double target) {
    std::printf("ratio %s %.3g target %.3g\n", name, value, target);
}

/// A work and its floor, in turn: others use the machine as well.
struct Pair {
    double floor = 0; // median milliseconds
    double work = 0;
    double ratio = 0; // median of the rounds' own ratios
};
template <class Floor, class Work>
Pair compare(int rounds, Floor&& floor, Work&& work) {
    std::vector<double> floors, works, ratios;
    for (int i = 0; i < rounds; ++i) {
        floors.push_back(millisecondsOf(floor));
        works.push_back(millisecondsOf(work));
        ratios.push_back(works.back() / floors.back());
    }
    return {median(floors), median(works), median(ratios)};
}

/// A line of /proc/self/status in bytes.
inline double memory(const char* line) {
    std::ifstream in("/proc/self/status");
    for (std::string text; std::getline(in, text);)
        if (text.rfind(line, 0) == 0)
            return std::stod(text.substr(std::strlen(line))) * 1024;
    return 0;
}

/// The most that a work takes beyond what stands before it.
template <class F>
double peakOf(F&& work) {
    malloc_trim(0);                                // else what was let go before would serve it
    std::ofstream("/proc/self/clear_refs") << "5"; // the high-water mark starts anew
    const double before = memory("VmRSS:");
    work();
    return memory("VmHWM:") - before;
}

/// Bytes that are allocated now.
inline double allocated() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

} // namespace kr::bench
