#include "tools/input/logcat/AndroidLogImporter.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>
#include <variant>

#include "host/KestrelStartsHints.h"

namespace kestrel {

namespace {

constexpr uint32_t KS_FLAG_NEW_TASK = 0x10000000;

// What a start returns when an activity is shown: it was started, or its task came to the front,
// or (a home activity counts then, no other) the intent went to the activity on top.
constexpr int KS_STARTED = 0;
constexpr int KS_TASK_TO_FRONT = 2;
constexpr int KS_DELIVERED_TO_TOP = 3;

// How far a line may be from the end of the duration that it reports. The platform's clock can run
// before the start is logged, and the line is written a while after the frame.
constexpr int64_t KS_LINE_EARLY_MS = 500;
constexpr int64_t KS_LINE_LATE_MS = 4000;

// How long after the start of a launch another start of the same kind is a launch of its own.
constexpr int64_t KS_RELAUNCH_MS = 2000;

// What lies between a launch and what came before it in a log without times.
constexpr int64_t KS_LAUNCH_GAP_MS = 1000;

// The latest t that leaves room for it.
constexpr int64_t KS_MAX_T = std::numeric_limits<int64_t>::max() - KS_LAUNCH_GAP_MS;

}  // namespace

AndroidLogImporter::AndroidLogImporter(LogImportSettings settings)
    : mSettings(std::move(settings)) {}

void AndroidLogImporter::play(const LogEntry& entry, std::size_t lineNumber, TraceObjects& out) {
    mLine = lineNumber;
    mIsTimed = entry.isTimed;
    if (entry.time) {
        mOriginUs = mOriginUs.value_or(entry.time->yearStartUs);
        mNow = std::max(mNow, tOf(*entry.time));
    }
    std::visit([&](const auto& line) { become(line, out); }, entry.launch);
}

int64_t AndroidLogImporter::tOf(const LogTime& time) const {
    return (time.us - mOriginUs.value_or(time.yearStartUs)) / 1000;
}

void AndroidLogImporter::leaveOutLaunches(TraceObjects& out) {
    const std::size_t kept = mOpen ? mOpen->index : out.size();
    std::size_t index = 0;
    mLaunchesLeftOut += std::erase_if(out, [&](const TraceObject& object) {
        const auto* event = std::get_if<HintEvent>(&object.what);
        return index++ != kept && event != nullptr && event->hintId == KS_LAUNCH_HINT;
    });
}

void AndroidLogImporter::become(const ActivityStart& start, TraceObjects& out) {
    if (start.isCreation && start.package == mHome) {
        return;
    }
    ++mStarts;
    if (start.isHome) {
        mHome = start.package;
    }
    if (start.resultCode != KS_STARTED && start.resultCode != KS_TASK_TO_FRONT &&
        !(start.isHome && start.resultCode == KS_DELIVERED_TO_TOP)) {
        ++mFailedStarts;
        return;
    }
    mStarted.emplace(start.package);
    if (start.isHome) {
        become(AppSwitch{start.package}, out);
    } else if (!isPartOfLaunch(start)) {
        launch(start.package, mIsTimed ? mNow : untimedLaunchT(), out);
        mOpen = OpenLaunch{std::string(start.package), mLatestT, out.size() - 1};
    }
}

// Of the launch that is open, or of a step inside the package in front. A user who taps the icon
// again after a while launches again.
bool AndroidLogImporter::isPartOfLaunch(const ActivityStart& start) const {
    const bool isNewTask = (start.flags & KS_FLAG_NEW_TASK) != 0;
    if (mOpen && mOpen->package == start.package) {
        const bool isLaterTap =
            start.isLauncher && isNewTask && mIsTimed && mNow - mOpen->beganT >= KS_RELAUNCH_MS;
        return !isLaterTap;
    }
    return mFront == start.package && !isNewTask;
}

void AndroidLogImporter::launch(std::string_view package, int64_t t, TraceObjects& out) {
    const std::string name(package);
    append(t,
           {.hintId = KS_LAUNCH_HINT,
            .hintType = KS_HINT_TYPE_LAUNCH,
            .appName = name,
            .launchType = mSettings.games.contains(name) ? KS_LAUNCH_TYPE_GAME : 0},
           out);
}

int64_t AndroidLogImporter::untimedLaunchT() const {
    return std::min(std::max(mNow, mLatestT), KS_MAX_T) + KS_LAUNCH_GAP_MS;
}

void AndroidLogImporter::become(const FirstFrame& frame, TraceObjects& out) {
    ++mFrameLines;
    if (mFramesAreLaunches && !frame.isEvent && mFront != frame.package) {
        launchWith(frame, out);
        return;
    }
    if (!mOpen || mOpen->package != frame.package) {
        if (mFront != frame.package && !mStarted.contains(std::string(frame.package))) {
            ++mFramesWithoutStart;
        }
        return;
    }
    if (const auto durationMs = fittingDurationMs(frame)) {
        append(mOpen->beganT + *durationMs,
               {.hintId = KS_HINT_METER_EVENT, .appName = mOpen->package}, out);
    }
    mFront = mOpen->package;
    mOpen.reset();
}

void AndroidLogImporter::launchWith(const FirstFrame& frame, TraceObjects& out) {
    const int64_t durationMs = frame.totalMs.value_or(frame.ownMs);
    launch(frame.package, mIsTimed ? std::max<int64_t>(mNow - durationMs, 0) : untimedLaunchT(),
           out);
    ++mLaunchesFromFrames;
    mFront = frame.package;
    int64_t t = mNow;
    if (mIsTimed || !__builtin_add_overflow(mLatestT, durationMs, &t)) {
        append(t, {.hintId = KS_HINT_METER_EVENT, .appName = mFront}, out);
    }
}

void AndroidLogImporter::become(const AppSwitch& appSwitch, TraceObjects& out) {
    const bool isOtherOpen = mOpen && mOpen->package != appSwitch.package;
    if (mFront == appSwitch.package && !isOtherOpen) {
        return;
    }
    mFront = appSwitch.package;
    append(mNow, {.hintId = KS_HINT_APP_SWITCH, .appName = mFront}, out);
    if (isOtherOpen) {
        mOpen.reset();
    }
}

void AndroidLogImporter::become(const ForceStop& stop, TraceObjects& out) {
    const std::string package(stop.package);
    if (stop.reason == ForceStop::Reason::installing) {
        mUpdating.insert(package);
    } else if (stop.reason == ForceStop::Reason::deleting) {
        mUpdating.erase(package);
    }
    if (stop.reason != ForceStop::Reason::removed) {
        return;
    }
    const bool isUpdate = mUpdating.contains(package);
    ++(isUpdate ? mUpdates : mRemovals);
    if (mSettings.removals != RemovalPolicy::ignore) {
        const bool keepsData = mSettings.removals == RemovalPolicy::keep || isUpdate;
        append(mNow,
               {.hintId = KS_HINT_APP_REMOVED,
                .hintType = keepsData ? KS_HINT_TYPE_KEEPS_DATA : 0,
                .appName = package},
               out);
    }
    if (mFront == package) {
        mFront.clear();
    }
    if (mOpen && mOpen->package == package) {
        mOpen.reset();
    }
}

// What the open launch took. In a log with times the line that reports it tells: a total can reach
// back before the launch, and an inner activity can be drawn long after.
std::optional<int64_t> AndroidLogImporter::fittingDurationMs(const FirstFrame& frame) const {
    const bool ownFits = fits(frame.ownMs);
    if (!frame.totalMs || !fits(*frame.totalMs)) {
        // Without times the total counts where there is one.
        return ownFits && (mIsTimed || !frame.totalMs) ? std::optional(frame.ownMs) : std::nullopt;
    }
    const int64_t sinceMs = mNow - mOpen->beganT;
    const bool ownIsNearer =
        mIsTimed && ownFits && std::abs(frame.ownMs - sinceMs) < std::abs(*frame.totalMs - sinceMs);
    return ownIsNearer ? frame.ownMs : *frame.totalMs;
}

bool AndroidLogImporter::fits(int64_t durationMs) const {
    if (durationMs > KS_MAX_T - mOpen->beganT) {
        return false;
    }
    const int64_t lateMs = mNow - (mOpen->beganT + durationMs);
    return !mIsTimed || (lateMs >= -KS_LINE_EARLY_MS && lateMs <= KS_LINE_LATE_MS);
}

void AndroidLogImporter::describe(InputSummary& summary) const {
    summary.starts += mStarts;
    summary.frameLines += mFrameLines;
    summary.removals += mRemovals;
    summary.updates += mUpdates;
    const auto note = [&](InputNote::Kind kind, std::size_t count) {
        if (count > 0) {
            summary.notes.push_back({kind, count});
        }
    };
    note(InputNote::Kind::failedStarts, mFailedStarts);
    note(InputNote::Kind::onlyMain, mLaunchesFromFrames);
    note(InputNote::Kind::framesNotHeld, mLaunchesLeftOut);
    if (mStarts > 0) {
        note(InputNote::Kind::cutOff, mFramesWithoutStart);
    }
}

void AndroidLogImporter::append(int64_t t, HintEvent event, TraceObjects& out) {
    mLatestT = std::max(mLatestT, t);
    out.push_back({.t = mLatestT, .line = mLine, .what = std::move(event)});
}

}  // namespace kestrel
