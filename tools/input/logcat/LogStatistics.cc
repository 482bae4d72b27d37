#include "tools/input/logcat/LogStatistics.h"

#include <algorithm>
#include <string>
#include <variant>

namespace kestrel {

namespace {

constexpr int64_t KS_HOUR_US = 3'600'000'000;
// A device that is switched on logs something every day.
constexpr int64_t KS_LONGEST_SILENCE_US = int64_t{30} * 24 * KS_HOUR_US;

}  // namespace

void LogStatistics::add(const LogEntry& entry, std::size_t number) {
    countLine(number);
    if (entry.isBufferHead) {
        beginSection();
    }
    if (const auto* dropped = std::get_if<DroppedLines>(&entry.launch)) {
        mDropped += dropped->count;
    }
    if (std::holds_alternative<Boot>(entry.launch) && mFirst) {
        ++mBoots;
        beginSection();
    }
    if (entry.isLogLine && entry.isTimed) {
        addTime(*entry.time, number);
    }
}

void LogStatistics::addTime(const LogTime& time, std::size_t number) {
    countLine(number);
    if (mPrevious) {
        const int64_t stepUs = time.us - mPrevious->us;
        // One that goes back to about the log's beginning is where another buffer begins.
        const int64_t sinceFirstUs = time.us - mFirst->us;
        const bool isSetBack = stepUs < -KS_HOUR_US &&
                               (sinceFirstUs < 0 || sinceFirstUs > (mLast->us - mFirst->us) / 4);
        if (isSetBack || stepUs > KS_LONGEST_SILENCE_US) {
            mFirstJump = mJumps == 0 ? number : mFirstJump;
            ++mJumps;
        }
    }
    mPrevious = time;
    mFirst = mFirst ? std::min(*mFirst, time) : time;
    mLast = mLast ? std::max(*mLast, time) : time;
}

// A message of an export has one number for all its lines.
void LogStatistics::countLine(std::size_t number) {
    mLines += number != mLatest ? 1 : 0;
    mLatest = number;
}

void LogStatistics::describe(InputSummary& summary) const {
    const auto note = [&](InputNote::Kind kind, std::size_t count, std::string what = {}) {
        if (count > 0) {
            summary.notes.push_back({kind, count, std::move(what)});
        }
    };
    note(InputNote::Kind::chatty, mDropped);
    note(InputNote::Kind::boots, mBoots);
    note(InputNote::Kind::timeJumps, mJumps, "line " + std::to_string(mFirstJump));
}

}  // namespace kestrel
