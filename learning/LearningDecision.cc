// From stored launches to one learned duration, or to a disabled app.

#include <utility>

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "host/KSFeaturesList.h"
#include "host/KestrelStartsHints.h"
#include "learning/LaunchStatistics.h"
#include "learning/LearningRules.h"
#include "learning/OutputRecord.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* FUNCTION = "checkWriteOutputDB";
constexpr int CLASSIFIER_QUERY_TYPE = 1;

}  // namespace

void KestrelStartsFeature::checkWriteOutputDB(KestrelStartsAction* action,
                                              AsyncTriggerPayload const& payload) {
    if (isOff()) {
        return;
    }
    if (action == nullptr || mFeatureInputDb == nullptr) {
        LM_LOG(KS_MODULE, FUNCTION, 367, "KestrelStartAlgo:: mFeatureInputDb/dbinstance NULL");
        return;
    }
    guarded([&] { decide(action, payload); }, ExceptionLog{KS_MODULE, FUNCTION, 507, 509});
}

void KestrelStartsFeature::decide(KestrelStartsAction* action, AsyncTriggerPayload const& payload) {
    if (action->mOutputDb == nullptr) {
        LM_LOG(KS_MODULE, FUNCTION, 373, "KestrelStartAlgo:: dbTable NULL");
        return;
    }
    std::string const& app = payload.appName;
    LMDBDataRowKey key = launchKey(payload.hintId, app);
    const int32_t count = mFeatureInputDb->getCountDR<KSInputDbData>(key);
    if (count < KS_LAUNCHES_TO_DECIDE) {
        return;
    }
    LMDBRows<KSInputDbData> launches(*mFeatureInputDb,
                                     mFeatureInputDb->readAllocateDR<KSInputDbData>(key));
    if (launches.rows.size() < static_cast<std::size_t>(KS_LAUNCHES_TO_DECIDE)) {
        return;
    }
    int average = 0;
    getAvgLaunchValues(launches.rows, static_cast<int>(launches.rows.size()), average);
    if (isUnusable(count, average)) {
        getAvgLaunchValuesForced(launches.rows, average);
        disableFeature(std::exchange(launches.rows, {}), payload, average);
        return;
    }
    const int appClass = isHeavyGame(app);
    const bool clamped = skewLaunchDuration(average, payload.launchType, appClass, app);
    if (isScaled(payload.launchType, clamped)) {
        average = scaleGameDuration(average);
    }

    LMDatabase<KSPerfdOutput>& outputDb = *action->mOutputDb;
    LMDBRows<KSPerfdOutput> output(outputDb, readOrMakeOutputRow(outputDb, key));
    LMDBDataRow<KSPerfdOutput>* row = onlyRowOrDeleteAll(outputDb, output.rows, FUNCTION, 434);
    if (row == nullptr) {
        return;
    }
    switch (decisionStep(mFeatureState.readState(app))) {
        case DecisionStep::begin:
            setDecision(row->blob, average);
            row->blob.boostType = decidedBoostType(payload.launchType);
            row->appName = app;
            row->intcol1 = payload.hintId;
            outputDb.writeDeallocateDR<KSPerfdOutput>(output.rows);
            KSFeaturesList::exportToFile("Data Complete - Eval Required", average, app.c_str());
            for (const AppState state : {APP_STATE_EVALUATING, APP_STATE_EVALUATED,
                                         APP_STATE_DECIDING, APP_STATE_LEARNED}) {
                mFeatureState.writeState(app, state);
            }
            mFeatureInputDb->deleteDeallocateDR<KSInputDbData>(launches.rows);
            return;
        case DecisionStep::update:
            setDecision(row->blob, average);
            outputDb.writeDeallocateDR<KSPerfdOutput>(output.rows);
            mFeatureState.writeState(app, APP_STATE_DECIDING);
            mFeatureState.writeState(app, APP_STATE_LEARNED);
            LM_LOG(KS_MODULE, FUNCTION, 464, "deleteDeallocateDR<KSInputDbData>(inDbRows)");
            mFeatureInputDb->deleteDeallocateDR<KSInputDbData>(launches.rows);
            KSFeaturesList::exportToFile("Learning Complete - ENABLED KS", average, app.c_str());
            return;
        case DecisionStep::none:
            mFeatureInputDb->freeRow(launches.rows);
            outputDb.deleteDeallocateDR<KSPerfdOutput>(output.rows);
            return;
    }
}

void KestrelStartsFeature::disableFeature(std::vector<LMDBDataRow<KSInputDbData>*> rows,
                                          AsyncTriggerPayload const& payload, int average) {
    LMDBRows<KSInputDbData> launches(*mFeatureInputDb, std::move(rows));
    KSFeaturesList::exportToFile("Learning Complete - DISABLED KS", average,
                                 payload.appName.c_str());
    mFeatureState.writeState(payload.appName, APP_STATE_DISABLED);
    mFeatureInputDb->deleteDeallocateDR<KSInputDbData>(launches.rows);
}

int KestrelStartsFeature::isHeavyGame(std::string app) {
    // Its size here is not one to rely on: a device's header must have the host's whole record, all
    // of which the classifier may fill.
    featureData data;
    const auto ask = [&] {
        std::string classifier = "AppClassifier";
        if (mFeatureLocator != nullptr) {
            mFeatureLocator->getData(classifier, app, data, CLASSIFIER_QUERY_TYPE);
        }
    };
    guarded(ask, ExceptionLog{KS_MODULE, "isHeavyGame", 308, 310});
    return data.value;
}
