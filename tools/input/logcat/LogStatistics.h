#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>

#include "tools/input/InputSummary.h"
#include "tools/input/logcat/AndroidLogReader.h"

namespace kestrel {

// What is worth telling of the lines of one log, in the order in which they stand there.
class LogStatistics {
 public:
    void add(const LogEntry& entry, std::size_t number);

    // Of a log line that says nothing.
    void addTime(const LogTime& time, std::size_t number);

    // There are lines up to this number.
    void addLines(std::size_t number) { mLines = std::max(mLines, number); }

    // The next line may have any time.
    void beginSection() { mPrevious.reset(); }

    std::size_t lines() const { return mLines; }
    const std::optional<LogTime>& first() const { return mFirst; }  // the earliest
    const std::optional<LogTime>& last() const { return mLast; }    // the latest

    // Adds what is to be noted.
    void describe(InputSummary& summary) const;

 private:
    void countLine(std::size_t number);

    std::size_t mLines = 0;
    std::size_t mLatest = 0;  // the number of the latest line; 0: none
    std::optional<LogTime> mFirst;
    std::optional<LogTime> mLast;
    std::optional<LogTime> mPrevious;
    std::size_t mDropped = 0;
    std::size_t mBoots = 0;
    std::size_t mJumps = 0;
    std::size_t mFirstJump = 0;  // the number of the line
};

}  // namespace kestrel
