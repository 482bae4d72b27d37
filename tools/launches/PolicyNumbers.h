#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestrel {

// A launch and its boost under some policy, both from the launch hint on, in ms.
struct BoostedLaunch {
    int32_t durationMs;  // to the first frame
    int32_t boostMs;

    int32_t coveredMs() const { return std::min(boostMs, durationMs); }
    int32_t wastedMs() const { return std::max(boostMs - durationMs, 0); }
};

// What a policy did for its launches. The coverage of a launch is the boosted part of its duration,
// 0 to 1, and 1 for a launch that took no time; wasted is what its boost ran on after the first
// frame. Percentiles are by nearest rank: p10 is the smallest value that at least 10 % of the
// launches do not exceed. Without launches all numbers are 0.
struct PolicyNumbers {
    struct Coverage {
        double p10 = 0;
        double p50 = 0;
        double mean = 0;
    };
    struct Wasted {
        int32_t p50 = 0;
        int32_t p90 = 0;
        double mean = 0;
    };

    std::size_t launches = 0;
    Coverage coverage;
    std::size_t fullyCovered = 0;
    Wasted wastedMs;  // per launch
    int64_t boostedMs = 0;
};

PolicyNumbers numbersOf(const std::vector<BoostedLaunch>& launches);

}  // namespace kestrel
