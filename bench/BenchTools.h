#pragma once

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

// As in a process that has run for a while: the heap does not shrink and grow with every call.
inline void keepFreedMemory() {
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_TOP_PAD, 16 << 20);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
}

// The value below which the share `q` of the values lies.
inline double quantile(std::vector<double> values, double q) {
    if (values.empty()) {
        return 0;
    }
    const auto place = static_cast<std::ptrdiff_t>(q * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

using BenchClock = std::chrono::steady_clock;

inline double nanoseconds(BenchClock::duration duration) {
    return std::chrono::duration<double, std::nano>(duration).count();
}
