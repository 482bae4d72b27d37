// What the feature knows of one app: answering for it, forgetting it, boosting by it.

#include <algorithm>

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "host/AsyncEvent.h"
#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "learning/OutputRecord.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMLog.h"

namespace {

// The field of a record that a query asks for; null for a type that asks for none.
template <class Record>
int32_t const* queriedField(Record const& record, int type) {
    switch (type) {
        case KS_DATA_LAUNCH_DURATION:
            return &record.launchDuration;
        case KS_DATA_SECOND_METRIC:
            return &record.secondMetric;
        default:
            return nullptr;
    }
}

// Adds the field of every row to `value` and divides by their number; never called for no rows.
int32_t averageOnto(int32_t value, LMDBDataTable<KSInputDbData>::vecT const& rows, int type) {
    int64_t sum = value;
    for (LMDBDataRow<KSInputDbData> const* row : rows) {
        if (int32_t const* field = queriedField(row->blob, type); field != nullptr) {
            sum += *field;
        }
    }
    return static_cast<int32_t>(sum / static_cast<int32_t>(rows.size()));
}

// Deletes the stored rows that match `key`; false when there is none.
template <class T>
bool removeRows(LMDatabase<T>& db, LMDBDataRowKey& key) {
    LMDBRows<T> found(db, db.template readAllocateDR<T>(key));
    if (found.rows.empty()) {
        return false;
    }
    db.template deleteDeallocateDR<T>(found.rows);
    return true;
}

}  // namespace

int KestrelStartsFeature::getData(std::string& app, featureData& data, int type) {
    KestrelStartsAction const* action = KestrelStartsAction::getInstance(this);
    if (action == nullptr || action->mOutputDb == nullptr) {
        LM_LOG(KS_MODULE, "getData", 751, "Output db table not found");
        return -1;
    }
    if (type == KS_DATA_LEARNING_PID) {
        data.value = mFeatureState.readState(app) == APP_STATE_LEARNED ? 0 : 1;
        if (data.value == 0) {
            return 0;
        }
        std::string package(shortName(app));
        data.value = std::max(AsyncEvent::getPidFromMap(package), 1);
        return 0;
    }
    LMDBDataRowKey key = launchKey(KS_LAUNCH_HINT, app);
    LMDatabase<KSPerfdOutput>& outputDb = *action->mOutputDb;
    const LMDBRows<KSPerfdOutput> learned(outputDb, outputDb.readAllocateDR<KSPerfdOutput>(key));
    if (!learned.rows.empty()) {
        if (auto field = queriedField(learned.rows.front()->blob, type); field != nullptr) {
            data.value = *field;
        }
        return 0;
    }
    if (mFeatureInputDb == nullptr) {
        return -1;
    }
    const LMDBRows<KSInputDbData> stored(*mFeatureInputDb,
                                         mFeatureInputDb->readAllocateDR<KSInputDbData>(key));
    if (stored.rows.empty()) {
        return -1;
    }
    data.value = averageOnto(data.value, stored.rows, type);
    return 0;
}

void KestrelStartsFeature::removeFromDatabase(KestrelStartsAction* action, std::string& app) {
    constexpr const char* FUNCTION = "removeFromDatabase";
    if (action == nullptr || mFeatureInputDb == nullptr) {
        LM_LOG(KS_MODULE, FUNCTION, 518, "KestrelStartAlgo:: mFeatureInputDb/dbinstance NULL");
        return;
    }
    const auto remove = [&] {
        if (action->mOutputDb == nullptr) {
            LM_LOG(KS_MODULE, FUNCTION, 524, "KestrelStartAlgo:: dbTable NULL");
            return;
        }
        LMDBDataRowKey key;
        key.appName = app;
        if (!removeRows(*action->mOutputDb, key)) {
            removeRows(*mFeatureInputDb, key);
        }
        mFeatureState.deleteRow(app);
    };
    guarded(remove, ExceptionLog{KS_MODULE, FUNCTION, 545, 547});
}

int KestrelStartsFeature::applyAction(KestrelStartsAction* action,
                                      AsyncTriggerPayload const& payload) {
    mPerfLockHandle = -1;
    if (isOff() || action == nullptr || payload.hintId != KS_LAUNCH_HINT ||
        payload.hintType != KS_HINT_TYPE_LAUNCH) {
        return -1;
    }
    const bool learned = mFeatureState.readState(payload.appName) == APP_STATE_LEARNED;
    const int boostClass = payload.launchType == KS_LAUNCH_TYPE_GAME ? KS_HINT_TYPE_GAME_BOOST
                                                                     : KS_HINT_TYPE_APP_BOOST;
    mPerfLockHandle =
        action->applyAction(payload.appName, static_cast<unsigned int>(payload.hintId), boostClass,
                            0, payload.launchArg, learned);
    return mPerfLockHandle;
}

void KestrelStartsFeature::removeAction(KestrelStartsAction* action) {
    if (action != nullptr) {
        releaseBoost(action);
    }
    mPerfLockHandle = -1;
}
