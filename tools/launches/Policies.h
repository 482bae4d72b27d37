#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/launches/Launch.h"

namespace kestrel {

// A launch that is compared, without its app. Durations in ms.
struct ComparedLaunch {
    int64_t t;
    LaunchPhase phase;
    std::optional<int32_t> durationMs;   // to the first frame; none: not seen
    int32_t boostMs;                     // how long the boosts held
    int32_t untilNextMs;                 // to the next launch
    std::optional<int32_t> requestedMs;  // of the launch boost; none: not asked for
    std::optional<int32_t> defaultMs;    // of the default boost; none: not asked for
};

// A way to boost launches.
struct Policy {
    const char* id;
    const char* name;
    const char* label;  // in a table

    // How long a launch is boosted; none: the policy does not count it.
    // REQUIRES: the launch has a first frame.
    std::optional<int32_t> (*boostMs)(const ComparedLaunch& launch);
};

// For every launch from its hint, until the next launch's boost takes its place.
template <int32_t DURATION_MS>
std::optional<int32_t> fixedBoost(const ComparedLaunch& launch) {
    return std::min(DURATION_MS, launch.untilNextMs);
}

// KestrelStarts as it was replayed, its default and its launch boost together.
template <LaunchPhase... PHASES>
std::optional<int32_t> replayedBoost(const ComparedLaunch& launch) {
    const bool counts = sizeof...(PHASES) == 0 || ((launch.phase == PHASES) || ...);
    return counts ? std::optional(launch.boostMs) : std::nullopt;
}

// All that are compared. The ideal knows when the first frame comes.
inline constexpr std::array<Policy, 7> POLICIES = {{
    {"fixed2000", "2000 ms for all", "2000 ms for all", fixedBoost<2000>},
    {"fixed5000", "5000 ms for all", "5000 ms for all", fixedBoost<5000>},
    {"fixed15000", "15000 ms for all", "15000 ms for all", fixedBoost<15000>},
    {"kestrel", "KestrelStarts", "KestrelStarts", replayedBoost<>},
    {"kestrelLearning", "KestrelStarts, while learning", "  while learning",
     replayedBoost<LaunchPhase::learning, LaunchPhase::relearning>},
    {"kestrelLearned", "KestrelStarts, once learned", "  once learned",
     replayedBoost<LaunchPhase::learned>},
    {"ideal", "ideal", "ideal", [](const ComparedLaunch& launch) { return launch.durationMs; }},
}};

consteval const Policy& policyOf(std::string_view id) {
    for (const Policy& policy : POLICIES) {
        if (policy.id == id) {
            return policy;
        }
    }
    throw "no such policy";  // does not compile
}

// That every app is shown with.
inline constexpr const Policy& KESTREL = policyOf("kestrel");
inline constexpr const Policy& RIVAL = policyOf("fixed5000");

}  // namespace kestrel
