#include "learning/LaunchStatistics.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "host/KestrelStartsHints.h"
#include "host/LaunchMeter.h"

namespace {

// Where values have gone out of the middle of a pass, which closes when the pass ends or fails.
struct Gap {
    std::vector<int>& values;
    std::size_t begin = 0;
    std::size_t end = 0;

    explicit Gap(std::vector<int>& all) : values(all) {}
    ~Gap() {
        values.erase(values.begin() + static_cast<std::ptrdiff_t>(begin),
                     values.begin() + static_cast<std::ptrdiff_t>(end));
    }
    Gap(const Gap&) = delete;
    Gap& operator=(const Gap&) = delete;
};

}  // namespace

int32_t truncatedMean(std::vector<int> const& values, std::size_t count) {
    if (count == 0) {
        return 0;
    }
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(count);
    const int64_t sum = std::accumulate(values.begin(), end, int64_t{0});
    return static_cast<int32_t>(sum / static_cast<int64_t>(count));
}

bool removeOutliers(std::vector<int>& dataSet, int k, OutlierPass* seen) {
    if (k < 0 || static_cast<std::size_t>(k) + 1 >= dataSet.size()) {
        return false;
    }
    const int32_t mean = truncatedMean(dataSet, static_cast<std::size_t>(k));
    if (seen != nullptr) {
        seen->meanMs = mean;
    }
    if (mean == 0) {
        return false;
    }
    Gap gap{dataSet};
    while (gap.end < dataSet.size()) {
        const float percentage = LaunchMeter::calcDiffPercentage(
            static_cast<float>(mean), static_cast<float>(dataSet[gap.end]));
        const bool isOutlier = percentage >= KS_OUTLIER_PERCENTAGE;
        if (seen != nullptr) {
            seen->examined.push_back({gap.end, percentage, isOutlier});
        }
        // The value behind an outlier is left to the next pass and its new mean.
        if (isOutlier && ++gap.end == dataSet.size()) {
            break;
        }
        dataSet[gap.begin++] = dataSet[gap.end++];
    }
    return gap.begin < gap.end;
}

int32_t averageWithoutOutliers(std::vector<int>& durations,
                               std::function<bool(std::vector<int>&, int)> const& pass) {
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
