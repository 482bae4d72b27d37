#include "tools/input/logcat/AndroidLogImporter.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "host/KestrelStartsHints.h"
#include "tools/base/Lines.h"

namespace kestrel {

namespace {

constexpr int32_t KS_TYPE_KEEPS_DATA = 0x1000000;

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

// What lies between a launch and what came before it in a log without times.
constexpr int64_t KS_LAUNCH_GAP_MS = 1000;

// The latest t that leaves room for it.
constexpr int64_t KS_MAX_T = std::numeric_limits<int64_t>::max() - KS_LAUNCH_GAP_MS;

// A line that says something about launches, kept until the file can be sorted.
struct FileLine {
    LogEntry entry;
    size_t number = 0;
};

}  // namespace

AndroidLogImporter::AndroidLogImporter(LogImportSettings settings)
    : mSettings(std::move(settings)) {}

void AndroidLogImporter::importLine(std::string_view line, size_t lineNumber, TraceObjects& out) {
    play(mReader.read(line), lineNumber, out);
}

bool AndroidLogImporter::importFile(std::string_view content, const LogImportSettings& settings,
                                    TraceObjects& out) {
    AndroidLogImporter importer(settings);
    std::vector<FileLine> lines;
    std::optional<LogTime> first;
    for (size_t number = 1; !content.empty(); ++number) {
        const LogEntry entry = importer.mReader.read(takeLine(content));
        if (entry.time && (!first || *entry.time < *first)) {
            first = entry.time;
        }
        if (!std::holds_alternative<std::monostate>(entry.launch)) {
            lines.push_back({entry, number});
        }
    }
    std::stable_sort(lines.begin(), lines.end(), [](const FileLine& a, const FileLine& b) {
        return a.entry.time < b.entry.time;
    });
    if (first) {
        importer.mOriginUs = first->yearStartUs;
    }
    for (const FileLine& line : lines) {
        importer.play(line.entry, line.number, out);
    }
    return importer.sawLogLine();
}

void AndroidLogImporter::play(const LogEntry& entry, size_t lineNumber, TraceObjects& out) {
    mLine = lineNumber;
    mIsTimed = entry.isTimed;
    if (entry.time) {
        mOriginUs = mOriginUs.value_or(entry.time->yearStartUs);
        mNow = std::max(mNow, (entry.time->us - *mOriginUs) / 1000);
    }
    std::visit([&](const auto& launch) { become(launch, out); }, entry.launch);
}

void AndroidLogImporter::become(const ActivityStart& start, TraceObjects& out) {
    if (start.isCreation && start.package == mHome) {
        return;
    }
    if (start.isHome) {
        mHome = start.package;
    }
    if (start.resultCode != KS_STARTED && start.resultCode != KS_TASK_TO_FRONT &&
        !(start.isHome && start.resultCode == KS_DELIVERED_TO_TOP)) {
        return;
    }
    if (start.isHome) {
        become(AppSwitch{start.package}, out);
        return;
    }
    const bool isNewTask = (start.flags & KS_FLAG_NEW_TASK) != 0;
    if ((mOpen && mOpen->package == start.package) || (mFront == start.package && !isNewTask)) {
        return;
    }
    const std::string package(start.package);
    const int64_t untimedT = std::min(std::max(mNow, mLatestT), KS_MAX_T) + KS_LAUNCH_GAP_MS;
    append(mIsTimed ? mNow : untimedT,
           {.hintId = KS_LAUNCH_HINT,
            .hintType = KS_HINT_TYPE_LAUNCH,
            .appName = package,
            .launchType = mSettings.games.contains(package) ? KS_LAUNCH_TYPE_GAME : 0},
           out);
    mOpen = OpenLaunch{package, mLatestT};
}

void AndroidLogImporter::become(const FirstFrame& frame, TraceObjects& out) {
    if (!mOpen || mOpen->package != frame.package) {
        return;
    }
    std::optional<int64_t> durationMs = frame.totalMs;
    if (!durationMs || !fits(*mOpen, *durationMs)) {
        durationMs = frame.ownMs;
    }
    if (fits(*mOpen, *durationMs)) {
        append(mOpen->beganT + *durationMs,
               {.hintId = KS_HINT_METER_EVENT, .appName = mOpen->package}, out);
    }
    mFront = mOpen->package;
    mOpen.reset();
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
    if (stop.reason != "pkg removed") {
        if (stop.reason == "installPackageLI") {
            mUpdating.insert(package);
        } else {
            mUpdating.erase(package);
        }
        return;
    }
    if (mSettings.removals != RemovalPolicy::ignore) {
        const bool keepsData =
            mSettings.removals == RemovalPolicy::keep || mUpdating.contains(package);
        append(mNow,
               {.hintId = KS_HINT_APP_REMOVED,
                .hintType = keepsData ? KS_TYPE_KEEPS_DATA : 0,
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

// Whether the launch can have taken this long. In a log with times the line that reports it
// tells: a total can reach back before the launch, and an inner activity can be drawn long after.
bool AndroidLogImporter::fits(const OpenLaunch& launch, int64_t durationMs) const {
    if (durationMs > KS_MAX_T - launch.beganT) {
        return false;
    }
    const int64_t lateMs = mNow - (launch.beganT + durationMs);
    return !mIsTimed || (lateMs >= -KS_LINE_EARLY_MS && lateMs <= KS_LINE_LATE_MS);
}

void AndroidLogImporter::append(int64_t t, HintEvent event, TraceObjects& out) {
    mLatestT = std::max(mLatestT, t);
    out.push_back({.t = mLatestT, .line = mLine, .what = std::move(event)});
}

}  // namespace kestrel
