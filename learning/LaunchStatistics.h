#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "host/LaunchMeter.h"
#include "learning/LearningRecords.h"

// The arithmetic of learning, on values alone but for the host's percentage. Durations in ms.

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

// One pass against the mean of the first k values; true when it removed one. Needs k + 2 values and
// a mean that is not 0. The value behind a removed one is not examined. `observe` is told the mean
// and, of each value examined, its index before the pass, the percentage and whether it goes.
// Throws what the host's percentage function throws: what was removed before that stays removed,
// the rest stays.
template <class Observer>
bool removeOutliers(std::vector<int>& dataSet, int k, Observer observe) {
    if (k < 0 || static_cast<std::size_t>(k) + 1 >= dataSet.size()) {
        return false;
    }
    const int32_t mean = truncatedMean(dataSet, static_cast<std::size_t>(k));
    if (mean == 0) {
        return false;
    }
    auto kept = dataSet.begin();  // the values before it stay, those from it to `next` have gone
    auto next = dataSet.begin();
    try {
        while (next != dataSet.end()) {
            const float percentage = LaunchMeter::calcDiffPercentage(static_cast<float>(mean),
                                                                     static_cast<float>(*next));
            const bool isOutlier = percentage >= KS_OUTLIER_PERCENTAGE;
            observe(mean, static_cast<std::size_t>(next - dataSet.begin()), percentage, isOutlier);
            // The value behind an outlier is left to the next pass and its new mean.
            if (isOutlier && ++next == dataSet.end()) {
                break;
            }
            *kept++ = *next++;
        }
    } catch (...) {
        dataSet.erase(kept, next);
        throw;
    }
    const bool removed = kept != next;
    dataSet.erase(kept, next);
    return removed;
}

// Sorts the durations, has `pass` remove outliers against the larger half until it removes no more,
// and averages what is left. One or two durations are averaged as they are; 0 for none. `pass` gets
// the durations and how many are the larger half, and is false when there was nothing to remove.
template <class Pass>
int32_t averageWithoutOutliers(std::vector<int>& durations, Pass pass) {
    if (durations.size() > 2) {
        std::sort(durations.begin(), durations.end(), std::greater<>());
        // A pass that failed reports a removal that did not happen; the size tells the truth.
        std::size_t sizeBefore = 0;
        do {
            sizeBefore = durations.size();
        } while (pass(durations, static_cast<int>(sizeBefore / 2)) &&
                 durations.size() < sizeBefore);
    }
    return truncatedMean(durations, durations.size());
}

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
