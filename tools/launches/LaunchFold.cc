#include "tools/launches/LaunchFold.h"

#include <algorithm>
#include <limits>

#include "action/KestrelStartsFeatureHw.h"
#include "host/AppState.h"
#include "host/KestrelStartsHints.h"
#include "host/linux/Elapsed.h"
#include "host/linux/StateStore.h"
#include "learning/LearningRules.h"
#include "tools/base/TextScanner.h"

namespace kestrel {

namespace {

// Stands for the hardware profile where boosts have their handle; no handle is like it.
constexpr int HARDWARE_PROFILE = std::numeric_limits<int>::min();

int64_t afterMs(int64_t t, int32_t durationMs) {
    int64_t sum = 0;
    const int64_t last = std::numeric_limits<int64_t>::max();
    return __builtin_add_overflow(t, std::max(durationMs, 0), &sum) ? last : sum;
}

}  // namespace

void LaunchFold::onStart(const LearningStore& stored) {
    for (const auto& [app, what] : stored.apps) {
        // The host takes unfinished steps back to learning when it starts.
        if (what.state && !isUnfinished(*what.state)) {
            mStates[app] = *what.state;
        }
    }
}

int32_t LaunchFold::stateOf(const std::string& app) const {
    const auto found = mStates.find(app);
    return found != mStates.end() ? found->second : static_cast<int32_t>(APP_STATE_LEARNING);
}

void LaunchFold::onRecord(const HostRecord& entry) {
    if (mFinished) {
        return;
    }
    mT = entry.t;
    runOutUntil(mT);
    std::visit([this](const auto& what) { add(what); }, entry.what);
}

void LaunchFold::add(const record::Event& event) {
    mFirstT = mFirstT.value_or(mT);
    mLastT = mT;
    mApp = event.appName;
    mLine = event.line;
    mInLaunch = LaunchRun::begins(event.hintId, event.hintType);
    if (mInLaunch) {
        mLaunches.push_back(
            {.launch = {.t = mT, .app = event.appName, .line = mLine}, .run = {event.appName, mT}});
    }
}

void LaunchFold::add(const record::Meter& event) {
    followMeter(event);
    if (mLaunches.empty()) {
        return;
    }
    OpenLaunch& open = mLaunches.back();
    if (mInLaunch) {
        open.actedOn = true;
    } else if (open.run.take(event.hintId, event.appName, mT)) {
        open.launch.durationMs = open.run.durationMs();
        open.launch.overT = open.run.endT();
    }
}

// The host's runs, which launches of learned apps do not begin and so do not end either.
void LaunchFold::followMeter(const record::Meter& event) {
    if (LaunchRun::begins(event.hintId, event.hintType)) {
        mMeterRuns.emplace_back(event.appName, mT);
    } else if (!mMeterRuns.empty()) {
        mMeterRuns.back().take(event.hintId, event.appName, mT);
    }
}

void LaunchFold::add(const record::Measured& run) {
    MeasuredRun measured{.t = mT,
                         .app = run.app,
                         .frameT = std::nullopt,
                         .durationMs = run.duration,
                         .aborted = run.aborted,
                         .result = run.result,
                         .line = mLine};
    if (!mMeterRuns.empty()) {
        measured.frameT = mMeterRuns.front().frameT();
        mMeterRuns.pop_front();
    }
    tell([&](LaunchObserver& observer) { observer.onMeasured(measured); });
}

void LaunchFold::add(const record::Hint& request) {
    if (mInLaunch) {
        mLaunches.back().launch.isGame = request.hintType == KS_HINT_TYPE_GAME_BOOST;
    }
    hold(BoostKind::launchBoost, request.handle, request.duration);
}

void LaunchFold::add(const record::HintAcqRel& request) {
    const bool isDefault = request.hintType == KS_HINT_TYPE_DEFAULT_BOOST;
    if (request.handle > 0) {
        end(request.old, BoostEnd::replaced);
    }
    hold(isDefault ? BoostKind::defaultBoost : BoostKind::attachBoost, request.handle,
         request.duration);
}

void LaunchFold::add(const record::Release& release) {
    if (release.result == 0) {
        end(release.handle, BoostEnd::released);
    }
}

void LaunchFold::add(const record::PlhCommand& command) {
    if (command.command == PLH_CMD_START) {
        end(HARDWARE_PROFILE, BoostEnd::replaced);
        hold(BoostKind::hardwareProfile, HARDWARE_PROFILE,
             wholeNumber<int32_t>(command.text).value_or(0));
    } else {
        end(HARDWARE_PROFILE, BoostEnd::released);
    }
}

void LaunchFold::add(const record::State& change) {
    if (!change.app.empty()) {  // that of an app without a name cannot be stored
        mStates[change.app] = change.state;
    }
    tell(
        [&](LaunchObserver& observer) { observer.onState({mT, change.app, change.state, mLine}); });
    if (change.state == APP_STATE_RELEARN) {
        mRelearning.insert(change.app);
        mark(change.app, AppMark::Kind::relearning);
    } else if (change.state == APP_STATE_LEARNED) {
        mRelearning.erase(change.app);
    } else if (change.state == APP_STATE_DISABLED) {
        mRelearning.erase(change.app);
        mark(change.app, AppMark::Kind::disabled);
    }
}

void LaunchFold::add(const record::Forget& removal) {
    mStates.erase(removal.app);
    mRelearning.erase(removal.app);
    mark(removal.app, AppMark::Kind::removed);
}

void LaunchFold::add(const record::Export& status) {
    tell([&](LaunchObserver& observer) {
        observer.onStatus({mT, status.app, status.text, status.value, mLine});
    });
    if (status.text == KS_EXPORT_FIRST_DECISION || status.text == KS_EXPORT_LATER_DECISION) {
        mark(status.app, AppMark::Kind::learned, status.value);
    }
}

void LaunchFold::mark(const std::string& app, AppMark::Kind kind,
                      std::optional<int32_t> durationMs) {
    tell([&](LaunchObserver& observer) { observer.onMark({mT, app, kind, durationMs, mLine}); });
}

void LaunchFold::onObjectEnd() {
    if (!std::exchange(mInLaunch, false)) {
        return;
    }
    OpenLaunch& open = mLaunches.back();
    if (!open.actedOn) {
        const Launch passedOver = std::move(open.launch);
        mLaunches.pop_back();
        tell([&](LaunchObserver& observer) { observer.onPassedOver(passedOver); });
        return;
    }
    Launch& launch = open.launch;
    launch.stateAfter = stateOf(launch.app);
    launch.phase = phaseOfState(launch.stateAfter);
    if (launch.phase == LaunchPhase::learning && mRelearning.contains(launch.app)) {
        launch.phase = LaunchPhase::relearning;
    }
    if (mLaunches.size() > 1) {
        Launch& before = std::prev(mLaunches.end(), 2)->launch;
        before.nextT = launch.t;
        before.overT = before.overT.value_or(launch.t);
    }
    tell([&](LaunchObserver& observer) { observer.onLaunchHandled(launch); });
    passOn();
}

void LaunchFold::hold(BoostKind kind, int handle, int32_t durationMs) {
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
    Held held = {{kind, mApp, handle, mT, durationMs, to, BoostEnd::ranOut, mLine}, std::nullopt};
    if (ofLaunch) {
        ++mLaunches.back().boosts;
        held.launch = mPassedOn + mLaunches.size() - 1;
    }
    mHeld.emplace(handle, std::move(held));
    mEnds.emplace(to, handle);
}

void LaunchFold::end(int handle, BoostEnd how) {
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
    tell([&](LaunchObserver& observer) { observer.onBoost(held.boost); });
    passOn();
}

void LaunchFold::runOutUntil(int64_t t) {
    while (!mEnds.empty() && mEnds.begin()->first <= t) {
        end(mEnds.begin()->second, BoostEnd::ranOut);
    }
}

void LaunchFold::passOn() {
    while (!mLaunches.empty() && mLaunches.front().boosts == 0 &&
           (mLaunches.front().launch.nextT || mFinished)) {
        tell([&](LaunchObserver& observer) { observer.onLaunch(mLaunches.front().launch); });
        mLaunches.pop_front();
        ++mPassedOn;
    }
}

void LaunchFold::onInputEnd() {
    if (!mLaunches.empty()) {
        Launch& last = mLaunches.back().launch;
        last.overT = last.overT.value_or(mT);
    }
    mFinished = true;
    runOutUntil(std::numeric_limits<int64_t>::max());
    passOn();
    tell([&](LaunchObserver& observer) { observer.onFinish(*this); });
}

}  // namespace kestrel
