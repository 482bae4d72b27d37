#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/input/logcat/AndroidLogLine.h"
#include "tools/input/logcat/LaunchLine.h"

namespace kestrel {

// A printed time on one scale for the whole log, on which the years that are not printed follow
// each other.
struct LogTime {
    int64_t us = 0;
    int64_t yearStartUs = 0;  // of the time's year; 0 for a time printed as seconds

    friend bool operator<(const LogTime& a, const LogTime& b) { return a.us < b.us; }
};

// What one line of a log says.
// Ownership: borrows the line.
struct LogEntry {
    LaunchLine launch;
    std::optional<LogTime> time;  // of the line or, where it has none, of the latest that has one
    bool isTimed = false;         // has a time of its own
};

// Reads the lines of one log in the order in which they stand there.
// Ownership: keeps nothing of the lines.
class AndroidLogReader {
 public:
    // Takes any bytes; a line without its line end. Trailing CRs are dropped.
    LogEntry read(std::string_view line);

    // False: nothing so far was a log line.
    bool sawLogLine() const { return mSawLogLine; }

 private:
    LogTime place(const PrintedTime& time);

    bool mSawLogLine = false;
    bool mInLongEntry = false;  // below a head: every line up to the next head is its text
    LogSource mSource = LogSource::other;  // of the latest log line, as is
    bool mIsTimed = false;                 // whether it has a time
    std::optional<LogTime> mTime;          // of the latest that has one
    std::optional<int64_t>
        mPreviousUs;     // since the start of its year, of the latest without a year
    int64_t mTurns = 0;  // of the year, up to that line
};

}  // namespace kestrel
