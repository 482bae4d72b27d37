#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kestrel {

// The time in front of a log line, as far as it is printed. A zone is passed over.
struct PrintedTime {
    enum class Kind {
        date,             // with its year
        dateWithoutYear,  // in a year of 366 days
        seconds,          // since the epoch or since boot
    };
    Kind kind = Kind::seconds;
    int year = 0;    // 0 unless the kind is date
    int64_t us = 0;  // since the start of the year, or the seconds; never negative
};

// One line of what `adb logcat` prints: in format brief, time or threadtime, or the head of an
// entry in format long, with any of the modifiers year, zone, usec, uid, epoch and monotonic.
// Ownership: borrows the line.
struct AndroidLogLine {
    std::optional<PrintedTime> time = std::nullopt;  // format brief has none
    std::string_view tag;                            // without the blanks that pad it
    std::string_view text = {};  // a head has none: the lines below it are its text
    bool isHead = false;
};

// Nothing when the line is not a log line. Takes any bytes; a line without its line end.
std::optional<AndroidLogLine> parseAndroidLogLine(std::string_view line);

}  // namespace kestrel
