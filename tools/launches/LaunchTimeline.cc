#include "tools/launches/LaunchTimeline.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "host/AppState.h"
#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "host/linux/Elapsed.h"
#include "tools/base/TextScanner.h"

namespace kestrel {

namespace {

// Stands for the hardware profile where boosts have their handle; no handle is like it.
constexpr int HARDWARE_PROFILE = std::numeric_limits<int>::min();

// The commands of the hardware profile's controller, and the status texts that end a learning.
constexpr int PLH_COMMAND_START = 0;
constexpr std::string_view FIRST_DECISION = "Data Complete - Eval Required";
constexpr std::string_view LATER_DECISION = "Learning Complete - ENABLED KS";

int64_t afterMs(int64_t t, int32_t durationMs) {
    int64_t sum = 0;
    const int64_t last = std::numeric_limits<int64_t>::max();
    return __builtin_add_overflow(t, std::max(durationMs, 0), &sum) ? last : sum;
}

int32_t heldMs(const std::optional<LaunchBoost>& boost) {
    return boost ? boost->heldMs : 0;
}

}  // namespace

LaunchPhase phaseOfState(int32_t state) {
    if (state == APP_STATE_LEARNED) {
        return LaunchPhase::learned;
    }
    // The feature handles states that it does not know as it handles disabled apps.
    const bool isLearning = state >= APP_STATE_LEARNING && state <= APP_STATE_RELEARN;
    return isLearning ? LaunchPhase::learning : LaunchPhase::disabled;
}

const char* phaseText(LaunchPhase phase) {
    switch (phase) {
        case LaunchPhase::learning:
            return "learning";
        case LaunchPhase::relearning:
            return "relearning";
        case LaunchPhase::learned:
            return "learned";
        case LaunchPhase::disabled:
            break;
    }
    return "disabled";
}

int32_t Launch::boostMs() const {
    return std::max(heldMs(defaultBoost), heldMs(launchBoost));
}

void LaunchTimeline::add(const HostRecord& entry) {
    if (mFinished) {
        return;
    }
    mT = entry.t;
    runOutUntil(mT);
    std::visit([this](const auto& what) { addRecord(what); }, entry.what);
}

void LaunchTimeline::addRecord(const record::Event& event) {
    mApp = event.appName;
    mInLaunch = event.hintId == KS_LAUNCH_HINT && event.hintType == KS_HINT_TYPE_LAUNCH;
    if (mInLaunch) {
        mLaunches.push_back({.launch = {.t = mT, .app = event.appName}});
    }
}

void LaunchTimeline::addRecord(const record::Meter& event) {
    if (mInLaunch) {
        mLaunches.back().actedOn = true;
        return;
    }
    if (mLaunches.empty() || mLaunches.back().launch.overT) {
        return;
    }
    Launch& launch = mLaunches.back().launch;
    if (event.hintId == KS_HINT_LAUNCH_END) {
        launch.overT = mT;
    } else if (event.hintId == KS_HINT_METER_EVENT && !launch.durationMs &&
               shortName(launch.app) == shortName(event.appName)) {
        launch.durationMs = elapsedMs(launch.t, mT);
    }
}

void LaunchTimeline::addRecord(const record::Hint& request) {
    if (mInLaunch) {
        mLaunches.back().launch.isGame = request.hintType == KS_HINT_TYPE_GAME_BOOST;
    }
    hold(BoostKind::launchBoost, request.handle, request.duration);
}

void LaunchTimeline::addRecord(const record::HintAcqRel& request) {
    const bool isDefault = request.hintType == KS_HINT_TYPE_DEFAULT_BOOST;
    if (request.handle > 0) {
        end(request.old, BoostEnd::replaced);
    }
    hold(isDefault ? BoostKind::defaultBoost : BoostKind::attachBoost, request.handle,
         request.duration);
}

void LaunchTimeline::addRecord(const record::Release& release) {
    if (release.result == 0) {
        end(release.handle, BoostEnd::released);
    }
}

void LaunchTimeline::addRecord(const record::PlhCommand& command) {
    if (command.command == PLH_COMMAND_START) {
        end(HARDWARE_PROFILE, BoostEnd::replaced);
        hold(BoostKind::hardwareProfile, HARDWARE_PROFILE,
             wholeNumber<int32_t>(command.text).value_or(0));
    } else {
        end(HARDWARE_PROFILE, BoostEnd::released);
    }
}

void LaunchTimeline::addRecord(const record::State& change) {
    if (change.state == APP_STATE_RELEARN) {
        mRelearning.insert(change.app);
        mListener.onMark({mT, change.app, AppMark::Kind::relearning, {}});
    } else if (change.state == APP_STATE_LEARNED) {
        mRelearning.erase(change.app);
    } else if (change.state == APP_STATE_DISABLED) {
        mRelearning.erase(change.app);
        mListener.onMark({mT, change.app, AppMark::Kind::disabled, {}});
    }
}

void LaunchTimeline::addRecord(const record::Forget& removal) {
    mRelearning.erase(removal.app);
    mListener.onMark({mT, removal.app, AppMark::Kind::removed, {}});
}

void LaunchTimeline::addRecord(const record::Export& status) {
    if (status.text == FIRST_DECISION || status.text == LATER_DECISION) {
        mListener.onMark({mT, status.app, AppMark::Kind::learned, status.value});
    }
}

void LaunchTimeline::endObject(Feature& feature) {
    if (!std::exchange(mInLaunch, false)) {
        return;
    }
    OpenLaunch& open = mLaunches.back();
    if (!open.actedOn) {
        const Launch passedOver = std::move(open.launch);
        mLaunches.pop_back();
        mListener.onPassedOver(passedOver.t, passedOver.app);
        return;
    }
    open.launch.phase = phaseOfState(feature.mFeatureState.readState(open.launch.app));
    if (open.launch.phase == LaunchPhase::learning && mRelearning.contains(open.launch.app)) {
        open.launch.phase = LaunchPhase::relearning;
    }
    if (mLaunches.size() > 1) {
        Launch& before = std::prev(mLaunches.end(), 2)->launch;
        before.nextT = open.launch.t;
        before.overT = before.overT.value_or(open.launch.t);
    }
    passOn();
}

void LaunchTimeline::hold(BoostKind kind, int handle, int32_t durationMs) {
    const bool ofLaunch =
        mInLaunch && (kind == BoostKind::defaultBoost || kind == BoostKind::launchBoost);
    if (ofLaunch) {
        OpenLaunch& open = mLaunches.back();
        open.actedOn = true;
        (kind == BoostKind::defaultBoost ? open.launch.defaultBoost
                                         : open.launch.launchBoost) = {durationMs};
    }
    if (handle <= 0 && handle != HARDWARE_PROFILE) {
        return;  // the service refused it
    }
    const int64_t to = afterMs(mT, durationMs);
    Held held = {{kind, mApp, handle, mT, durationMs, to, BoostEnd::ranOut}, std::nullopt};
    if (ofLaunch) {
        ++mLaunches.back().boosts;
        held.launch = mPassedOn + mLaunches.size() - 1;
    }
    mHeld.emplace(handle, std::move(held));
    mEnds.emplace(to, handle);
}

void LaunchTimeline::end(int handle, BoostEnd how) {
    const auto found = mHeld.find(handle);
    if (found == mHeld.end()) {
        return;  // it has run out before
    }
    Held held = std::move(found->second);
    mHeld.erase(found);
    mEnds.erase({held.boost.to, handle});
    if (how != BoostEnd::ranOut) {
        held.boost.to = mT;
    }
    held.boost.end = how;
    if (held.launch) {
        OpenLaunch& open = mLaunches[*held.launch - mPassedOn];
        --open.boosts;
        auto& boost = held.boost.kind == BoostKind::defaultBoost ? open.launch.defaultBoost
                                                                 : open.launch.launchBoost;
        boost->heldMs = elapsedMs(held.boost.from, held.boost.to);
    }
    mListener.onBoost(held.boost);
    passOn();
}

void LaunchTimeline::runOutUntil(int64_t t) {
    while (!mEnds.empty() && mEnds.begin()->first <= t) {
        end(mEnds.begin()->second, BoostEnd::ranOut);
    }
}

void LaunchTimeline::passOn() {
    while (!mLaunches.empty() && mLaunches.front().boosts == 0 &&
           (mLaunches.front().launch.nextT || mFinished)) {
        mListener.onLaunch(mLaunches.front().launch);
        mLaunches.pop_front();
        ++mPassedOn;
    }
}

void LaunchTimeline::finish() {
    if (!mLaunches.empty()) {
        Launch& last = mLaunches.back().launch;
        last.overT = last.overT.value_or(mT);
    }
    mFinished = true;
    runOutUntil(std::numeric_limits<int64_t>::max());
    passOn();
}

}  // namespace kestrel
