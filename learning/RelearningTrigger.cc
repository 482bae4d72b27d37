// Counts the launches of a learned app and sends it back to learning.

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "learning/LearningRules.h"
#include "learning/OutputRecord.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* FUNCTION = "checkRelearningTrigger";

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
    const auto check = [&] {
        if (action->mOutputDb == nullptr) {
            LM_LOG(KS_MODULE, FUNCTION, 823, "KestrelStartAlgo:: dbTable NULL");
            return;
        }
        LMDatabase<KSPerfdOutput>& outputDb = *action->mOutputDb;
        LMDBDataRowKey key = launchKey(payload.hintId, payload.appName);
        LMDBRows<KSPerfdOutput> output(outputDb, readOrMakeOutputRow(outputDb, key));
        LMDBDataRow<KSPerfdOutput>* row = onlyRowOrDeleteAll(outputDb, output.rows, FUNCTION, 838);
        if (row == nullptr) {
            return;
        }
        row->appName = payload.appName;
        row->intcol1 = payload.hintId;
        KSPerfdOutput& record = row->blob;
        if (countLaunch(record)) {
            LM_LOG(KS_MODULE, FUNCTION, 855, "launchCount  Retrigger %d", record.launchCount);
        }
        const bool due = isRelearningDue(record);
        if (due) {
            LM_LOG(KS_MODULE, FUNCTION, 859, "Should  Retrigger");
            record.retriggered = 1;
            mFeatureState.writeState(payload.appName, APP_STATE_RELEARN);
            mFeatureState.writeState(payload.appName, APP_STATE_LEARNING);
        }
        outputDb.writeDeallocateDR<KSPerfdOutput>(output.rows);
        triggered = due;
    };
    guarded(check, ExceptionLog{KS_MODULE, FUNCTION, 867, 870});
    return triggered;
}
