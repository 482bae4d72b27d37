// Queries, feedback, releases and the hardware profile, each by itself.

#include <gtest/gtest.h>

#include <cstring>
#include <unordered_map>

#include "action/KestrelStartsFeatureHw.h"
#include "tests/support/FeatureFixture.h"

namespace kestrel {

namespace {

using BoostTest = FeatureTest;

TEST_F(BoostTest, QueriesAverageStoredLaunchesUntilSomethingIsLearned) {
    storeLaunches("a", {300, 400, 501});
    const struct {
        const char* app;
        int type;
        int32_t before;
        int result;
        int32_t after;
    } cases[] = {
        {"a", 3, 0, 0, 400},  {"a", 4, 0, 0, 0}, {"a", 9, 8, 0, 2}, {"b", 3, 8, -1, 8},
        {"l", 3, 8, 0, 1350}, {"l", 4, 8, 0, 7}, {"l", 9, 8, 0, 8}, {"b", 5, 8, 0, 1},
    };
    storeRecord("l", {.launchDuration = 1350, .secondMetric = 7});
    storeLaunches("l", {1});
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.app << ' ' << c.type);
        std::string app = c.app;
        featureData data{c.before};
        EXPECT_EQ(mFeature.getData(app, data, c.type), c.result);
        EXPECT_EQ(data.value, c.after);
    }
}

TEST_F(BoostTest, FeedbackAnswersOnlyLaunchHints) {
    storeRecord(std::string(127, 'x'), {.launchDuration = 1350});
    storeRecord(std::string(128, 'y'), {.launchDuration = 0});
    mpctl_msg_t message{};
    message.duration = 5;
    EXPECT_EQ(KestrelStartsAction::FeedbackCB(nullptr), -1);
    EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), -1);
    EXPECT_EQ(message.duration, 5);
    message.hintId = 4225;
    std::memset(message.appName, 'x', 127);
    EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), 0);
    EXPECT_EQ(message.duration, 1350);
    std::memset(message.appName, 'y', 128);  // no terminator within the field
    EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), 0);
    EXPECT_EQ(message.duration, 0);
    std::memset(message.appName, 'z', 128);
    EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), 0);
    EXPECT_EQ(message.duration, 15000);
}

TEST_F(BoostTest, OnlyAHandleIsReleasedButBothSlotsAlways) {
    mFeature.mPerfLockHandle = 0;
    mFeature.removeAction(action());
    EXPECT_EQ(mFeature.mPerfLockHandle, -1);
    EXPECT_TRUE(mHost.records<record::Release>().empty());
    mFeature.mPerfLockHandle = 5;
    action()->mKSBoostHandle = 0;
    mFeature.removeAction(action());
    EXPECT_EQ(action()->mKSBoostHandle, 0);
    std::vector<int> released;
    for (const auto& release : mHost.records<record::Release>()) {
        released.push_back(release.handle);
    }
    EXPECT_EQ(released, (std::vector<int>{-1, 5}));
    mFeature.removeAction(nullptr);
}

TEST_F(BoostTest, ClustersBecomeOneInitCommand) {
    using Config = std::unordered_map<std::string, std::string>;
    const struct {
        Config config;
        const char* init;  // null: there is no controller
    } cases[] = {
        {{}, ""},
        {{{"Cluster", ""}}, nullptr},
        {{{"Cluster", "0,4,7"}, {"Cluster0", "p"}, {"Cluster4", "q"}}, "Init:2:0,p:4,q"},
        {{{"Cluster", "0 4 7"}, {"Cluster7", "r"}, {"Cluster4", "q"}}, "Init:2:4,q:7,r"},
        {{{"Cluster", "3"}, {"Cluster3", ""}}, "Init:1:3,"},
        {{{"Cluster", "x"}, {"Cluster0", "p"}}, ""},
        {{{"Cluster", "0;4"}, {"Cluster0", "p"}, {"Cluster4", "q"}}, "Init:1:0,p"},
        {{{"Cluster", "0,0"}, {"Cluster0", "p"}}, "Init:2:0,p:0,p"},
        {{{"Cluster", " -1 ,+2,,3"}, {"Cluster-1", "m"}, {"Cluster2", "t"}, {"Cluster3", "u"}},
         "Init:1:-1,m"},
        {{{"Cluster", "1,99999999999,2"}, {"Cluster1", "p"}, {"Cluster2", "q"}}, "Init:1:1,p"},
    };
    for (const auto& c : cases) {
        mHost.takeLog();
        mFeature.mFeatureInfo.configMap = c.config;
        {
            KestrelStartsFeatureHw profile(mFeature);
            std::string duration = "1350";
            profile.Start(duration);
            profile.Stop();
        }
        const auto created = mHost.records<record::PlhCreate>();
        const auto commands = mHost.records<record::PlhCommand>();
        ASSERT_EQ(created.size(), c.init != nullptr ? 1U : 0U);
        ASSERT_EQ(commands.size(), c.init != nullptr ? 2U : 0U);
        if (c.init != nullptr) {
            EXPECT_EQ(created.front().init, c.init);
            EXPECT_EQ(commands[0].text, "1350");
            EXPECT_EQ(commands[1].command, 1);
        }
    }
}

}  // namespace

}  // namespace kestrel
