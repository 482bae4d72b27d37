#include "learning/LaunchStatistics.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "host/KestrelStartsHints.h"

int32_t truncatedMean(std::vector<int> const& values, std::size_t count) {
    if (count == 0) {
        return 0;
    }
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(count);
    const int64_t sum = std::accumulate(values.begin(), end, int64_t{0});
    return static_cast<int32_t>(sum / static_cast<int64_t>(count));
}

DurationRange durationRange(int32_t launchType, int appClass) {
    constexpr int32_t NO_LIMIT = std::numeric_limits<int32_t>::max();
    if (launchType == KS_LAUNCH_TYPE_GAME) {
        return {appClass != 0 ? 15000 : 2000, NO_LIMIT};
    }
    switch (appClass) {
        case 3:
            return {2000, 6500};
        case 2:
            return {1500, 4000};
        case 1:
            return {1200, 2000};
        default:
            return {750, 1350};
    }
}

int32_t clampLaunchDuration(int32_t duration, int32_t launchType, int appClass) {
    const DurationRange range = durationRange(launchType, appClass);
    return std::clamp(duration, range.lowerMs, range.upperMs);
}

bool isScaled(int32_t launchType, bool clamped) {
    return launchType == KS_LAUNCH_TYPE_GAME && !clamped;
}

int32_t scaleGameDuration(int32_t duration) {
    if (duration < 1) {
        return 1;
    }
    const float scaled = static_cast<float>(duration) * KS_GAME_FACTOR;
    // 2^31 as float: what reaches it does not fit any more.
    return scaled < 2147483648.0F ? static_cast<int32_t>(scaled)
                                  : std::numeric_limits<int32_t>::max();
}
