#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <variant>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/input/TraceObject.h"
#include "tools/input/logcat/AndroidLogReader.h"
#include "tools/input/logcat/LaunchLine.h"

namespace kestrel {

struct LogImportSettings {
    std::unordered_set<std::string> games;  // packages whose launches have launchType 2
    RemovalPolicy removals = RemovalPolicy::forget;
};

// Turns the lines of one Android log into the events that the platform delivered when the log was
// written: launch hints, first frames, app switches and package removals.
// Ownership: keeps nothing of the lines.
// Units:     t is in ms since the start of the year of the first line, or the seconds that the log
//            prints; in a log without times the sum of what it reports.
// Errors:    none: a line that is cut short or no log line is passed over.
class AndroidLogImporter {
 public:
    explicit AndroidLogImporter(LogImportSettings settings);

    // A line as it arrives, without its line end; a trailing CR is dropped. Appends what it becomes
    // to `out`. A line older than its predecessor takes its predecessor's time.
    void importLine(std::string_view line, size_t lineNumber, TraceObjects& out);

    // False: nothing so far was a log line.
    bool sawLogLine() const { return mReader.sawLogLine(); }

    // A whole file: brings its lines into the order of the time as printed and appends what they
    // become. Needs memory for the lines about launches only. False: no line is a log line.
    static bool importFile(std::string_view content, const LogImportSettings& settings,
                           TraceObjects& out);

 private:
    struct OpenLaunch {
        std::string package;
        int64_t beganT = 0;
    };

    void play(const LogEntry& entry, size_t lineNumber, TraceObjects& out);
    void become(const ActivityStart& start, TraceObjects& out);
    void become(const FirstFrame& frame, TraceObjects& out);
    void become(const AppSwitch& appSwitch, TraceObjects& out);
    void become(const ForceStop& stop, TraceObjects& out);
    static void become(std::monostate, TraceObjects& /*out*/) {}
    bool fits(const OpenLaunch& launch, int64_t durationMs) const;
    void append(int64_t t, HintEvent event, TraceObjects& out);

    LogImportSettings mSettings;
    AndroidLogReader mReader;

    std::optional<int64_t> mOriginUs;  // where t is 0; not known before the first time
    int64_t mNow = 0;                  // t of the line being played
    bool mIsTimed = false;             // whether it has a time of its own
    size_t mLine = 0;                  // its number
    int64_t mLatestT = 0;              // t of the latest event; no event lies before it

    std::string mFront;               // the package in front; empty: not known
    std::optional<OpenLaunch> mOpen;  // the launch whose first frame has not been seen
    std::string mHome;                // the package of the latest start with category HOME
    std::unordered_set<std::string> mUpdating;  // stopped for an update and for nothing else since
};

}  // namespace kestrel
