// The feature's operations on the durations of stored launches.

#include <fstream>
#include <string>

#include "feature/KestrelStartsFeature.h"
#include "host/KSFeaturesList.h"
#include "host/KestrelStartsHints.h"
#include "learning/LaunchStatistics.h"
#include "lmdb/LMLog.h"

namespace {

// Relative: found from the host's working directory.
constexpr const char* FORCED_AVERAGE_FILE = "data/vendor/lm/getAvgLaunchValuesForced.csv";

}  // namespace

void KestrelStartsFeature::getAvgLaunchValues(std::vector<LMDBDataRow<KSInputDbData>*> rows,
                                              int count, int& average) {
    average = 0;
    const auto compute = [&] {
        std::vector<int> durations;
        for (int i = 0; i < count; ++i) {
            KSInputDbData const& launch = rows[static_cast<std::size_t>(i)]->blob;
            if (hasDuration(launch)) {
                durations.push_back(launch.launchDuration);
            }
        }
        average = averageWithoutOutliers(durations, [this](std::vector<int>& dataSet, int k) {
            return cleanEpDataSet(dataSet, k);
        });
    };
    guarded(compute, ExceptionLog{KS_MODULE, "getAvgLaunchValues", 257, 259});
}

bool KestrelStartsFeature::cleanEpDataSet(std::vector<int>& dataSet, int k) {
    bool erased = true;  // what a pass that failed reports
    guarded([&] { erased = removeOutliers(dataSet, k, [](auto...) {}); },
            ExceptionLog{KS_MODULE, "cleanEpDataSet", 201, 204});
    return erased;
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
