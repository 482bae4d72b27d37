// From stored launches to one learned duration, or to a disabled app.

#include <optional>
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
    LMDBDataRowKey key = launchKey(payload.hintId, payload.appName);
    const int32_t count = mFeatureInputDb->getCountDR<KSInputDbData>(key);
    if (count < KS_LAUNCHES_TO_DECIDE) {
        return;
    }
    LMDBRows<KSInputDbData> launches(*mFeatureInputDb,
                                     mFeatureInputDb->readAllocateDR<KSInputDbData>(key));
    if (launches.rows.size() < static_cast<std::size_t>(KS_LAUNCHES_TO_DECIDE)) {
        return;
    }
    if (const std::optional<int> durationMs = evaluate(launches.rows, count, payload)) {
        storeDecision(*action->mOutputDb, launches.rows, payload, *durationMs);
    }
}

std::optional<int> KestrelStartsFeature::evaluate(std::vector<LMDBDataRow<KSInputDbData>*>& rows,
                                                  int32_t count,
                                                  AsyncTriggerPayload const& payload) {
    int average = 0;
    getAvgLaunchValues(rows, static_cast<int>(rows.size()), average);
    if (isUnusable(count, average)) {
        getAvgLaunchValuesForced(rows, average);
        disableFeature(std::exchange(rows, {}), payload, average);
        return std::nullopt;
    }
    const int appClass = isHeavyGame(payload.appName);
    const bool clamped = skewLaunchDuration(average, payload.launchType, appClass, payload.appName);
    return isScaled(payload.launchType, clamped) ? scaleGameDuration(average) : average;
}

void KestrelStartsFeature::storeDecision(LMDatabase<KSPerfdOutput>& outputDb,
                                         std::vector<LMDBDataRow<KSInputDbData>*>& rows,
                                         AsyncTriggerPayload const& payload, int durationMs) {
    std::string const& app = payload.appName;
    LMDBDataRowKey key = launchKey(payload.hintId, app);
    LMDBRows<KSPerfdOutput> output(outputDb, readOrMakeOutputRow(outputDb, key));
    LMDBDataRow<KSPerfdOutput>* row = onlyRowOrDeleteAll(outputDb, output.rows, FUNCTION, 434);
    if (row == nullptr) {
        return;
    }
    switch (decisionStep(mFeatureState.readState(app))) {
        case DecisionStep::begin:
            setDecision(row->blob, durationMs);
            row->blob.boostType = decidedBoostType(payload.launchType);
            row->appName = app;
            row->intcol1 = payload.hintId;
            outputDb.writeDeallocateDR<KSPerfdOutput>(output.rows);
            KSFeaturesList::exportToFile(KS_EXPORT_FIRST_DECISION, durationMs, app.c_str());
            for (const AppState state : {APP_STATE_EVALUATING, APP_STATE_EVALUATED,
                                         APP_STATE_DECIDING, APP_STATE_LEARNED}) {
                mFeatureState.writeState(app, state);
            }
            mFeatureInputDb->deleteDeallocateDR<KSInputDbData>(rows);
            return;
        case DecisionStep::update:
            setDecision(row->blob, durationMs);
            outputDb.writeDeallocateDR<KSPerfdOutput>(output.rows);
            mFeatureState.writeState(app, APP_STATE_DECIDING);
            mFeatureState.writeState(app, APP_STATE_LEARNED);
            LM_LOG(KS_MODULE, FUNCTION, 464, "deleteDeallocateDR<KSInputDbData>(inDbRows)");
            mFeatureInputDb->deleteDeallocateDR<KSInputDbData>(rows);
            KSFeaturesList::exportToFile(KS_EXPORT_LATER_DECISION, durationMs, app.c_str());
            return;
        case DecisionStep::none:
            mFeatureInputDb->freeRow(rows);
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
    // Its size here is not one to rely on: a device's header must declare all of the host's record,
    // since the classifier may write behind `value`.
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
