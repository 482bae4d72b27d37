#include "host/linux/HostRuntime.h"

#include <cstdio>

namespace kestrel {

HostRuntime& HostRuntime::instance() {
    // Never destroyed: the plug-in's singleton may still log while the process exits.
    static HostRuntime& runtime = *new HostRuntime;
    return runtime;
}

void HostRuntime::configure(HostSetup setup, RecordSink sink) {
    mSetup = std::move(setup);
    mSink = std::move(sink);
    mTime = 0;
    mFeatures.clear();
    mLastHandle = 0;
    mHandles.clear();
}

FeatureLocator* HostRuntime::locator() {
    return mSetup.appClasses ? &mLocator : nullptr;
}

void HostRuntime::setFeature(const std::string& name, Feature* feature) {
    mFeatures[name] = feature;
}

Feature* HostRuntime::findFeature(const std::string& name) const {
    const auto found = mFeatures.find(name);
    return found != mFeatures.end() ? found->second : nullptr;
}

int HostRuntime::acquire(const char* entryPoint, int old) {
    if (mSetup.failing.contains(entryPoint)) {
        return -1;
    }
    const std::lock_guard<std::mutex> lock(mHandlesMutex);
    mHandles.erase(old);
    mHandles.insert(++mLastHandle);
    return mLastHandle;
}

bool HostRuntime::release(int handle) {
    const std::lock_guard<std::mutex> lock(mHandlesMutex);
    return mHandles.erase(handle) != 0;
}

void HostRuntime::pass(const HostRecord& entry) {
    const std::lock_guard<std::mutex> lock(mSinkMutex);
    if (mSink) {
        mSink(entry);
        return;
    }
    if (const auto* log = std::get_if<record::Log>(&entry.what)) {
        std::fprintf(stderr, "%s: %s\n", log->tag.c_str(), log->text.c_str());
    }
}

}  // namespace kestrel
