#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/TraceObject.h"

namespace kestrel {

// What an input was found to be, and what was found in it. Only facts: how they are said to people,
// and what they should do about them, is decided where they are shown.

enum class SourceKind {
    none,  // of no kind that is read: it was passed over
    eventTrace,
    androidLog,
    bugReport,      // the log of the boot that it was taken in
    lastBootLog,    // of a bug report
    logExport,      // of an IDE, as JSON
    startInfo,      // `dumpsys activity start-info`
    perfettoTrace,  // in protobuf
    ftrace,         // as text
    benchmark,      // results of startup benchmarks
};

// How a `t` of an input is read as a time for people.
struct InputClock {
    enum class Kind {
        none,       // counted, not measured
        yearless,   // since the start of a year that is not printed, in years of 366 days
        year,       // since the start of `year`
        epoch,      // since 1970, in UTC
        uptime,     // since the device was started, or another moment that is not known
        timeOfDay,  // since a midnight
    };
    Kind kind = Kind::none;
    // The year in which t is 0; of `yearless` 0 unless something else than the lines told it.
    int year = 0;

    friend bool operator==(const InputClock&, const InputClock&) = default;
};

// Something that was left out, or that makes what was found doubtful.
struct InputNote {
    enum class Kind {
        framesNotHeld,     // `count` launches were left out: the log has no frames of that time
        chatty,            // `count` lines were dropped by the logger, as it says itself
        boots,             // the device was started again `count` times
        timeJumps,         // the clock was set `count` times; `what`: where for the first time
        cutOff,            // `count` first frames whose start the log no longer has
        onlyMain,          // the launches were told from first frames: there are no starts
        toldTwice,         // `count` launches were left out: the log of the same report has them
        repeatedLines,     // `count` lines were left out: they are there twice
        failedStarts,      // `count` starts failed or were given up, and are no launches
        backgroundStarts,  // `count` starts were not of activities
        otherEntries,      // `count` entries that tell of no startup
        badEntries,        // `count` entries that could not be read
        passedOver,        // `what` was no input, and why
        cutShort,          // the input ends in the middle of something
    };
    Kind kind{};
    std::size_t count = 0;
    std::string what = {};
};

struct InputSummary {
    std::string name = {};  // of the input or, in a folder or an archive, of its part
    SourceKind kind = SourceKind::none;
    std::string format = {};    // "threadtime"; empty: there is only one
    std::string encoding = {};  // "UTF-16"; empty: UTF-8
    std::size_t units = 0;      // lines, messages, records, packets, iterations: by the kind
    InputClock clock = {};
    // Of all that has a time, in ms of the input's own clock; none: nothing has.
    std::optional<int64_t> firstT = std::nullopt;
    std::optional<int64_t> lastT = std::nullopt;
    std::string androidRelease = {};  // "14"; empty: not printed
    std::size_t starts = 0;           // of activities, as the input tells them
    std::size_t frameLines = 0;       // that tell of a first frame, whether it fits a launch or not
    std::size_t launches = 0;
    std::size_t firstFrames = 0;
    std::size_t appSwitches = 0;
    std::size_t removals = 0;  // of a log: without the updates, whatever they become
    std::size_t updates = 0;
    std::vector<InputNote> notes = {};
};

// Counts an object of the input, but for the removals of a log, of which its lines tell more.
void countObject(const TraceObject& object, InputSummary& summary);

}  // namespace kestrel
