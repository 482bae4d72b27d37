#include "learning/KestrelStartsMetaMeter.h"

#include <atomic>

#include "host/KestrelStartsHints.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* MODULE = "KestrelStarts:MetaMeter";
constexpr const char* FUNCTION = "writeToDataBase";

}  // namespace

KestrelStartsMetaMeter::KestrelStartsMetaMeter(FeatureInfo const& info,
                                               LMDatabase<KSInputDbData>* inputDb,
                                               FeatureState& state)
    : MetaMeter(info, state), mInputDb(inputDb) {}

int KestrelStartsMetaMeter::writeToDataBase(std::vector<Meter*> meters) {
    int result = 1;
    guarded([&] { result = storeRun(meters); }, ExceptionLog{MODULE, FUNCTION, 128, 130});
    return result;
}

int KestrelStartsMetaMeter::storeRun(std::vector<Meter*> const& meters) {
    if (meters.size() != 1) {
        LM_LOG(MODULE, FUNCTION, 45, "incorrect no of meters");
        return 0;
    }
    auto* meter = static_cast<LaunchMeter*>(meters.front());
    if (meter == nullptr) {
        LM_LOG(MODULE, FUNCTION, 62, "No meters for this feature");
        return 0;
    }
    std::vector<AsyncTriggerPayload> launches;
    meter->getTriggerPayloads(launches);
    if (mInputDb == nullptr) {
        LM_LOG(MODULE, FUNCTION, 56, "No input db for this feature");
        return 0;
    }
    const int32_t durationMs = meter->measuredDuration.load(std::memory_order_acquire);
    if (meter->aborted) {
        LM_LOG(MODULE, FUNCTION, 69, "Meter aborted or could not get meter data for this run");
        return 0;
    }
    std::erase_if(launches, [](AsyncTriggerPayload const& payload) {
        return payload.hintId != KS_LAUNCH_HINT || payload.hintType != KS_HINT_TYPE_LAUNCH;
    });
    if (launches.empty()) {
        LM_LOG(MODULE, FUNCTION, 88, "no valid triggers present to write into input db");
        return 0;
    }
    storeLaunch(launches, durationMs);
    return 1;
}

void KestrelStartsMetaMeter::storeLaunch(std::vector<AsyncTriggerPayload> const& launches,
                                         int32_t durationMs) {
    mRowCount = static_cast<int32_t>(launches.size());
    LMDBRows<KSInputDbData> found(*mInputDb, mInputDb->getRow(launches.size()));
    if (found.rows.size() != launches.size()) {
        mInputDb->deleteDeallocateDR<KSInputDbData>(found.rows);
        return;
    }
    // Only the first trigger is the launch that was measured. The other rows stay without a name,
    // which the table refuses.
    if (LMDBDataRow<KSInputDbData>* row = found.rows.front(); row != nullptr) {
        row->appName = launches.front().appName;
        row->intcol1 = launches.front().hintId;
        row->blob.launchDuration = durationMs;
        row->blob.secondMetric = 0;
    }
    mInputDb->writeDeallocateDR<KSInputDbData>(found.rows);
}
