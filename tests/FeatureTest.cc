// What replays cannot reach: damaged stores, missing ones, odd meter runs.

#include <gtest/gtest.h>

#include <filesystem>

#include "learning/KestrelStartsMetaMeter.h"
#include "tests/support/FeatureFixture.h"

namespace kestrel {

namespace {

// ---- recording

TEST_F(FeatureTest, MeterRunsWithNothingToStoreAreTurnedAway) {
    LaunchMeter aborted;
    aborted.aborted = true;
    aborted.mTriggerPayloads = {launchOf("a")};
    LaunchMeter others;
    others.mTriggerPayloads = {eventOf("a", 4225, 2), eventOf("a", 4103, 1)};
    LaunchMeter valid;
    valid.mTriggerPayloads = {launchOf("a")};
    KestrelStartsMetaMeter withoutDb(mFeature.mFeatureInfo, nullptr, mFeature.mFeatureState);
    const struct {
        const char* name;
        MetaMeter* metaMeter;
        std::vector<Meter*> meters;
        const char* log;
    } cases[] = {
        {"none", mFeature.mMetaMeter, {}, "45: incorrect no of meters"},
        {"two", mFeature.mMetaMeter, {&valid, &valid}, "45: incorrect no of meters"},
        {"null", mFeature.mMetaMeter, {nullptr}, "62: No meters for this feature"},
        {"no database", &withoutDb, {&aborted}, "56: No input db for this feature"},
        {"aborted",
         mFeature.mMetaMeter,
         {&aborted},
         "69: Meter aborted or could not get meter data for this run"},
        {"no launch",
         mFeature.mMetaMeter,
         {&others},
         "88: no valid triggers present to write into input db"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.metaMeter->writeToDataBase(c.meters), 0);
        EXPECT_EQ(mHost.takeLog(),
                  Lines{std::string("KestrelStarts:MetaMeter: writeToDataBase() ") + c.log});
    }
    EXPECT_EQ(launchCount(), 0U);
}

TEST_F(FeatureTest, ARunIsStoredUnderItsFirstLaunch) {
    LaunchMeter meter;
    meter.measuredDuration = 420;
    meter.mTriggerPayloads = {eventOf("x", 4103, 0), launchOf("com.a/.Main"),
                              eventOf("x", 4098, 0)};
    EXPECT_EQ(mFeature.mMetaMeter->writeToDataBase({&meter}), 1);
    LMDBDataRowKey key{4225, "com.a/.Main", ""};
    EXPECT_EQ(mFeature.mFeatureInputDb->getCountDR<KSInputDbData>(key), 1);
    EXPECT_EQ(stored(*mFeature.mFeatureInputDb).front().launchDuration, 420);
    // The rows behind the first have no name, which the table refuses.
    meter.mTriggerPayloads.assign(2, launchOf("com.b"));
    EXPECT_EQ(mFeature.mMetaMeter->writeToDataBase({&meter}), 1);
    EXPECT_EQ(launchCount(), 2U);
    EXPECT_EQ(mHost.takeLog().size(), 2U);
    // More than one batch of rows: nothing is stored.
    meter.mTriggerPayloads.assign(101, launchOf("com.c"));
    EXPECT_EQ(mFeature.mMetaMeter->writeToDataBase({&meter}), 1);
    EXPECT_EQ(launchCount(), 2U);
    EXPECT_EQ(mHost.takeLog(), Lines{});
}

// ---- decision and relearning

TEST_F(FeatureTest, DecisionFromAnInterruptedEvaluation) {
    storeRecord("a", {.boostType = 77, .launchDuration = 1, .launchCount = 100, .retriggered = 1});
    storeLaunches("a", {900, 900, 900, 900, 900});
    mFeature.mFeatureState.writeState("a", APP_STATE_EVALUATED);
    mHost.takeLog();
    mFeature.checkWriteOutputDB(action(), launchOf("a"));
    EXPECT_EQ(mHost.takeLog(), Lines{"KestrelStarts: checkWriteOutputDB() 464: "
                                     "deleteDeallocateDR<KSInputDbData>(inDbRows)"});
    ASSERT_EQ(records().size(), 1U);
    EXPECT_EQ(records().front().boostType, 77);
    EXPECT_EQ(records().front().launchDuration, 900);
    EXPECT_EQ(records().front().launchCount, 0);
    EXPECT_EQ(records().front().retriggered, 0);
    EXPECT_EQ(mFeature.mFeatureState.readState("a"), APP_STATE_LEARNED);
    EXPECT_EQ(launchCount(), 0U);
}

TEST_F(FeatureTest, NoDecisionInBetweenStates) {
    for (const int state : {1, 3, 5, 42}) {
        SCOPED_TRACE(state);
        storeRecord("a", {.launchDuration = 1});
        storeLaunches("a", {900, 900, 900, 900, 900});
        mFeature.mFeatureState.writeState("a", static_cast<AppState>(state));
        mFeature.checkWriteOutputDB(action(), launchOf("a"));
        EXPECT_TRUE(records().empty());
        EXPECT_EQ(launchCount() % 5, 0U);
        EXPECT_NE(launchCount(), 0U);
        EXPECT_EQ(mFeature.mFeatureState.readState("a"), state);
    }
}

TEST_F(FeatureTest, TenLaunchesWithoutADurationDisableTheApp) {
    for (const int launches : {9, 10}) {
        SCOPED_TRACE(launches);
        const std::string app = "app" + std::to_string(launches);
        storeLaunches(app, std::vector<int>(static_cast<std::size_t>(launches), 0));
        mFeature.checkWriteOutputDB(action(), launchOf(app));
        EXPECT_EQ(launchCount(), 0U);
        EXPECT_EQ(records().size(), 1U);
    }
    EXPECT_EQ(records().front().launchDuration, 750);
    EXPECT_EQ(mFeature.mFeatureState.readState("app9"), APP_STATE_LEARNED);
    EXPECT_EQ(mFeature.mFeatureState.readState("app10"), APP_STATE_DISABLED);
    const auto exported = mHost.records<record::Export>().back();
    EXPECT_EQ(exported.text, "Learning Complete - DISABLED KS");
    EXPECT_EQ(exported.value, 0);
    EXPECT_TRUE(
        std::filesystem::exists(mHost.databaseDirectory() / "getAvgLaunchValuesForced.csv"));
}

TEST_F(FeatureTest, TwoRecordsOfOneAppAreDamageAndDeleted) {
    const struct {
        const char* log;
        void (*check)(FeatureTest&);
    } cases[] = {
        {"checkWriteOutputDB() 434",
         [](FeatureTest& t) { t.mFeature.checkWriteOutputDB(t.action(), launchOf("a")); }},
        {"checkRelearningTrigger() 838",
         [](FeatureTest& t) {
             EXPECT_FALSE(t.mFeature.checkRelearningTrigger(t.action(), launchOf("a")));
         }},
    };
    storeLaunches("a", {900, 900, 900, 900, 900});
    for (const auto& c : cases) {
        storeRecord("a", {.launchDuration = 1});
        storeRecord("a", {.launchDuration = 2});
        storeRecord("b", {.launchDuration = 3});
        c.check(*this);
        EXPECT_EQ(mHost.takeLog(), Lines{std::string("KestrelStarts: ") + c.log +
                                         ": output db returning more rows for the same app"});
        ASSERT_EQ(records().size(), 1U);
        EXPECT_EQ(records().front().launchDuration, 3);
        EXPECT_EQ(launchCount(), 5U);
        std::string other = "b";
        mFeature.removeFromDatabase(action(), other);
    }
}

TEST_F(FeatureTest, RelearningIsTriggeredByTheHundredthLaunch) {
    const auto counted = [](int32_t n) {
        return "KestrelStarts: checkRelearningTrigger() 855: launchCount  Retrigger " +
               std::to_string(n);
    };
    const std::string due = "KestrelStarts: checkRelearningTrigger() 859: Should  Retrigger";
    const int32_t max = 2147483647;
    const struct {
        const char* name;
        bool exists;
        int32_t launchCount;
        int32_t retriggered;
        bool triggered;
        int32_t launchCountAfter;
        int32_t retriggeredAfter;
        Lines log;
    } cases[] = {
        {"no record", false, 0, 0, false, 1, 0, {counted(1)}},
        {"98", true, 98, 0, false, 99, 0, {counted(99)}},
        {"99", true, 99, 0, true, 100, 1, {counted(100), due}},
        {"triggered before", true, 100, 1, true, 100, 1, {due}},
        {"triggered too early", true, 5, 1, false, 5, 1, {}},
        {"odd flag", true, 3, 2, false, 4, 2, {counted(4)}},
        {"largest", true, max, 0, true, max, 1, {counted(max), due}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string app = "a";
        mFeature.removeFromDatabase(action(), app);
        if (c.exists) {
            storeRecord("a", {.launchCount = c.launchCount, .retriggered = c.retriggered});
        }
        mHost.takeLog();
        EXPECT_EQ(mFeature.checkRelearningTrigger(action(), launchOf("a")), c.triggered);
        std::vector<int32_t> states;
        for (const auto& change : mHost.records<record::State>()) {
            states.push_back(change.state);
        }
        EXPECT_EQ(states, c.triggered ? (std::vector<int32_t>{5, 0}) : std::vector<int32_t>{});
        EXPECT_EQ(mHost.takeLog(), c.log);
        ASSERT_EQ(records().size(), 1U);
        EXPECT_EQ(records().front().launchCount, c.launchCountAfter);
        EXPECT_EQ(records().front().retriggered, c.retriggeredAfter);
    }
}

// ---- missing stores

TEST(MissingStoreTest, EachOperationSaysWhatItLacks) {
    TestHost host(HostSetup{.knobs = std::nullopt});
    KestrelStartsFeature feature(FeatureInfo{.featureName = "KestrelStarts"});
    feature.mKapStatus = 1;
    host.takeLog();
    std::filesystem::remove_all(host.databaseDirectory());
    KestrelStartsAction* action = KestrelStartsAction::getInstance(&feature);
    ASSERT_NE(action, nullptr);
    EXPECT_EQ(action->mOutputDb, nullptr);
    std::string app = "a";
    featureData data;
    EXPECT_EQ(feature.getData(app, data, 3), -1);
    feature.removeFromDatabase(action, app);
    feature.removeFromDatabase(nullptr, app);
    feature.checkWriteOutputDB(action, launchOf("a"));
    feature.checkWriteOutputDB(nullptr, launchOf("a"));
    EXPECT_FALSE(feature.checkRelearningTrigger(action, launchOf("a")));
    EXPECT_FALSE(feature.checkRelearningTrigger(nullptr, launchOf("a")));
    // The default boost lasts 0 ms then, and there is no launch boost.
    EXPECT_EQ(feature.applyAction(action, launchOf("a")), -1);
    ASSERT_EQ(host.records<record::HintAcqRel>().size(), 1U);
    EXPECT_EQ(host.records<record::HintAcqRel>().front().duration, 0);
    EXPECT_EQ(
        host.takeLog(),
        (Lines{"LMDB: openLMdb() 172: ERROR:Db=/data/vendor/lm/KestrelStartsAction.db sql open "
               "failed, err=14",
               "KestrelStartsAction:: KestrelStartsAction() 40: LMDatabaseInit failed, err=-1",
               "KestrelStarts: getData() 751: Output db table not found",
               "KestrelStarts: removeFromDatabase() 524: KestrelStartAlgo:: dbTable NULL",
               "KestrelStarts: removeFromDatabase() 518: KestrelStartAlgo:: "
               "mFeatureInputDb/dbinstance NULL",
               "KestrelStarts: checkWriteOutputDB() 373: KestrelStartAlgo:: dbTable NULL",
               "KestrelStarts: checkWriteOutputDB() 367: KestrelStartAlgo:: "
               "mFeatureInputDb/dbinstance NULL",
               "KestrelStarts: checkRelearningTrigger() 823: KestrelStartAlgo:: dbTable NULL",
               "KestrelStarts: checkRelearningTrigger() 818: KestrelStartAlgo:: "
               "mFeatureInputDb/dbinstance NULL",
               "KestrelStartsAction:: FeedbackCB() 101: db instance table NULL"}));
}

}  // namespace

}  // namespace kestrel
