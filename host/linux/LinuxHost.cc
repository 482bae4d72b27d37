#include "host/linux/LinuxHost.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <utility>

#include "action/mpctl_msg.h"
#include "host/Registry.h"
#include "host/linux/Checkpoint.h"
#include "host/linux/HostRuntime.h"
#include "host/linux/PlatformServices.h"
#include "host/linux/RelocatingVfs.h"
#include "host/linux/StateStore.h"
#include "host/linux/Worker.h"

namespace kestrel {

namespace {

constexpr const char* FEATURE_CLASS = "KestrelStarts";
constexpr const char* FEEDBACK_SYMBOL = "_ZN19KestrelStartsAction10FeedbackCBEP11mpctl_msg_t";

using FeatureRegistry = RegistryBase<Feature, FeatureInfo>;
using FeedbackFunction = int (*)(mpctl_msg_t*);

void* load(const std::string& library) {
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw std::runtime_error(std::string("cannot load the library: ") + dlerror());
    }
    return handle;
}

FeatureRegistry::Factory findFactory() {
    const std::lock_guard<std::mutex> lock(FeatureRegistry::mMutex);
    if (FeatureRegistry::classList == nullptr) {
        return nullptr;
    }
    const auto entry = FeatureRegistry::classList->find(FEATURE_CLASS);
    return entry != FeatureRegistry::classList->end() ? entry->second : nullptr;
}

FeatureInfo makeFeatureInfo(const HostSetup& setup) {
    FeatureInfo info;
    info.featureName = setup.featureName;
    info.disabledApps = setup.disabledApps;
    info.ignoredApps = setup.ignoredApps;
    info.configMap.insert(setup.config.begin(), setup.config.end());
    return info;
}

// Runs a call as another thread of the service would.
void onOwnThread(const std::function<void()>& call) {
    Worker().run(call);
}

std::filesystem::path makeDirectory(const std::filesystem::path& root) {
    const std::filesystem::path directory = databaseFolder(root);
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        throw std::runtime_error("cannot make " + directory.string() + ": " + error.message());
    }
    return directory;
}

// Makes the root the working directory. Returns it as an absolute path without links.
std::filesystem::path enterRoot(const std::filesystem::path& root) {
    const std::filesystem::path directory = databaseFolder(root);
    if (access(directory.c_str(), W_OK | X_OK) != 0) {
        throw std::runtime_error("cannot write to " + directory.string() + ": " +
                                 std::strerror(errno));
    }
    const std::filesystem::path resolved = std::filesystem::canonical(root);
    std::filesystem::current_path(resolved);
    return resolved;
}

}  // namespace

LinuxHost::LinuxHost(HostSetup setup, const Options& options, RecordSink sink)
    : mOptions(options), mLock(makeDirectory(options.root), options.root) {
    mOptions.root = enterRoot(options.root);
    const std::string root = mOptions.root.string();
    RelocatingVfs::install(root == "/" ? "" : root, mOptions.sync);
    connectPerformanceService(setup.absent);
    HostRuntime::instance().configure(std::move(setup), std::move(sink));
}

LinuxHost::~LinuxHost() {
    HostRuntime::instance().setFeature(FEATURE_CLASS, nullptr);
    mFeature.reset();
    // The singleton stays, but nobody listens any more.
    HostRuntime::instance().configure({}, [](const HostRecord&) {});
}

void LinuxHost::start(int64_t t) {
    HostRuntime& runtime = HostRuntime::instance();
    runtime.setTime(t);
    if (runtime.setup().knobs) {
        // The plug-in asks for the library by this name, and finds the one that is loaded.
        load(mOptions.knobLibrary);
    }
    mPlugin = load(mOptions.plugin);
    const FeatureRegistry::Factory factory = findFactory();
    if (factory != nullptr) {
        onOwnThread([&] { mFeature.reset(factory(makeFeatureInfo(runtime.setup()))); });
        runtime.setFeature(FEATURE_CLASS, mFeature.get());
    }
    runtime.record(record::Start{factory != nullptr, mFeature != nullptr});
    if (mFeature == nullptr) {
        throw std::runtime_error("the plug-in offers no feature named " +
                                 std::string(FEATURE_CLASS));
    }
}

void LinuxHost::deliver(int64_t t, std::size_t line, AsyncTriggerPayload payload) {
    HostRuntime& runtime = HostRuntime::instance();
    runtime.setTime(t);
    runtime.record(record::Event{line, payload.hintId, payload.hintType, payload.appName});
    mFeature->runAsync(std::move(payload));
    if (mFeature->mMetaMeter != nullptr) {
        mFeature->mMetaMeter->handOverFinishedRuns();
    }
}

void LinuxHost::query(int64_t t, std::size_t line, const std::string& app, int32_t type) {
    HostRuntime& runtime = HostRuntime::instance();
    runtime.setTime(t);
    featureData data;
    std::string name = app;
    int result = 0;
    onOwnThread([&] { result = mFeature->getData(name, data, type); });
    runtime.record(record::Query{line, app, type, result, data.value});
}

void LinuxHost::feedback(int64_t t, std::size_t line, int32_t hintId, int32_t hintType,
                         const std::string& app) {
    HostRuntime& runtime = HostRuntime::instance();
    runtime.setTime(t);
    const auto feedbackFunction =
        reinterpret_cast<FeedbackFunction>(dlsym(mPlugin, FEEDBACK_SYMBOL));
    if (feedbackFunction == nullptr) {
        throw std::runtime_error(std::string("the plug-in has no feedback callback: ") + dlerror());
    }
    mpctl_msg_t message{};
    message.hintId = static_cast<uint32_t>(hintId);
    message.hintType = hintType;
    std::memcpy(message.appName, app.data(), std::min(app.size(), sizeof(message.appName) - 1));
    int result = 0;
    onOwnThread([&] { result = feedbackFunction(&message); });
    runtime.record(record::Feedback{line, app, result, message.duration});
}

void LinuxHost::endInput() {
    if (mFeature->mMetaMeter != nullptr) {
        mFeature->mMetaMeter->endInput();
    }
}

void LinuxHost::stop() {
    // What the service does with its idle time, before it shuts down.
    const std::atomic<bool> stopRequested{true};
    mFeature->runAsyncIdle(stopRequested);
    mFeature->runAsyncPeriodic(stopRequested);
    HostRuntime::instance().setFeature(FEATURE_CLASS, nullptr);
    onOwnThread([this] { mFeature.reset(); });
    // The plug-in's singleton keeps its store open, and would leave its log as it is.
    checkpointDatabases(databaseFolder(mOptions.root));
    HostRuntime::instance().record(record::Stop{});
}

std::string LinuxHost::featureVersion() const {
    return std::to_string(mFeature->mMajorVersion) + "." + std::to_string(mFeature->mMinorVersion);
}

}  // namespace kestrel
