#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/input/InputSummary.h"
#include "tools/input/logcat/AndroidLogLine.h"
#include "tools/input/logcat/LaunchLine.h"

namespace kestrel {

// A printed time on one scale for the whole log, on which the years that are not printed follow
// each other.
struct LogTime {
    int64_t us = 0;
    int ns = 0;               // behind the us, 0 to 999
    int64_t yearStartUs = 0;  // of the time's year; 0 for a time that is printed without a date

    friend bool operator<(const LogTime& a, const LogTime& b) {
        return a.us != b.us ? a.us < b.us : a.ns < b.ns;
    }
};

// What one line of a log says.
// Ownership: borrows the line, or the reader's copy of it, which stays until the next line.
struct LogEntry {
    LaunchLine launch;
    std::optional<LogTime> time;  // of the line or, where it has none, of the latest that has one
    bool isTimed = false;         // has a time of its own
    bool isLogLine = false;       // or the head of an entry
    bool isRawLine = false;  // stands where every line is one of format raw, unless another is none
    bool isRawText = false;  // says something in format raw, which no other line may have
    bool isMainHead = false;    // the next log line is the first of the buffer main
    bool isBufferHead = false;  // of any buffer
};

// Reads the lines of one log in the order in which they stand there.
// Ownership: keeps nothing of the lines but a copy of the latest, where that had to be changed.
class AndroidLogReader {
 public:
    // Takes any bytes; a line without its line end. Trailing CRs are dropped.
    LogEntry read(std::string_view line);

    // There were lines behind the latest that say nothing, the last one this much later, in the
    // same year. REQUIRES: the latest is a log line with a time.
    void passOver(int64_t us) {
        mTime->us += us;
        if (mPreviousUs) {
            *mPreviousUs += us;
        }
    }

    // Of the latest line that has one.
    const std::optional<LogTime>& latestTime() const { return mTime; }

    // Of an export that says these things apart; the text is one line.
    LogEntry readMessage(const PrintedTime& time, std::string_view tag, std::string_view text);

    // False: nothing so far was a log line, or said so in format raw.
    bool sawLogLine() const { return mFormat.has_value() || mSawRaw; }

    // Of the first log line; raw where there is none.
    LogFormat format() const { return mFormat.value_or(LogFormat::raw); }

    // Whether the latest line was a log line in format threadtime.
    bool isInThreadtime() const { return mIsInThreadtime; }

    // How the `t` of this log is shown. That of a line without a year may be told by others.
    const InputClock& clock() const { return mClock; }

 private:
    std::string_view withoutColours(std::string_view line);
    LogEntry entryOf(const AndroidLogLine& line);
    LogEntry otherLine(std::string_view line);
    LogTime place(const PrintedTime& time);

    PrintedTimeReader mTimes;
    std::string mPlain;                // the latest line that had colours, without them
    std::optional<LogFormat> mFormat;  // none: no log line has been seen
    bool mSawRaw = false;
    bool mIsInThreadtime = false;
    bool mInLongEntry = false;             // below a head: every line up to the next is its text
    LogSource mSource = LogSource::other;  // of the latest log line, as is
    bool mIsTimed = false;                 // whether it has a time
    std::optional<LogTime> mTime;          // of the latest that has one
    InputClock mClock;
    // Since the start of its year or day, of the latest without a year.
    std::optional<int64_t> mPreviousUs;
    int64_t mTurns = 0;  // of the year or the day, up to that line
};

}  // namespace kestrel
