// Counts the launches of a learned app and sends it back to learning.

#include <limits>

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "learning/OutputRecord.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* FUNCTION = "checkRelearningTrigger";
constexpr int32_t LAUNCHES_BEFORE_RELEARNING = 100;

}  // namespace

bool KestrelStartsFeature::checkRelearningTrigger(KestrelStartsAction* action,
                                                  AsyncTriggerPayload const& payload) {
    if (isOff()) {
        return false;
    }
    if (action == nullptr) {
        LM_LOG(KS_MODULE, FUNCTION, 818, "KestrelStartAlgo:: mFeatureInputDb/dbinstance NULL");
        return false;
    }
    bool triggered = false;
    const auto countLaunch = [&] {
        if (action->mOutputDb == nullptr) {
            LM_LOG(KS_MODULE, FUNCTION, 823, "KestrelStartAlgo:: dbTable NULL");
            return;
        }
        LMDatabase<KSPerfdOutput>& outputDb = *action->mOutputDb;
        LMDBDataRowKey key = launchKey(payload.hintId, payload.appName);
        LMDBRows<KSPerfdOutput> output(outputDb, readOrMakeOutputRow(outputDb, key));
        if (!isSingleOutputRow(outputDb, output.rows, FUNCTION, 838)) {
            return;
        }
        LMDBDataRow<KSPerfdOutput>& row = *output.rows.front();
        row.appName = payload.appName;
        row.intcol1 = payload.hintId;
        KSPerfdOutput& record = row.blob;
        if (record.retriggered != 1) {
            // A damaged count does not overflow; it is past the threshold anyway.
            if (record.launchCount < std::numeric_limits<int32_t>::max()) {
                ++record.launchCount;
            }
            LM_LOG(KS_MODULE, FUNCTION, 855, "launchCount  Retrigger %d", record.launchCount);
        }
        const bool due = record.launchCount >= LAUNCHES_BEFORE_RELEARNING;
        if (due) {
            LM_LOG(KS_MODULE, FUNCTION, 859, "Should  Retrigger");
            record.retriggered = 1;
            mFeatureState.writeState(payload.appName, APP_STATE_RELEARN);
            mFeatureState.writeState(payload.appName, APP_STATE_LEARNING);
        }
        outputDb.writeDeallocateDR<KSPerfdOutput>(output.rows);
        triggered = due;
    };
    guarded(countLaunch, ExceptionLog{KS_MODULE, FUNCTION, 867, 870});
    return triggered;
}
