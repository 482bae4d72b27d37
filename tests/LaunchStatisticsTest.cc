// Averages, outliers and the clamp, as tables.

#include "learning/LaunchStatistics.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <memory>

#include "feature/KestrelStartsFeature.h"
#include "tests/support/TestHost.h"

namespace kestrel {

namespace {

class LaunchStatisticsTest : public testing::Test {
 protected:
    int averageOf(const std::vector<int>& durations) {
        std::vector<LMDBDataRow<KSInputDbData>> rows(durations.size());
        std::vector<LMDBDataRow<KSInputDbData>*> pointers;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i].blob.launchDuration = durations[i];
            pointers.push_back(&rows[i]);
        }
        int average = -1;
        mFeature.getAvgLaunchValues(pointers, static_cast<int>(pointers.size()), average);
        return average;
    }

    TestHost mHost{HostSetup{.knobs = std::nullopt}};
    KestrelStartsFeature mFeature{FeatureInfo{.featureName = "KestrelStarts"}};
};

TEST_F(LaunchStatisticsTest, AveragesWithoutZerosAndOutliers) {
    const int huge = std::numeric_limits<int>::max();
    const struct {
        const char* name;
        std::vector<int> durations;
        int average;
    } cases[] = {
        {"none", {}, 0},
        {"only zeros", {0, 0, 0, 0, 0}, 0},
        {"one", {700}, 700},
        {"two far apart are not cleaned", {10, 1000}, 505},
        {"zeros are skipped, the mean truncated", {1000, 0, 1001}, 1000},
        {"three alike", {1000, 1001, 1003}, 1001},
        // The mean of the largest half is 1000; 100 is exactly 90 % away, 101 is not.
        {"at the threshold", {1000, 1000, 100}, 1000},
        {"below the threshold", {1000, 1000, 101}, 700},
        {"order does not matter", {100, 1000, 1000}, 1000},
        // Two neighbours: the first pass removes 30 and skips 20, which the next one removes.
        {"neighbouring outliers", {1000, 1000, 1000, 1000, 30, 20}, 1000},
        // 9000 is far above the mean of the largest half without ever being examined against
        // itself alone: (9000 + 1000) / 2 = 5000, so the small ones are 80 % away and stay.
        {"a large one pulls the mean", {9000, 1000, 1000, 1000, 1000}, 2600},
        {"sums beyond 32 bits", {huge, huge, huge, huge}, huge},
        // The mean of the larger half is 0 after truncation: nothing is cleaned.
        {"negative values", {1, -1, -4}, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(averageOf(c.durations), c.average);
    }
}

TEST_F(LaunchStatisticsTest, OutlierPass) {
    const struct {
        const char* name;
        std::vector<int> before;
        int k;
        bool removed;
        std::vector<int> after;
    } cases[] = {
        {"needs two values beyond the leading ones", {10, 1}, 1, false, {10, 1}},
        {"no leading values", {10, 1, 1}, 0, false, {10, 1, 1}},
        {"negative count", {10, 1, 1}, -1, false, {10, 1, 1}},
        {"mean of zero", {0, 0, 5, 5}, 2, false, {0, 0, 5, 5}},
        {"nothing far", {10, 9, 8}, 1, false, {10, 9, 8}},
        {"the value behind a removed one is skipped", {100, 100, 5, 5, 5}, 2, true, {100, 100, 5}},
        {"a leading value can go", {1000, 10, 10, 10}, 2, true, {10, 10}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<int> values = c.before;
        EXPECT_EQ(mFeature.cleanEpDataSet(values, c.k), c.removed);
        EXPECT_EQ(values, c.after);
    }
}

TEST_F(LaunchStatisticsTest, ClampsByLaunchTypeAndClass) {
    const int max = std::numeric_limits<int>::max();
    const struct {
        int launchType;
        int appClass;
        int duration;
        int clamped;
    } cases[] = {
        {2, 0, 1999, 2000}, {2, 0, 2000, 2000},   {2, 0, max, max},   {2, 1, 14999, 15000},
        {2, -1, 0, 15000},  {2, 3, 15001, 15001}, {0, 3, 1999, 2000}, {0, 3, 6500, 6500},
        {0, 3, 6501, 6500}, {1, 3, 1500, 2000},   {1, 3, 7000, 6500}, {0, 2, 1499, 1500},
        {0, 2, 4000, 4000}, {0, 2, 4001, 4000},   {0, 1, 1199, 1200}, {0, 1, 2000, 2000},
        {0, 1, 2001, 2000}, {0, 0, 749, 750},     {0, 0, 1000, 1000}, {0, 0, 1350, 1350},
        {0, 0, 1351, 1350}, {0, 4, 5000, 1350},   {0, -3, -1, 750},   {3, 0, max, 1350},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.launchType << ' ' << c.appClass << ' ' << c.duration);
        int duration = c.duration;
        mHost.takeLog();
        EXPECT_EQ(mFeature.skewLaunchDuration(duration, c.launchType, c.appClass, "app"),
                  c.duration != c.clamped);
        EXPECT_EQ(duration, c.clamped);
        EXPECT_EQ(mHost.records<record::Export>().size(), c.duration != c.clamped ? 2U : 0U);
    }
}

TEST_F(LaunchStatisticsTest, GamesAreScaledInFloatAndTruncated) {
    EXPECT_EQ(scaleGameDuration(2500), 3000);
    EXPECT_EQ(scaleGameDuration(2001), 2401);
    EXPECT_EQ(scaleGameDuration(1), 1);
    EXPECT_EQ(scaleGameDuration(0), 1);
    EXPECT_EQ(scaleGameDuration(-5), 1);
    EXPECT_EQ(scaleGameDuration(2147483647), 2147483647);
}

TEST_F(LaunchStatisticsTest, ForcedAverageIsZeroAndNoted) {
    mFeature.mLastLaunchedApp = "com.a";
    int average = 5;
    mFeature.getAvgLaunchValuesForced({}, average);
    mFeature.getAvgLaunchValuesForced({}, average);
    EXPECT_EQ(average, 0);
    std::ifstream file(mHost.databaseDirectory() / "getAvgLaunchValuesForced.csv");
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(content, "\ncom.a\n\n\ncom.a\n\n");
}

}  // namespace

}  // namespace kestrel
