#include "learning/LaunchStatistics.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <limits>
#include <numeric>
#include <string>

#include "feature/KestrelStartsFeature.h"
#include "host/KSFeaturesList.h"
#include "host/KestrelStartsHints.h"
#include "host/LaunchMeter.h"
#include "lmdb/LMLog.h"

namespace {

constexpr float OUTLIER_PERCENTAGE = 90.0F;
constexpr float GAME_FACTOR = 1.2F;

// Relative: found from the host's working directory.
constexpr const char* FORCED_AVERAGE_FILE = "data/vendor/lm/getAvgLaunchValuesForced.csv";

struct DurationRange {
    int32_t lower;
    int32_t upper;
};

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

}  // namespace

int32_t truncatedMean(std::vector<int> const& values, std::size_t count) {
    if (count == 0) {
        return 0;
    }
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(count);
    const int64_t sum = std::accumulate(values.begin(), end, int64_t{0});
    return static_cast<int32_t>(sum / static_cast<int64_t>(count));
}

int32_t clampLaunchDuration(int32_t duration, int32_t launchType, int appClass) {
    const DurationRange range = durationRange(launchType, appClass);
    return std::clamp(duration, range.lower, range.upper);
}

int32_t scaleGameDuration(int32_t duration) {
    if (duration < 1) {
        return 1;
    }
    const float scaled = static_cast<float>(duration) * GAME_FACTOR;
    // 2^31 as float: what reaches it does not fit any more.
    return scaled < 2147483648.0F ? static_cast<int32_t>(scaled)
                                  : std::numeric_limits<int32_t>::max();
}

void KestrelStartsFeature::getAvgLaunchValues(std::vector<LMDBDataRow<KSInputDbData>*> rows,
                                              int count, int& average) {
    average = 0;
    const auto compute = [&] {
        std::vector<int> durations;
        for (int i = 0; i < count; ++i) {
            const int32_t duration = rows[static_cast<std::size_t>(i)]->blob.launchDuration;
            if (duration != 0) {
                durations.push_back(duration);
            }
        }
        if (durations.size() > 2) {
            std::sort(durations.begin(), durations.end(), std::greater<>());
            // A pass that failed reports a removal that did not happen; the size tells the truth.
            std::size_t sizeBefore = 0;
            do {
                sizeBefore = durations.size();
            } while (cleanEpDataSet(durations, static_cast<int>(sizeBefore / 2)) &&
                     durations.size() < sizeBefore);
        }
        average = truncatedMean(durations, durations.size());
    };
    guarded(compute, ExceptionLog{KS_MODULE, "getAvgLaunchValues", 257, 259});
}

bool KestrelStartsFeature::cleanEpDataSet(std::vector<int>& dataSet, int k) {
    if (k < 0 || static_cast<std::size_t>(k) + 1 >= dataSet.size()) {
        return false;
    }
    const int32_t mean = truncatedMean(dataSet, static_cast<std::size_t>(k));
    if (mean == 0) {
        return false;
    }
    bool erased = false;
    const auto pass = [&] {
        for (std::size_t i = 0; i < dataSet.size(); ++i) {
            const float percentage = LaunchMeter::calcDiffPercentage(
                static_cast<float>(mean), static_cast<float>(dataSet[i]));
            if (percentage >= OUTLIER_PERCENTAGE) {
                // The value that moves into this place is left to the next pass and its new mean.
                dataSet.erase(dataSet.begin() + static_cast<std::ptrdiff_t>(i));
                erased = true;
            }
        }
    };
    const bool completed = guarded(pass, ExceptionLog{KS_MODULE, "cleanEpDataSet", 201, 204});
    return erased || !completed;
}

void KestrelStartsFeature::getAvgLaunchValuesForced(
    std::vector<LMDBDataRow<KSInputDbData>*> /*rows*/, int& average) {
    average = 0;
    const std::string text = "\n" + mLastLaunchedApp + "\n\n";
    std::ofstream(FORCED_AVERAGE_FILE, std::ios::app | std::ios::binary) << text;
}

bool KestrelStartsFeature::skewLaunchDuration(int& duration, int launchType, int appClass,
                                              std::string const& app) {
    const int before = duration;
    duration = clampLaunchDuration(before, launchType, appClass);
    if (duration == before) {
        return false;
    }
    KSFeaturesList::exportToFile("Duration is SkewEnforced old ", before, app.c_str());
    KSFeaturesList::exportToFile("Duration is SkewEnforced new ", duration, app.c_str());
    return true;
}
