#pragma once

#include <cstdint>
#include <vector>

#include "host/MetaMeter.h"
#include "learning/LearningRecords.h"

// Stores each finished meter run as a measured launch.
// Ownership: borrows the input database, which outlives it; it may be null.
// Threads:   writeToDataBase on the host's meter thread.
class KestrelStartsMetaMeter : public MetaMeter {
 public:
    KestrelStartsMetaMeter(FeatureInfo const& info, LMDatabase<KSInputDbData>* inputDb,
                           FeatureState& state);

    // 0 when a run holds nothing to store, which is logged; else 1, also after a failed write.
    int writeToDataBase(std::vector<Meter*> meters) override;

    LMDatabase<KSInputDbData>* mInputDb;  // the feature's; may be null
    int32_t mRowCount = 1;                // rows requested by the current call

 private:
    int storeRun(std::vector<Meter*> const& meters);
    void storeLaunch(std::vector<AsyncTriggerPayload> const& launches, int32_t durationMs);
};
