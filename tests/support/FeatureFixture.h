#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "tests/support/Payload.h"
#include "tests/support/TestHost.h"

namespace kestrel {

// A feature that is on for both kinds of launches, with its stores.
class FeatureTest : public testing::Test {
 public:
    explicit FeatureTest(const HostSetup& setup = {.knobs = std::nullopt}) : mHost(setup) {
        mFeature.mKapStatus = mFeature.mKgmStatus = 1;
        mHost.takeLog();
    }

    KestrelStartsAction* action() { return KestrelStartsAction::getInstance(&mFeature); }

    void storeLaunches(const std::string& app, const std::vector<int>& durations) {
        auto rows = mFeature.mFeatureInputDb->getRow(durations.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i]->appName = app;
            rows[i]->intcol1 = 4225;
            rows[i]->blob.launchDuration = durations[i];
        }
        mFeature.mFeatureInputDb->writeDeallocateDR<KSInputDbData>(rows);
    }

    void storeRecord(const std::string& app, const KSPerfdOutput& record) {
        auto rows = action()->mOutputDb->getRow(1);
        rows.front()->appName = app;
        rows.front()->intcol1 = 4225;
        rows.front()->blob = record;
        action()->mOutputDb->writeDeallocateDR<KSPerfdOutput>(rows);
    }

    template <class T>
    static std::vector<T> stored(LMDatabase<T>& db) {
        LMDBDataRowKey all;
        auto rows = db.template readAllocateDR<T>(all);
        std::vector<T> values;
        for (const auto* row : rows) {
            values.push_back(row->blob);
        }
        db.freeRow(rows);
        return values;
    }

    std::vector<KSPerfdOutput> records() { return stored(*action()->mOutputDb); }
    std::size_t launchCount() { return stored(*mFeature.mFeatureInputDb).size(); }

    TestHost mHost;
    KestrelStartsFeature mFeature{FeatureInfo{.featureName = "KestrelStarts"}};
};

}  // namespace kestrel
