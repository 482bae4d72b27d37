// Memory that cannot be had: what is missing then, and what is said of it.

#include <gtest/gtest.h>

#include <memory>

#include "host/DynamicLoader.h"
#include "host/Registry.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FeatureFixture.h"

namespace kestrel {

namespace {

constexpr const char* VERSION_LINE =
    "KestrelStarts: KestrelStartsFeature() 60: Major Version : 1, Minor Version : 0";

HostSetup setupWithoutKnobs() {
    return {.knobs = std::nullopt};
}

using FeatureRegistry = RegistryBase<Feature, FeatureInfo>;

TEST(AllocationTest, WithoutAMapTheFeatureIsNotRegistered) {
    TestHost host;
    ASSERT_EQ(FeatureRegistry::classList, nullptr);
    {
        const FailingAllocator fail(1);
        const Registry<Feature, FeatureInfo, KestrelStartsFeature> registration("KestrelStarts");
    }
    EXPECT_EQ(FeatureRegistry::classList, nullptr);
    EXPECT_EQ(host.takeLog(), Lines{"FeatureRegistry: Registry() 97: getMap() returned nullptr, "
                                    "Class KestrelStarts not registered"});
}

TEST(AllocationTest, WithoutMemoryForTheFeatureTheFactoryReturnsNull) {
    TestHost host;
    const FailingAllocator fail(1);
    EXPECT_EQ((createClassObj<Feature, FeatureInfo, KestrelStartsFeature>({})), nullptr);
    EXPECT_EQ(host.takeLog(), Lines{});
}

TEST(AllocationTest, AFeatureWithoutDatabaseOrMeterSaysSoForEachEvent) {
    for (const int n : {1, 2}) {  // the database, the meta meter
        SCOPED_TRACE(n);
        TestHost host(setupWithoutKnobs());
        std::unique_ptr<KestrelStartsFeature> feature;
        {
            const FailingAllocator fail(n);
            feature = std::make_unique<KestrelStartsFeature>(FeatureInfo{.featureName = "F"});
        }
        EXPECT_EQ(feature->mFeatureInputDb == nullptr, n == 1);
        EXPECT_EQ(feature->mMetaMeter, nullptr);
        EXPECT_EQ(host.takeLog(), Lines{VERSION_LINE});
        feature->mKapStatus = 1;
        feature->runAsync(launchOf("a"));
        EXPECT_EQ(host.takeLog(), Lines{"KestrelStarts: runAsync() 569: dbinstance or metameter "
                                        "NULL"});
    }
}

TEST(AllocationTest, TheSingletonIsTriedForAgainUntilThereIsMemory) {
    TestHost host(setupWithoutKnobs());
    {
        const FailingAllocator fail(1);
        EXPECT_EQ(KestrelStartsAction::getInstance(nullptr), nullptr);
    }
    {
        const FailingAllocator fail(1);
        mpctl_msg_t message{};
        message.hintId = 4225;
        EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), -1);
    }
    EXPECT_EQ(host.takeLog(),
              (Lines{"KestrelStartsAction:: getInstance() 52: KestrelStartsAction::getInstance "
                     "failure",
                     "KestrelStartsAction:: getInstance() 52: KestrelStartsAction::getInstance "
                     "failure",
                     "KestrelStartsAction:: FeedbackCB() 95: Couldn't create feedback instance"}));
    EXPECT_NE(KestrelStartsAction::getInstance(nullptr), nullptr);
}

TEST(AllocationTest, ASingletonWithoutMemoryForItsStoreStaysWithoutIt) {
    TestHost host(setupWithoutKnobs());
    {
        const FailingAllocator fail(2);
        ASSERT_NE(KestrelStartsAction::getInstance(nullptr), nullptr);
    }
    EXPECT_EQ(KestrelStartsAction::getInstance(nullptr)->mOutputDb, nullptr);
    mpctl_msg_t message{};
    message.hintId = 4225;
    EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), -1);
    EXPECT_EQ(host.takeLog(),
              Lines{"KestrelStartsAction:: FeedbackCB() 101: db instance table NULL"});
}

