#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "host/linux/HostSetup.h"
#include "tools/input/InputSummary.h"
#include "tools/input/TraceObject.h"
#include "tools/input/logcat/AndroidLogReader.h"
#include "tools/input/logcat/LaunchLine.h"

namespace kestrel {

struct LogImportSettings {
    std::unordered_set<std::string> games;  // packages whose launches have launchType 2
    RemovalPolicy removals = RemovalPolicy::forget;
};

// Turns what the lines of one Android log say into the events that the platform delivered when the
// log was written: launch hints, first frames, app switches and package removals.
// Ownership: keeps nothing of the lines.
// Units:     t is in ms since the start of the year of the first line, or since midnight, or the
//            seconds that the log prints; in a log without times the sum of what it reports.
// Errors:    none: what is cut short is passed over.
class AndroidLogImporter {
 public:
    explicit AndroidLogImporter(LogImportSettings settings);

    // For a file: where t is 0, of the first line in the order of time. Else the first that is
    // played tells.
    void setOrigin(const LogTime& first) { mOriginUs = first.yearStartUs; }

    // For a file that has no starts: each first frame of a package that is not in front is told as
    // a launch too.
    void takeLaunchesFromFrames() { mFramesAreLaunches = true; }

    // Appends to `out` what a line becomes. One older than its predecessor takes its predecessor's
    // time.
    void play(const LogEntry& entry, std::size_t lineNumber, TraceObjects& out);

    // For a file: takes the launches out of `out`, which holds all that the lines so far became,
    // but for the one that is open: what follows can have its first frame.
    void leaveOutLaunches(TraceObjects& out);

    // A time of the log as t.
    int64_t tOf(const LogTime& time) const;

    // Adds what the events do not tell.
    void describe(InputSummary& summary) const;

 private:
    struct OpenLaunch {
        std::string package;
        int64_t beganT = 0;
        std::size_t index = 0;  // of its hint
    };

    void become(const ActivityStart& start, TraceObjects& out);
    void become(const FirstFrame& frame, TraceObjects& out);
    void become(const AppSwitch& appSwitch, TraceObjects& out);
    void become(const ForceStop& stop, TraceObjects& out);
    template <class Other>
    static void become(const Other& /*line*/, TraceObjects& /*out*/) {}
    bool isPartOfLaunch(const ActivityStart& start) const;
    void launch(std::string_view package, int64_t t, TraceObjects& out);
    void launchWith(const FirstFrame& frame, TraceObjects& out);
    int64_t untimedLaunchT() const;
    std::optional<int64_t> fittingDurationMs(const FirstFrame& frame) const;
    bool fits(int64_t durationMs) const;
    void append(int64_t t, HintEvent event, TraceObjects& out);

    LogImportSettings mSettings;
    bool mFramesAreLaunches = false;
    std::size_t mStarts = 0;
    std::size_t mFailedStarts = 0;
    std::size_t mFrameLines = 0;
    std::size_t mRemovals = 0;
    std::size_t mUpdates = 0;
    std::size_t mFramesWithoutStart = 0;  // of packages that were not started before in this log
    std::size_t mLaunchesFromFrames = 0;
    std::size_t mLaunchesLeftOut = 0;

    std::optional<int64_t> mOriginUs;  // where t is 0; not known before the first time
    int64_t mNow = 0;                  // t of the line being played
    bool mIsTimed = false;             // whether it has a time of its own
    size_t mLine = 0;                  // its number
    int64_t mLatestT = 0;              // t of the latest event; no event lies before it

    std::string mFront;               // the package in front; empty: not known
    std::optional<OpenLaunch> mOpen;  // the launch whose first frame has not been seen
    std::string mHome;                // the package of the latest start with category HOME
    std::unordered_set<std::string>
        mUpdating;                             // stopped for an update, and not for a removal since
    std::unordered_set<std::string> mStarted;  // packages that were started before
};

}  // namespace kestrel
