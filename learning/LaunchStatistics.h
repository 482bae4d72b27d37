#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "learning/LearningRecords.h"

// The arithmetic of learning, on values alone. Durations in ms.

// A value that differs from the mean by this many per cent or more is an outlier.
inline constexpr float KS_OUTLIER_PERCENTAGE = 90.0F;

inline constexpr float KS_GAME_FACTOR = 1.2F;

// Whether the launch counts in averages.
inline bool hasDuration(KSInputDbData const& launch) {
    return launch.launchDuration != 0;
}

// The sum of the first `count` values divided by `count`, truncated toward zero; 0 for none.
// REQUIRES: there are as many values.
int32_t truncatedMean(std::vector<int> const& values, std::size_t count);

// What an outlier pass saw and did, for those who ask why.
struct OutlierPass {
    struct Examined {
        std::size_t index;  // in the values before the pass; those left out were not examined
        float percentage;   // by which it differs from the mean
        bool removed;
    };
    int32_t meanMs = 0;
    std::vector<Examined> examined;  // empty: there was nothing to begin with
};

// One pass against the mean of the first k values; true when it removed one. Needs k + 2 values and
// a mean that is not 0. The value behind a removed one is not examined. `seen` may be null.
bool removeOutliers(std::vector<int>& dataSet, int k, OutlierPass* seen);

// Sorts the durations, has `pass` remove outliers against the larger half until it removes no more,
// and averages what is left. One or two durations are averaged as they are; 0 for none.
int32_t averageWithoutOutliers(std::vector<int>& durations,
                               std::function<bool(std::vector<int>&, int)> const& pass);

// Bounds of a learned duration, inclusive; INT32_MAX: none.
struct DurationRange {
    int32_t lowerMs;
    int32_t upperMs;
};

DurationRange durationRange(int32_t launchType, int appClass);

// `duration` brought into the range of its launch type and app class.
int32_t clampLaunchDuration(int32_t duration, int32_t launchType, int appClass);

// Whether the game factor applies.
bool isScaled(int32_t launchType, bool clamped);

// The learned duration of a game that the clamp left as it was: a fifth longer, at least 1.
int32_t scaleGameDuration(int32_t duration);
