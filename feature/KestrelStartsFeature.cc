#include "feature/KestrelStartsFeature.h"

#include <dlfcn.h>

#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "action/KestrelStartsFeatureHw.h"
#include "host/DynamicLoader.h"
#include "learning/KestrelStartsMetaMeter.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* CONSTRUCTOR = "KestrelStartsFeature";
constexpr int KNOB_FEATURES[] = {11, 10};

// Whether the platform's knob library reports the feature as enabled.
bool isKnobEnabled() {
    const std::unique_ptr<void, int (*)(void*)> library(
        dlopen("libskewknob.so", RTLD_LAZY), [](void* handle) { return dlclose(handle); });
    if (library == nullptr) {
        return false;
    }
    using IsFeatureEnabled = int (*)(int);
    const auto isFeatureEnabled =
        reinterpret_cast<IsFeatureEnabled>(dlsym(library.get(), "IsFeatureEnabled"));
    if (isFeatureEnabled == nullptr) {
        return false;
    }
    bool enabled = false;
    for (const int feature : KNOB_FEATURES) {
        // Each is asked, whatever the one before answered.
        enabled = isFeatureEnabled(feature) != 0 || enabled;
    }
    return enabled;
}

bool isPropertyTrue(const char* name) {
    char value[92] = {};
    DynamicLoader::getInstance().mPerfGetPropExtn(name, value, sizeof(value), "false");
    // The service may have filled all of the buffer.
    return std::string_view(value, strnlen(value, sizeof(value))) == "true";
}

uint8_t launchStatus(bool on, bool withProfile) {
    if (!on) {
        return KS_STATUS_OFF;
    }
    return withProfile ? KS_STATUS_WITH_PROFILE : KS_STATUS_ON;
}

}  // namespace

KestrelStartsFeature::KestrelStartsFeature(FeatureInfo const& info, Members) : Feature(info) {
    mMajorVersion = 1;
    mMinorVersion = 0;
}

// Delegates, so that the destructor runs when something below throws.
KestrelStartsFeature::KestrelStartsFeature(FeatureInfo info)
    : KestrelStartsFeature(info, Members{}) {
    LM_LOG(KS_MODULE, CONSTRUCTOR, 60, "Major Version : %d, Minor Version : %d", mMajorVersion,
           mMinorVersion);
    createMeterDataDb();
    for (std::string const& app : info.disabledApps) {
        mFeatureState.writeState(app, APP_STATE_DISABLED);
    }
    mIgnoredApps = info.ignoredApps;
    if (mFeatureInputDb != nullptr) {
        mMetaMeter =
            new (std::nothrow) KestrelStartsMetaMeter(mFeatureInfo, mFeatureInputDb, mFeatureState);
    }
    if (!readEnablement()) {
        return;
    }
    if (mKgmStatus == KS_STATUS_WITH_PROFILE || mKapStatus == KS_STATUS_WITH_PROFILE) {
        mFeatureHw = new (std::nothrow) KestrelStartsFeatureHw(*this);
    }
    LM_LOG(KS_MODULE, CONSTRUCTOR, 136, "Kestrel Startsv%f\n", 1.0);
}

KestrelStartsFeature::~KestrelStartsFeature() {
    delete mMetaMeter;
    mMetaMeter = nullptr;
    delete mFeatureInputDb;
    mFeatureInputDb = nullptr;
    delete mFeatureHw;
    mFeatureHw = nullptr;
}

// Reads once and for all whether, and for which launches, the feature is on. False when the
// platform does not have it or cannot say.
bool KestrelStartsFeature::readEnablement() {
    if (!isKnobEnabled()) {
        return false;
    }
    if (DynamicLoader::getInstance().mPerfGetPropExtn == nullptr) {
        LM_LOG(KS_MODULE, CONSTRUCTOR, 90, "mPerfGetPropExtn is NULL!!");
        return false;
    }
    const bool kap = isPropertyTrue(KS_PROPERTY_APPS);
    const bool kgm = isPropertyTrue(KS_PROPERTY_GAMES);
    const bool kplh = isPropertyTrue("ro.vendor.perf.kplh");
    mAttachHintEnabled = isPropertyTrue("ro.vendor.perf.attach.hint.ks");
    mKgmStatus = launchStatus(kgm, kplh);
    mKapStatus = launchStatus(kap, kplh);
    LM_LOG(KS_MODULE, CONSTRUCTOR, 132, "KGM Status %d KAP Status %d\n", mKgmStatus, mKapStatus);
    return true;
}

void KestrelStartsFeature::createMeterDataDb() {
    if (mFeatureInputDb != nullptr) {
        return;
    }
    std::unique_ptr<LMDatabase<KSInputDbData>> db(new (std::nothrow) LMDatabase<KSInputDbData>(
        0, inputDbFile(mFeatureInfo.featureName), KS_INPUT_TABLE));
    if (db == nullptr) {
        return;
    }
    if (const int code = db->openLMdb(); code != LMDB_SUCCESS) {
        LM_LOG(KS_MODULE, "createMeterDataDb", 150, "Error in DB init- createMeterDataDb  %d",
               code);
        return;
    }
    mFeatureInputDb = db.release();
}

void KestrelStartsFeature::runAsyncIdle(std::atomic<bool> const& /*stop*/) {}
