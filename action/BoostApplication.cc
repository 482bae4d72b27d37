// The boosts: what is asked of the performance service, and what is released.

#include <algorithm>
#include <cstring>

#include "action/KestrelStartsAction.h"
#include "action/KestrelStartsFeatureHw.h"
#include "feature/KestrelStartsFeature.h"
#include "host/DynamicLoader.h"
#include "host/KestrelStartsHints.h"
#include "lmdb/LMLog.h"

namespace {

constexpr uint8_t REQUEST_KIND_HINT = 8;
constexpr int GAME_BOOST_ARG = 2;  // the first argument of a default boost; 0 for other apps

// A request without a duration yet. The name is cut to fit with its terminator.
mpctl_msg_t makeRequest(uint32_t hintId, int32_t hintType, std::string const& app) {
    mpctl_msg_t request{};
    request.requestKind = REQUEST_KIND_HINT;
    request.hintId = hintId;
    request.hintType = hintType;
    std::strncpy(request.appName, app.c_str(), sizeof(request.appName) - 1);
    return request;
}

}  // namespace

void KestrelStartsAction::applyDefaultAttachBoost(std::string const& app, int launchType,
                                                  int /*reserved*/) {
    mpctl_msg_t request = makeRequest(KS_LAUNCH_HINT, KS_HINT_TYPE_ATTACH_BOOST, app);
    const int attachArg = mFeature != nullptr ? mFeature->mAttachHintArg : -1;
    FeedbackCB(&request);  // when it fails the boost lasts 0 ms
    requestDefaultBoost(mAttachBoostHandle, request, launchType, attachArg);
}

void KestrelStartsAction::applyDefaultKSBoost(int launchArg, std::string const& app, int boostArg,
                                              int duration) {
    mpctl_msg_t request = makeRequest(KS_LAUNCH_HINT, KS_HINT_TYPE_DEFAULT_BOOST, app);
    request.duration = duration;
    requestDefaultBoost(mKSBoostHandle, request, boostArg, launchArg);
    startHardwareProfile(mDefaultPlhDuration);
}

int KestrelStartsAction::applyAction(std::string const& app, unsigned int hintId, int hintType,
                                     int /*reserved*/, int launchArg, bool learned) {
    int handle = -1;
    mpctl_msg_t request = makeRequest(hintId, hintType, app);
    const bool isGame = hintType == KS_HINT_TYPE_GAME_BOOST;
    const auto boost = [&] {
        const int feedback = FeedbackCB(&request);
        applyDefaultKSBoost(launchArg, app, isGame ? GAME_BOOST_ARG : 0, request.duration);
        if (feedback != 0) {
            return;
        }
        if (const auto perfHint = DynamicLoader::getInstance().mPerfHint; perfHint != nullptr) {
            handle = perfHint(static_cast<int>(request.hintId), request.appName, request.duration,
                              request.hintType);
        }
        // The default boost has started the profile already. An ordinary app that is not learned
        // leaves it at that.
        if (hintType != KS_HINT_TYPE_APP_BOOST || learned) {
            std::string duration = std::to_string(request.duration);
            startHardwareProfile(duration);
        }
        if (handle <= 0) {
            LM_LOG(KS_ACTION_MODULE, "applyAction", 218, "Failed to acquire perflock, handle = %d",
                   handle);
        }
    };
    guarded(boost, ExceptionLog{KS_ACTION_MODULE, "applyAction", 224, 226});
    return handle;
}

void KestrelStartsAction::ResetAction(int handle) {
    releaseDefaultBoosts();
    if (mFeature != nullptr && mFeature->mFeatureHw != nullptr) {
        mFeature->mFeatureHw->Stop();
    }
    const auto release = DynamicLoader::getInstance().mPerfLockRel;
    if (handle >= 1 && release != nullptr) {
        release(handle);
    }
}

void KestrelStartsAction::releaseDefaultBoosts() {
    for (int32_t* handle : {&mKSBoostHandle, &mAttachBoostHandle}) {
        const auto release = DynamicLoader::getInstance().mPerfLockRel;
        // -1 is passed on too; only 0 means that there is nothing to release.
        if (release != nullptr && *handle != 0) {
            release(*handle);
            *handle = -1;
        }
    }
}

void KestrelStartsAction::requestDefaultBoost(int32_t& handle, mpctl_msg_t& request, int arg0,
                                              int arg1) {
    request.duration = defaultBoostDuration(request.duration);
    const auto perfHintAcqRel = DynamicLoader::getInstance().mPerfHintAcqRel;
    if (perfHintAcqRel == nullptr) {
        return;
    }
    int args[] = {arg0, arg1};
    handle = perfHintAcqRel(handle, static_cast<int>(request.hintId), request.appName,
                            request.duration, request.hintType, 2, args);
}

void KestrelStartsAction::startHardwareProfile(std::string& duration) {
    if (mFeature != nullptr && mFeature->mFeatureHw != nullptr) {
        mFeature->mFeatureHw->Start(duration);
    }
}