TEST(AllocationTest, RowsRunOutInTheMiddle) {
    TestHost host(setupWithoutKnobs());
    LMDatabase<KSInputDbData> db(0, "", "launches");
    ASSERT_EQ(db.openLMdb(), LMDB_SUCCESS);
    const auto noMemory = [](int allocated) {
        return "LMDB: getRow() 144: ERROR:Dbt=launches new operator failure, allocated=" +
               std::to_string(allocated);
    };
    auto rows = LMDBDataTable<KSInputDbData>::vecT{};
    {
        const FailingAllocator fail(3);
        rows = db.getRow(5);
    }
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(host.takeLog(), Lines{noMemory(2)});
    rows[0]->appName = rows[1]->appName = "a";
    db.writeDeallocateDR<KSInputDbData>(rows);
    LMDBDataRowKey all;
    {
        const FailingAllocator fail(2);
        rows = db.readAllocateDR<KSInputDbData>(all);
    }
    EXPECT_EQ(rows.size(), 1U);
    EXPECT_EQ(host.takeLog(), Lines{noMemory(0)});
    db.freeRow(rows);
}

TEST(AllocationTest, AnIncompleteBatchOfLaunchesIsNotStored) {
    TestHost host(setupWithoutKnobs());
    KestrelStartsFeature feature(FeatureInfo{.featureName = "F"});
    host.takeLog();
    LaunchMeter meter;
    meter.mTriggerPayloads = {launchOf("a"), launchOf("b")};
    {
        const FailingAllocator fail(2);
        EXPECT_EQ(feature.mMetaMeter->writeToDataBase({&meter}), 1);
    }
    LMDBDataRowKey all;
    EXPECT_EQ(feature.mFeatureInputDb->getCountDR<KSInputDbData>(all), 0);
    EXPECT_EQ(host.takeLog(), Lines{"LMDB: getRow() 144: ERROR:Dbt=KestrelStarts new operator "
                                    "failure, allocated=1"});
}

// The service of a host that keeps no records.
void connectSilentService() {
    DynamicLoader& loader = DynamicLoader::getInstance();
    loader.mPerfHint = [](int, const char*, int, int) { return 1; };
    loader.mPerfHintAcqRel = [](int, int, const char*, int, int, int, int*) { return 1; };
    loader.mPerfLockRel = [](int) { return 0; };
}

TEST(AllocationTest, BoostRequestsAllocateNothingButWhatReadingTheRecordTakes) {
    TestHost host(setupWithoutKnobs());
    KestrelStartsFeature feature(FeatureInfo{.featureName = "F"});
    KestrelStartsAction& action = *KestrelStartsAction::getInstance(&feature);
    connectSilentService();
    const std::string app = "com.example.a.name.that.does.not.fit.into.a.string";
    mpctl_msg_t message{};
    message.hintId = 4225;
    app.copy(message.appName, sizeof(message.appName) - 1);
    const auto allocations = [](const auto& call) {
        const std::size_t before = FailingAllocator::count();
        call();
        return FailingAllocator::count() - before;
    };
    const auto reading = allocations([&] { KestrelStartsAction::FeedbackCB(&message); });
    EXPECT_GT(reading, 0U);
    EXPECT_EQ(allocations([&] { action.applyAction(app, 4225, 8, 0, 0, true); }), reading);
    EXPECT_EQ(allocations([&] { action.applyDefaultAttachBoost(app, 0, 0); }), reading);
    EXPECT_EQ(allocations([&] { action.applyDefaultKSBoost(0, app, 0, 1350); }), 0U);
    EXPECT_EQ(allocations([&] { action.ResetAction(1); }), 0U);
}

}  // namespace

}  // namespace kestrel
