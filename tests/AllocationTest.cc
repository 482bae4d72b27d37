// Memory that cannot be had: what is missing then, and what is said of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "host/DynamicLoader.h"
#include "host/Registry.h"
#include "lmdb/LMDBRows.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FeatureFixture.h"

namespace kestrel {

namespace {

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

TEST(AllocationTest, AFeatureWithoutMeterSaysSoForEachEvent) {
    TestHost host(setupWithoutKnobs());
    std::unique_ptr<KestrelStartsFeature> feature;
    {
        const FailingAllocator fail(2);  // behind the database
        feature = std::make_unique<KestrelStartsFeature>(FeatureInfo{.featureName = "F"});
    }
    feature->mKapStatus = 1;
    host.takeLog();
    feature->runAsync(launchOf("a"));
    EXPECT_EQ(host.takeLog(), Lines{"KestrelStarts: runAsync() 569: dbinstance or metameter NULL"});
}

TEST(AllocationTest, TheSingletonIsTriedForAgainUntilThereIsMemory) {
    TestHost host(setupWithoutKnobs());
    {
        const FailingAllocator fail(1);
        mpctl_msg_t message{};
        message.hintId = 4225;
        EXPECT_EQ(KestrelStartsAction::FeedbackCB(&message), -1);
    }
    EXPECT_EQ(host.takeLog(),
              (Lines{"KestrelStartsAction:: getInstance() 52: KestrelStartsAction::getInstance "
                     "failure",
                     "KestrelStartsAction:: FeedbackCB() 95: Couldn't create feedback instance"}));
    EXPECT_NE(KestrelStartsAction::getInstance(nullptr), nullptr);
}

TEST(AllocationTest, RowsThatWereHandedOverBeforeMemoryRanOutAreWritten) {
    TestHost host(setupWithoutKnobs());
    LMDatabase<KSInputDbData> db(0, "", "launches");
    ASSERT_EQ(db.openLMdb(), LMDB_SUCCESS);
    LMDBRows<KSInputDbData> handed(db, db.getRow(3));
    for (auto* row : handed.rows) {
        row->appName = "a";
    }
    {
        const FailingAllocator fail(2, FailingAllocator::Kind::throws);
        EXPECT_THROW(db.writeDeallocateDR<KSInputDbData>(handed.rows), std::bad_alloc);
    }
    EXPECT_EQ(std::ranges::count(handed.rows, nullptr), 1);
    EXPECT_EQ(db.LMDatabaseWriteCachedToDisk(), LMDB_SUCCESS);
    LMDBDataRowKey all;
    EXPECT_EQ(db.getCountDR<KSInputDbData>(all), 1);
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
