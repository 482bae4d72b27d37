// What a way to boost did for its launches, in numbers.

#include "tools/launches/PolicyNumbers.h"

#include <gtest/gtest.h>

namespace kestrel {

namespace {

TEST(PolicyNumbersTest, AreThoseOfEachLaunchByNearestRank) {
    const PolicyNumbers none = numbersOf({});
    EXPECT_EQ(none.launches, 0U);
    EXPECT_EQ(none.boostedMs, 0);

    // A launch that took no time is covered.
    const PolicyNumbers two = numbersOf({{0, 0}, {1000, 250}});
    EXPECT_EQ(two.coverage.p50, 0.25);
    EXPECT_EQ(two.coverage.mean, 0.625);
    EXPECT_EQ(two.fullyCovered, 1U);

    std::vector<BoostedLaunch> launches;
    for (int32_t i = 10; i >= 1; --i) {
        launches.push_back({100, 10 * i});
        launches.push_back({100, 100 + i});
    }
    const PolicyNumbers twenty = numbersOf(launches);
    EXPECT_EQ(twenty.launches, 20U);
    EXPECT_EQ(twenty.coverage.p10, 0.2);
    EXPECT_EQ(twenty.coverage.p50, 1.0);
    EXPECT_EQ(twenty.fullyCovered, 11U);
    EXPECT_EQ(twenty.wastedMs.p50, 0);
    EXPECT_EQ(twenty.wastedMs.p90, 8);
    EXPECT_EQ(twenty.wastedMs.mean, 2.75);
    EXPECT_EQ(twenty.boostedMs, 550 + 1055);
}

}  // namespace

}  // namespace kestrel
