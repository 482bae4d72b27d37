#include "tools/input/logcat/AndroidLogReader.h"

#include <algorithm>
#include <chrono>

namespace kestrel {

namespace {

constexpr int64_t KS_DAY_US = 86'400'000'000;
constexpr int64_t KS_UNPRINTED_YEAR_US = 366 * KS_DAY_US;
constexpr int64_t KS_TURN_OF_YEAR_US = 180 * KS_DAY_US;
// More turns than any log has, and few enough for the sums.
constexpr int64_t KS_MAX_TURNS = 10'000;

int64_t startOfYearUs(int number) {
    using namespace std::chrono;
    const sys_days start = year(number) / January / 1;
    return duration_cast<microseconds>(start.time_since_epoch()).count();
}

}  // namespace

LogEntry AndroidLogReader::read(std::string_view line) {
    while (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    std::string_view text = line;
    const auto parsed = parseAndroidLogLine(line);
    if (parsed && (parsed->isHead || !mInLongEntry)) {
        mSawLogLine = true;
        mInLongEntry = parsed->isHead;
        mSource = logSourceOf(parsed->tag);
        mIsTimed = parsed->time.has_value();
        if (mIsTimed) {
            mTime = place(*parsed->time);
        }
        text = parsed->text;
    } else if (!mInLongEntry) {
        text = {};
    }
    return {parseLaunchLine(mSource, text), mTime, mIsTimed};
}

LogTime AndroidLogReader::place(const PrintedTime& time) {
    if (time.kind == PrintedTime::Kind::seconds) {
        return {time.us, 0};
    }
    if (time.kind == PrintedTime::Kind::date) {
        const int64_t yearStartUs = startOfYearUs(time.year);
        return {yearStartUs + time.us, yearStartUs};
    }
    const int64_t stepUs = time.us - mPreviousUs.value_or(time.us);
    if (stepUs < -KS_TURN_OF_YEAR_US) {
        mTurns = std::min(mTurns + 1, KS_MAX_TURNS);
    } else if (stepUs > KS_TURN_OF_YEAR_US && mTurns > 0) {
        --mTurns;  // a bug report's next buffer begins before the turn again
    }
    mPreviousUs = time.us;
    const int64_t yearStartUs = mTurns * KS_UNPRINTED_YEAR_US;
    return {yearStartUs + time.us, yearStartUs};
}

}  // namespace kestrel
