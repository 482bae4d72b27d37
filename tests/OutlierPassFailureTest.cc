// The host's percentage function throws: this program brings its own, which the linker takes before
// the host library's.

#include <gtest/gtest.h>

#include <stdexcept>

#include "feature/KestrelStartsFeature.h"
#include "host/LaunchMeter.h"
#include "tests/support/TestHost.h"

using namespace kestrel;

namespace {

bool gThrowsUnknown = false;

}  // namespace

float LaunchMeter::calcDiffPercentage(float /*mean*/, float value) {
    if (value < 50 && gThrowsUnknown) {
        throw 1;
    }
    if (value < 50) {
        throw std::runtime_error("no percentage");
    }
    return value == 55 ? 90.0F : 0.0F;
}

namespace {

TEST(OutlierPassFailureTest, AveragingEndsWhenEveryPassThrows) {
    TestHost host(HostSetup{.knobs = std::nullopt});
    KestrelStartsFeature feature(FeatureInfo{.featureName = "KestrelStarts"});
    const struct {
        const char* name;
        std::vector<int> durations;
        bool throwsUnknown;
        int average;
        Lines log;
    } cases[] = {
        {"at once",
         {40, 30, 20},
         false,
         30,
         {"KestrelStarts: cleanEpDataSet() 201: exception no percentage"}},
        {"unknown",
         {40, 30, 20},
         true,
         30,
         {"KestrelStarts: cleanEpDataSet() 204: unknown exception"}},
        // The pass that removed 55 before it failed is followed by another one.
        {"after a removal",
         {60, 55, 52, 20},
         false,
         44,
         {"KestrelStarts: cleanEpDataSet() 201: exception no percentage",
          "KestrelStarts: cleanEpDataSet() 201: exception no percentage"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        gThrowsUnknown = c.throwsUnknown;
        std::vector<LMDBDataRow<KSInputDbData>> rows(c.durations.size());
        std::vector<LMDBDataRow<KSInputDbData>*> pointers;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i].blob.launchDuration = c.durations[i];
            pointers.push_back(&rows[i]);
        }
        host.takeLog();
        int average = 0;
        feature.getAvgLaunchValues(pointers, static_cast<int>(pointers.size()), average);
        EXPECT_EQ(average, c.average);
        EXPECT_EQ(host.takeLog(), c.log);
    }
}

}  // namespace
