#include "tools/launches/Evaluation.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "host/linux/Elapsed.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

namespace {

// How long a launch is boosted under a policy; none: the policy does not count it.
// REQUIRES: the launch has a first frame.
std::optional<int32_t> boostUnder(Policy policy, const Evaluation::AppLaunch& launch) {
    const auto when = [&](bool counts) {
        return counts ? std::optional(launch.boostMs) : std::nullopt;
    };
    switch (policy) {
        case Policy::fixed2000:
            return std::min(2000, launch.untilNextMs);
        case Policy::fixed5000:
            return std::min(5000, launch.untilNextMs);
        case Policy::fixed15000:
            return std::min(15000, launch.untilNextMs);
        case Policy::kestrel:
            return launch.boostMs;
        case Policy::kestrelLearning:
            return when(launch.phase == LaunchPhase::learning ||
                        launch.phase == LaunchPhase::relearning);
        case Policy::kestrelLearned:
            return when(launch.phase == LaunchPhase::learned);
        case Policy::ideal:
            return launch.durationMs;
    }
    return std::nullopt;
}

void addBoosted(Policy policy, const Evaluation::AppLaunch& launch,
                std::vector<BoostedLaunch>& boosted) {
    if (!launch.durationMs) {
        return;
    }
    if (const auto boostMs = boostUnder(policy, launch)) {
        boosted.push_back({*launch.durationMs, *boostMs});
    }
}

}  // namespace

void Evaluation::add(const HostRecord& entry) {
    if (std::holds_alternative<record::Event>(entry.what)) {
        mFirstT = mFirstT.value_or(entry.t);
        mLastT = entry.t;
    }
    mTimeline.add(entry);
}

void Evaluation::endObject(Feature& feature) {
    mTimeline.endObject(feature);
}

void Evaluation::endInput(Feature& feature) {
    mTimeline.finish();
    mFeatureVersion = versionText(feature);
    mFeatureName = feature.mFeatureInfo.featureName;
    // Apps that were never launched, but disabled by the set-up or removed.
    std::erase_if(mApps, [](const auto& app) { return app.second.launches.empty(); });
    for (auto& [name, app] : mApps) {
        app.state = phaseOfState(feature.mFeatureState.readState(name));
    }
}

void Evaluation::endLife(const std::filesystem::path& root) {
    const LearningStore store = readLearningStoreIfAny(root, mFeatureName);
    for (auto& [name, app] : mApps) {
        const auto stored = store.apps.find(name);
        if (stored != store.apps.end() && !stored->second.records.empty()) {
            app.learnedMs = stored->second.records.front().launchDuration;
        }
    }
}

void Evaluation::onLaunch(const Launch& launch) {
    App& app = mApps[launch.app];
    app.launches.push_back(mLaunches.size());
    app.measured += launch.durationMs ? 1 : 0;
    mLaunches.push_back({.t = launch.t,
                         .phase = launch.phase,
                         .durationMs = launch.durationMs,
                         .boostMs = launch.boostMs(),
                         .untilNextMs = launch.nextT ? elapsedMs(launch.t, *launch.nextT)
                                                     : std::numeric_limits<int32_t>::max(),
                         .requestedMs = requestedMs(launch.launchBoost),
                         .defaultMs = requestedMs(launch.defaultBoost)});
}

void Evaluation::onPassedOver(int64_t /*t*/, const std::string& /*app*/) {
    ++mPassedOver;
}

void Evaluation::onMark(const AppMark& mark) {
    mApps[mark.app].marks.push_back(mark);
}

std::size_t Evaluation::measured() const {
    std::size_t measured = 0;
    for (const auto& [name, app] : mApps) {
        measured += app.measured;
    }
    return measured;
}

PolicyNumbers Evaluation::numbers(Policy policy) const {
    std::vector<BoostedLaunch> boosted;
    for (const AppLaunch& launch : mLaunches) {
        addBoosted(policy, launch, boosted);
    }
    return numbersOf(boosted);
}

PolicyNumbers Evaluation::numbers(Policy policy, const App& app) const {
    std::vector<BoostedLaunch> boosted;
    for (const std::size_t launch : app.launches) {
        addBoosted(policy, mLaunches[launch], boosted);
    }
    return numbersOf(boosted);
}

}  // namespace kestrel
