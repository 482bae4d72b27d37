#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/base/TextScanner.h"

namespace kestrel {

// The time in front of a log line, as far as it is printed. A zone is passed over.
struct PrintedTime {
    enum class Kind {
        date,             // with its year
        dateWithoutYear,  // in a year of 366 days
        seconds,          // since the epoch or since boot
        timeOfDay,        // of a day that is not printed
    };
    Kind kind = Kind::seconds;
    int year = 0;    // 0 unless the kind is date
    int64_t us = 0;  // since the start of the year or the day, or the seconds; never negative
    int ns = 0;      // behind the us, 0 to 999
};

// Reads the times of the lines of one log. Most lines have the whole second of the one before them:
// it is not read again.
// Ownership: keeps nothing of the lines.
class PrintedTimeReader {
 public:
    // Takes the time with its zone, or a colon, up to the blank that has to be behind it. Seconds
    // are padded with blanks on the left.
    std::optional<PrintedTime> take(TextScanner& scanner);

 private:
    std::optional<PrintedTime> takeWholeSeconds(TextScanner& scanner);

    std::string mSecondText;  // with the '.' behind it; empty: none has been read
    PrintedTime mSecond;
};

}  // namespace kestrel
