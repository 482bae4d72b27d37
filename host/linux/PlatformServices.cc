// The contract's small entry points, answered from the host's runtime.

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/AsyncEvent.h"
#include "host/CpPLHController.h"
#include "host/DynamicLoader.h"
#include "host/Feature.h"
#include "host/FeatureLocator.h"
#include "host/KSFeaturesList.h"
#include "host/linux/HostRuntime.h"
#include "host/linux/PlatformServices.h"

using namespace kestrel;

namespace {

HostRuntime& runtime() {
    return HostRuntime::instance();
}

void getProperty(const char* name, char* buffer, size_t size, const char* defaultText) {
    const auto& properties = runtime().setup().properties;
    const auto property = properties.find(name);
    const std::string value = property != properties.end() ? property->second : defaultText;
    const std::string handedBack = value.substr(0, size - 1);
    std::memcpy(buffer, handedBack.c_str(), handedBack.size() + 1);
    runtime().record(record::Property{name, buffer});
}

int perfHint(int hintId, const char* package, int duration, int hintType) {
    const int handle = runtime().acquire("hint", -1);
    runtime().record(record::Hint{handle, hintId, package, duration, hintType});
    return handle;
}

int perfHintAcqRel(int old, int hintId, const char* package, int duration, int hintType,
                   int numArgs, int* args) {
    const int handle = runtime().acquire("hintAcqRel", old);
    std::array<int, 2> both{};
    std::copy_n(args, std::clamp(numArgs, 0, 2), both.begin());
    runtime().record(record::HintAcqRel{old, handle, hintId, package, duration, hintType, both});
    return handle;
}

int perfLockRel(int handle) {
    const int result = runtime().release(handle) ? 0 : -1;
    runtime().record(record::Release{handle, result});
    return result;
}

}  // namespace

void kestrel::connectPerformanceService(const std::set<std::string>& absent) {
    DynamicLoader& loader = DynamicLoader::getInstance();
    loader.mPerfGetPropExtn = absent.contains("property") ? nullptr : &getProperty;
    loader.mPerfHint = absent.contains("hint") ? nullptr : &perfHint;
    loader.mPerfHintAcqRel = absent.contains("hintAcqRel") ? nullptr : &perfHintAcqRel;
    loader.mPerfLockRel = absent.contains("release") ? nullptr : &perfLockRel;
}

DynamicLoader& DynamicLoader::getInstance() {
    static DynamicLoader loader;
    return loader;
}

int AsyncEvent::getPidFromMap(std::string& app) {
    const auto& pids = runtime().setup().pids;
    const auto pid = pids.find(app);
    return pid != pids.end() ? pid->second : 0;
}

int FeatureLocator::getData(std::string& featureName, std::string& app, featureData& data,
                            int type) {
    if (Feature* feature = runtime().findFeature(featureName); feature != nullptr) {
        return feature->getData(app, data, type);
    }
    const auto& classes = runtime().setup().appClasses;
    if (featureName != "AppClassifier" || !classes) {
        return -1;
    }
    const auto appClass = classes->find(app);
    if (appClass != classes->end()) {
        data.value = appClass->second;
    }
    runtime().record(record::Classify{app, data.value});
    return appClass != classes->end() ? 0 : -1;
}

void KSFeaturesList::exportToFile(char const* text, int value, char const* app) {
    runtime().record(record::Export{text, value, app});
}

CpPLHController::CpPLHController(std::vector<std::pair<int, std::string>>& init,
                                 std::pair<int, std::string>& /*start*/,
                                 std::pair<int, std::string>& /*stop*/, std::string /*name*/,
                                 void* (* /*callback*/)()) {
    runtime().record(record::PlhCreate{init.empty() ? std::string() : init.front().second});
}

CpPLHController::~CpPLHController() {
    runtime().record(record::PlhDestroy{});
}

int CpPLHController::commandCp(int command, std::string text, int flag) {
    runtime().record(record::PlhCommand{command, std::move(text), flag});
    return 0;
}

bool kestrel::isKnobEnabled(int feature) {
    const auto& knobs = runtime().setup().knobs;
    if (!knobs) {
        // The platform has no knob library; a plug-in's search may have found this one.
        return false;
    }
    const bool enabled = knobs->contains(feature);
    runtime().record(record::Knob{feature, enabled});
    return enabled;
}
