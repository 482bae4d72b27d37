#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The arithmetic of learning, on values alone. Durations in ms.

// The sum of the first `count` values divided by `count`, truncated toward zero; 0 for none.
// REQUIRES: there are as many values.
int32_t truncatedMean(std::vector<int> const& values, std::size_t count);

// `duration` brought into the range of its launch type and app class.
int32_t clampLaunchDuration(int32_t duration, int32_t launchType, int appClass);

// The learned duration of a game that the clamp left as it was: a fifth longer, at least 1.
int32_t scaleGameDuration(int32_t duration);
