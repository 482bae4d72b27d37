#include "tools/input/logcat/QuietLines.h"

#include <algorithm>
#include <cstring>

#include "tools/base/TextScanner.h"
#include "tools/input/logcat/AndroidLogLine.h"
#include "tools/input/logcat/LaunchLine.h"

namespace kestrel {

namespace {

constexpr std::size_t KS_TIME_SIZE = std::string_view("MM-DD HH:MM:SS.mmm").size();

constexpr char KS_ESCAPE = '\x1b';  // a colour may hide the tag

// Of "MM-DD HH:MM:SS.mmm " the ms since the hour began; -1 where it is not that. The hour is not
// looked at.
int msOfHour(std::string_view line) {
    if (line[8] != ':' || line[11] != ':' || line[14] != '.' || line[18] != ' ') {
        return -1;
    }
    int ms = 0;
    bool areDigits = true;
    const auto add = [&](std::size_t at, int unitMs) {
        areDigits = areDigits && isDigit(line[at]);
        ms += (line[at] - '0') * unitMs;
    };
    add(9, 600'000);
    add(10, 60'000);
    add(12, 10'000);
    add(13, 1000);
    add(15, 100);
    add(16, 10);
    add(17, 1);
    return areDigits ? ms : -1;
}

}  // namespace

void QuietLines::follow(std::string_view line) {
    forget();
    if (line.size() <= KS_TIME_SIZE || line[2] != '-') {
        return;
    }
    mMs = msOfHour(line);
    if (mMs < 0) {
        return;
    }
    std::memcpy(mHour, line.data(), sizeof mHour);
    for (std::size_t at = KS_TIME_SIZE + 2; at + 2 < line.size(); ++at) {
        if (line[at - 1] == ' ' && line[at + 1] == ' ' && isDigit(line[at - 2]) &&
            isPriority(line.substr(at, 1))) {
            mPriorityAt = at;
            return;
        }
    }
}

int QuietLines::msOfQuiet(std::string_view line) const {
    if (line.size() < mPriorityAt + 5 || std::memcmp(line.data(), mHour, sizeof mHour) != 0) {
        return -1;
    }
    const char* const priority = line.data() + mPriorityAt;
    const char* const tag = priority + 2;
    const bool isQuiet = priority[-1] == ' ' && priority[1] == ' ' && isDigit(priority[-2]) &&
                         isPriority({priority, 1}) && !canBeSource(tag[0], tag[1], tag[2]) &&
                         tag[0] != KS_ESCAPE && tag[1] != KS_ESCAPE && tag[2] != KS_ESCAPE &&
                         line.find(": ", mPriorityAt + 2) != std::string_view::npos;
    return isQuiet ? msOfHour(line) : -1;
}

QuietLines::Run QuietLines::takeFrom(std::string_view text) const {
    Run run;
    while (mPriorityAt != 0) {
        const std::size_t end = text.find('\n', run.sizeBytes);
        if (end == std::string_view::npos) {
            break;
        }
        const int ms = msOfQuiet(text.substr(run.sizeBytes, end - run.sizeBytes));
        if (ms < 0) {
            break;
        }
        run.lastMs = ms - mMs;
        run.earliestMs = std::min(run.earliestMs, run.lastMs);
        run.latestMs = std::max(run.latestMs, run.lastMs);
        ++run.lines;
        run.sizeBytes = end + 1;
    }
    return run;
}

}  // namespace kestrel
