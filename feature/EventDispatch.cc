// The road of an event: which ones count, what opens and what ends a launch.

#include <algorithm>

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* FUNCTION = "runAsync";
constexpr int32_t KS_LAUNCH_HINT_ARG = 15100;  // what a launch hint is evaluated and metered with

bool isLauncher(std::string const& app) {
    return app.find("com.android.launcher") != std::string::npos;
}

// A removal that leaves the app's data in place, as an update does.
bool keepsData(AsyncTriggerPayload const& payload) {
    return (static_cast<uint32_t>(payload.hintType) >> 24) != 0;
}

}  // namespace

void KestrelStartsFeature::runAsync(AsyncTriggerPayload payload) {
    if (payload.dataVersion != KS_DATA_VERSION || payload.featureVersion > mMajorVersion) {
        LM_LOG(KS_MODULE, FUNCTION, 555,
               "Payload Data or Version is not compatible. Hence, Discarding Request.\n");
        return;
    }
    KestrelStartsAction* action = KestrelStartsAction::getInstance(this);
    if (isOff()) {
        return;
    }
    if (action == nullptr || mMetaMeter == nullptr) {
        LM_LOG(KS_MODULE, FUNCTION, 569, "dbinstance or metameter NULL");
        return;
    }
    guarded([&] { dispatch(action, payload); }, ExceptionLog{KS_MODULE, FUNCTION, 734, 736});
}

void KestrelStartsFeature::dispatch(KestrelStartsAction* action, AsyncTriggerPayload& payload) {
    const std::string app(shortName(payload.appName));
    if (mAttachHintEnabled && payload.hintType == KS_HINT_TYPE_ATTACH) {
        mAttachHintArg = payload.hintArg;
        action->applyDefaultAttachBoost(app, payload.launchType, 0);
        return;
    }
    switch (payload.hintId) {
        case KS_HINT_APP_SWITCH:
        case KS_HINT_APP_SWITCH_ALT:
            if (std::find(mIgnoredApps.begin(), mIgnoredApps.end(), app) != mIgnoredApps.end() ||
                app == mLastLaunchedApp) {
                return;
            }
            endLaunch(action, payload);
            passToMeter(payload);
            return;
        case KS_HINT_METER_EVENT:
            mMetaMeter->handleAsync(payload);
            return;
        case KS_HINT_FORCE_END:
            endLaunch(action, payload);
            passToMeter(payload);
            return;
        case KS_HINT_APP_REMOVED:
            if (keepsData(payload)) {
                passToMeter(payload);
                return;
            }
            removeFromDatabase(action, payload.appName);
            return;
        case KS_LAUNCH_HINT:
            if (!acceptsLaunch(payload)) {
                return;
            }
            mLastLaunchedApp = app;
            handleLaunch(action, payload);
            return;
        default:
            return;
    }
}

bool KestrelStartsFeature::acceptsLaunch(AsyncTriggerPayload const& payload) const {
    if (payload.hintType != KS_HINT_TYPE_LAUNCH || payload.appName == "android" ||
        isLauncher(payload.appName)) {
        return false;
    }
    const uint8_t status = payload.launchType == KS_LAUNCH_TYPE_GAME ? mKgmStatus : mKapStatus;
    return status != KS_STATUS_OFF;
}

// Ends the boost and the measurement of the current launch; the payload becomes the launch end.
void KestrelStartsFeature::endLaunch(KestrelStartsAction* action, AsyncTriggerPayload& payload) {
    releaseBoost(action);
    payload.hintId = KS_HINT_LAUNCH_END;
    mMetaMeter->handleAsync(payload);
    mLastLaunchedApp.clear();
}

// What is no launch goes to the meters too, unless its app is learned. After a launch end this is
// the second time that they get it.
void KestrelStartsFeature::passToMeter(AsyncTriggerPayload const& payload) {
    if (isLauncher(payload.appName) ||
        mFeatureState.readState(payload.appName) == APP_STATE_LEARNED) {
        return;
    }
    mMetaMeter->handleAsync(payload);
}

void KestrelStartsFeature::handleLaunch(KestrelStartsAction* action, AsyncTriggerPayload& payload) {
    AppState state = mFeatureState.readState(payload.appName);
    payload.hintArg = KS_LAUNCH_HINT_ARG;
    if (state < APP_STATE_LEARNING || state > APP_STATE_RELEARN) {
        releaseBoost(action);
        applyAction(action, payload);
        return;
    }
    bool relearning = false;
    if (state == APP_STATE_LEARNED) {
        relearning = checkRelearningTrigger(action, payload);
    } else {
        checkWriteOutputDB(action, payload);
    }
    state = mFeatureState.readState(payload.appName);
    if (state == APP_STATE_LEARNING || state == APP_STATE_EVALUATED || state == APP_STATE_LEARNED) {
        releaseBoost(action);
        applyAction(action, payload);
    }
    if (relearning || state != APP_STATE_LEARNED) {
        mMetaMeter->handleAsync(payload);
    }
}

void KestrelStartsFeature::releaseBoost(KestrelStartsAction* action) {
    if (mPerfLockHandle >= 1) {
        action->ResetAction(mPerfLockHandle);
    }
    mPerfLockHandle = -1;
}
