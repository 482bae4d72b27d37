// Memory that cannot be had: what is missing then, and what is said of it.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>

#include "host/Registry.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FeatureFixture.h"

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

// Fails every throwing allocation of each operation on one app, one after the other: nothing gets
// out, nothing of another app is touched, and no transaction stays open.
TEST(AllocationTest, NoFailedAllocationReachesAnotherApp) {
    TestHost host(setupWithoutKnobs());
    KestrelStartsFeature feature(FeatureInfo{.featureName = "F"});
    feature.mKapStatus = 1;
    KestrelStartsAction* action = KestrelStartsAction::getInstance(&feature);
    LMDatabase<KSInputDbData>& launches = *feature.mFeatureInputDb;
    LMDatabase<KSPerfdOutput>& records = *action->mOutputDb;
    const std::string one = "com.example.one.with.a.long.name/.MainActivity";
    const std::string other = "com.example.other.with.a.long.name/.MainActivity";

    const auto clear = [&] {
        LMDBDataRowKey all;
        auto storedLaunches = launches.readAllocateDR<KSInputDbData>(all);
        launches.deleteDeallocateDR<KSInputDbData>(storedLaunches);
        auto storedRecords = records.readAllocateDR<KSPerfdOutput>(all);
        records.deleteDeallocateDR<KSPerfdOutput>(storedRecords);
    };
    const auto store = [&](const std::string& app) {
        auto rows = launches.getRow(5);
        for (auto* row : rows) {
            row->appName = app;
            row->intcol1 = 4225;
            row->blob.launchDuration = 900;
        }
        launches.writeDeallocateDR<KSInputDbData>(rows);
        auto record = records.getRow(1);
        record.front()->appName = app;
        record.front()->intcol1 = 4225;
        record.front()->blob.launchDuration = 7;
        records.writeDeallocateDR<KSPerfdOutput>(record);
        feature.mFeatureState.writeState(app, APP_STATE_LEARNING);
    };
    using Run = void (*)(KestrelStartsFeature&, KestrelStartsAction*, const AsyncTriggerPayload&,
                         std::string& app);
    const struct {
        const char* name;
        bool mayThrow;
        Run run;
    } operations[] = {
        {"decision", false,
         [](auto& f, auto* a, const auto& launch, auto&) { f.checkWriteOutputDB(a, launch); }},
        {"relearning", false,
         [](auto& f, auto* a, const auto& launch, auto&) { f.checkRelearningTrigger(a, launch); }},
        {"removal", false,
         [](auto& f, auto* a, const auto&, auto& app) { f.removeFromDatabase(a, app); }},
        {"query", true,
         [](auto& f, auto*, const auto&, auto& app) {
             featureData data;
             f.getData(app, data, 3);
         }},
    };
    const AsyncTriggerPayload launch = launchOf(one);
    std::string app = one;
    for (const auto& operation : operations) {
        bool failed = true;
        for (int n = 1; failed; ++n) {
            SCOPED_TRACE(testing::Message() << operation.name << ' ' << n);
            clear();
            feature.mFeatureState.deleteRow(one);
            store(one);
            store(other);
            host.takeLog();
            {
                const FailingAllocator fail(n, FailingAllocator::Kind::throws);
                try {
                    operation.run(feature, action, launch, app);
                } catch (const std::bad_alloc&) {
                    EXPECT_TRUE(operation.mayThrow);
                }
                failed = FailingAllocator::hasFailed();
            }
            LMDBDataRowKey key{4225, other, ""};
            EXPECT_EQ(launches.getCountDR<KSInputDbData>(key), 5);
            EXPECT_EQ(records.getCountDR<KSPerfdOutput>(key), 1);
            EXPECT_EQ(feature.mFeatureState.readState(other), APP_STATE_LEARNING);
            EXPECT_EQ(sqlite3_get_autocommit(launches.dbHandle), 1);
            EXPECT_EQ(sqlite3_get_autocommit(records.dbHandle), 1);
            ASSERT_LT(n, 1000);
        }
    }
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

}  // namespace
