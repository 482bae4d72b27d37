#include "tools/launches/Evaluation.h"

#include <limits>

#include "host/linux/Elapsed.h"
#include "tools/launches/LaunchFold.h"

namespace kestrel {

namespace {

void addBoosted(const Policy& policy, const ComparedLaunch& launch,
                std::vector<BoostedLaunch>& boosted) {
    if (!launch.durationMs) {
        return;
    }
    if (const auto boostMs = policy.boostMs(launch)) {
        boosted.push_back({*launch.durationMs, *boostMs});
    }
}

}  // namespace

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

void Evaluation::onPassedOver(const Launch& /*launch*/) {
    ++mPassedOver;
}

void Evaluation::onMark(const AppMark& mark) {
    mApps[mark.app].marks.push_back(mark);
}

void Evaluation::onFinish(const LaunchFold& fold) {
    mFirstT = fold.firstT();
    mLastT = fold.lastT();
    mSwitch = fold.featureSwitch();
    // Apps that were never launched, but disabled by the set-up or removed.
    std::erase_if(mApps, [](const auto& app) { return app.second.launches.empty(); });
    for (auto& [name, app] : mApps) {
        app.state = phaseOfState(fold.stateOf(name));
    }
}

void Evaluation::addStored(const LearningStore& stored) {
    for (const auto& [name, what] : stored.apps) {
        const auto app = mApps.find(name);
        if (app != mApps.end() && !what.records.empty()) {
            app->second.learnedMs = what.records.front().launchDuration;
        }
    }
}

std::size_t Evaluation::measured() const {
    std::size_t measured = 0;
    for (const auto& [name, app] : mApps) {
        measured += app.measured;
    }
    return measured;
}

PolicyNumbers Evaluation::numbers(const Policy& policy) const {
    std::vector<BoostedLaunch> boosted;
    for (const ComparedLaunch& launch : mLaunches) {
        addBoosted(policy, launch, boosted);
    }
    return numbersOf(boosted);
}

PolicyNumbers Evaluation::numbers(const Policy& policy, const App& app) const {
    std::vector<BoostedLaunch> boosted;
    for (const std::size_t launch : app.launches) {
        addBoosted(policy, mLaunches[launch], boosted);
    }
    return numbersOf(boosted);
}

}  // namespace kestrel
