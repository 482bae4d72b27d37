#include "tools/input/logcat/AndroidLogReader.h"

#include <algorithm>
#include <chrono>

namespace kestrel {

namespace {

constexpr int64_t KS_DAY_US = 86'400'000'000;
constexpr int64_t KS_UNPRINTED_YEAR_US = 366 * KS_DAY_US;
constexpr int64_t KS_TURN_OF_YEAR_US = 180 * KS_DAY_US;
constexpr int64_t KS_TURN_OF_DAY_US = KS_DAY_US / 2;
// More turns than any log has, and few enough for the sums.
constexpr int64_t KS_MAX_TURNS = 10'000;
// Seconds above these, of the year 2001, are counted from 1970 and not from the device's start.
constexpr int64_t KS_MIN_EPOCH_US = 1'000'000'000'000'000;

constexpr std::string_view KS_HEAD = "--------- ";  // of a buffer
constexpr char KS_ESCAPE = '\x1b';

int64_t startOfYearUs(int number) {
    using namespace std::chrono;
    const sys_days start = year(number) / January / 1;
    return duration_cast<microseconds>(start.time_since_epoch()).count();
}

InputClock clockOf(const PrintedTime& time) {
    switch (time.kind) {
        case PrintedTime::Kind::date:
            return {InputClock::Kind::year, time.year};
        case PrintedTime::Kind::dateWithoutYear:
            return {InputClock::Kind::yearless};
        case PrintedTime::Kind::timeOfDay:
            return {InputClock::Kind::timeOfDay};
        case PrintedTime::Kind::seconds:
            break;
    }
    return {time.us >= KS_MIN_EPOCH_US ? InputClock::Kind::epoch : InputClock::Kind::uptime};
}

// "ESC [ DIGITS-AND-; m", of which the text begins behind the ESC; 0: it is none.
size_t sizeOfColour(std::string_view text) {
    if (!text.starts_with('[')) {
        return 0;
    }
    const size_t end = text.find_first_not_of("0123456789;", 1);
    return end < text.size() && text[end] == 'm' ? end + 1 : 0;
}

}  // namespace

LogEntry AndroidLogReader::read(std::string_view line) {
    while (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    if (line.find(KS_ESCAPE) != std::string_view::npos) {
        line = withoutColours(line);
    }
    if (line.starts_with(KS_HEAD)) {
        return otherLine(line);
    }
    const auto parsed = parseAndroidLogLine(line, mTimes);
    if (!parsed || (mInLongEntry && !parsed->isHead())) {
        return otherLine(line);
    }
    return entryOf(*parsed);
}

LogEntry AndroidLogReader::readMessage(const PrintedTime& time, std::string_view tag,
                                       std::string_view text) {
    return entryOf({.format = LogFormat::logWindow, .time = time, .tag = tag, .text = text});
}

// They stand in front of a line, behind its text, and between text and tag.
std::string_view AndroidLogReader::withoutColours(std::string_view line) {
    mPlain.clear();
    while (!line.empty()) {
        const size_t escape = std::min(line.find(KS_ESCAPE), line.size());
        mPlain.append(line.substr(0, escape));
        line.remove_prefix(escape);
        if (line.empty()) {
            break;
        }
        const size_t size = sizeOfColour(line.substr(1));
        if (size == 0) {
            mPlain.push_back(KS_ESCAPE);
        }
        line.remove_prefix(1 + size);
    }
    return mPlain;
}

LogEntry AndroidLogReader::entryOf(const AndroidLogLine& line) {
    mFormat = mFormat.value_or(line.format);
    mIsInThreadtime = line.format == LogFormat::threadtime;
    mInLongEntry = line.isHead();
    mSource = line.hasTag ? logSourceOf(line.tag) : LogSource::unknown;
    mIsTimed = line.time.has_value();
    if (line.time) {
        if (!mTime) {
            mClock = clockOf(*line.time);
        }
        mTime = place(*line.time);
    }
    return {.launch = parseLaunchLine(mSource, line.text),
            .time = mTime,
            .isTimed = mIsTimed,
            .isLogLine = true};
}

// A line that is the text of a head above it, the head of a buffer, or a text in format raw.
LogEntry AndroidLogReader::otherLine(std::string_view line) {
    mIsInThreadtime = false;
    LogEntry entry{.time = mTime, .isTimed = mIsTimed};
    TextScanner head{line};
    if (head.take(KS_HEAD)) {
        const bool isBeginning = head.take("beginning of ");
        entry.isBufferHead = isBeginning || head.take("switch to ");
        head.take("/dev/log/");
        entry.isMainHead = isBeginning && trimmed(head.rest) == "main";
        mSawRaw = mSawRaw || entry.isBufferHead;
    }
    if (mInLongEntry) {
        entry.launch = parseLaunchLine(mSource, line);
    } else if (!mFormat) {
        entry.launch = parseLaunchLine(LogSource::unknown, line);
        entry.isRawLine = !entry.isBufferHead && !trimmed(line).empty();
        entry.isRawText = !std::holds_alternative<std::monostate>(entry.launch);
        mSawRaw = mSawRaw || entry.isRawText;
    }
    return entry;
}

LogTime AndroidLogReader::place(const PrintedTime& time) {
    if (time.kind == PrintedTime::Kind::seconds) {
        return {time.us, time.ns, 0};
    }
    if (time.kind == PrintedTime::Kind::date) {
        const int64_t yearStartUs = startOfYearUs(time.year);
        return {yearStartUs + time.us, time.ns, yearStartUs};
    }
    const bool hasDate = time.kind == PrintedTime::Kind::dateWithoutYear;
    const int64_t stepUs = time.us - mPreviousUs.value_or(time.us);
    if (stepUs < (hasDate ? -KS_TURN_OF_YEAR_US : -KS_TURN_OF_DAY_US)) {
        mTurns = std::min(mTurns + 1, KS_MAX_TURNS);
    } else if (hasDate && stepUs > KS_TURN_OF_YEAR_US && mTurns > 0) {
        --mTurns;  // a bug report's next buffer begins before the turn again
    }
    mPreviousUs = time.us;
    if (!hasDate) {
        return {mTurns * KS_DAY_US + time.us, time.ns, 0};
    }
    const int64_t yearStartUs = mTurns * KS_UNPRINTED_YEAR_US;
    return {yearStartUs + time.us, time.ns, yearStartUs};
}

}  // namespace kestrel
