#include "tools/input/logcat/AndroidLog.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <variant>

#include "tools/base/LineReader.h"
#include "tools/base/Lines.h"

namespace kestrel {

namespace {

constexpr int64_t KS_DAY_US = 86'400'000'000;
constexpr int64_t KS_HALF_YEAR_US = 180 * KS_DAY_US;
constexpr int64_t KS_YEAR_US = 366 * KS_DAY_US;  // one that is not printed

int yearOf(int64_t startUs) {
    using namespace std::chrono;
    return static_cast<int>(
        year_month_day(floor<days>(sys_time<microseconds>(microseconds(startUs)))).year());
}

bool isFrame(const LogEntry& entry) {
    return std::holds_alternative<FirstFrame>(entry.launch);
}

}  // namespace

void AndroidLog::addLine(std::string_view line, std::size_t number, Copy copy) {
    const LogEntry entry = mReader.read(line);
    const bool saysSomething = !std::holds_alternative<std::monostate>(entry.launch);
    if (copy == Copy::first) {
        mCopied.add(line, saysSomething);
    }
    if (copy == Copy::second && mCopied.contains(line, saysSomething)) {
        mRepeated += saysSomething ? 1 : 0;
        return;
    }
    add(entry, number);
}

void AndroidLog::addLines(ByteSource& text) {
    LineReader lines(text);
    while (const auto line = lines.next()) {
        addLine(*line, lines.number());
        if (mReader.isInThreadtime() && !mAwaitsMain) {
            mQuiet.follow(*line);
            passOver(mQuiet.takeFrom(lines.block()), lines);
        }
    }
}

void AndroidLog::passOver(const QuietLines::Run& run, LineReader& lines) {
    if (run.lines == 0) {
        return;
    }
    const LogTime followed = *mReader.latestTime();
    const std::size_t number = lines.number() + 1;
    for (const int ms : {run.earliestMs, run.latestMs, run.lastMs}) {
        LogTime time = followed;
        time.us += int64_t{ms} * 1000;
        mStatistics.addTime(time, number);
        placeLine(time, number);
    }
    lines.skip(run.sizeBytes, run.lines);
    mStatistics.addLines(lines.number());
    mReader.passOver(int64_t{run.lastMs} * 1000);
}

void AndroidLog::addMessage(int64_t us, std::string_view tag, std::string_view text,
                            std::size_t number) {
    const PrintedTime time{.kind = PrintedTime::Kind::seconds, .us = us};
    do {
        add(mReader.readMessage(time, tag, takeLine(text)), number);
    } while (!text.empty());
}

void AndroidLog::add(const LogEntry& entry, std::size_t number) {
    mStatistics.add(entry, number);
    if (entry.isLogLine && mLinesAreRaw) {
        forgetRawLines();
    }
    mLinesAreRaw = mLinesAreRaw || entry.isRawLine;
    mAwaitsMain = mAwaitsMain || entry.isMainHead;
    if (entry.isLogLine || entry.isRawLine) {
        placeLine(entry.time, number);
    }
    keep(entry, number);
}

// The log is in another format: what stood before its first line was none.
void AndroidLog::forgetRawLines() {
    mLines.clear();
    mLinesAreRaw = false;
    mFirst.reset();
    mAwaitsMain = mAwaitsMain || mMainHead;
    mMainHead.reset();
}

void AndroidLog::placeLine(const std::optional<LogTime>& time, std::size_t number) {
    const Place place{time, number};
    if (!mFirst || place < *mFirst) {
        mFirst = place;
    }
    if (std::exchange(mAwaitsMain, false) && (!mMainHead || place < *mMainHead)) {
        mMainHead = place;
    }
}

void AndroidLog::keep(const LogEntry& entry, std::size_t number) {
    if (std::holds_alternative<std::monostate>(entry.launch)) {
        return;
    }
    Line& line = mLines.emplace_back(entry, number);
    std::visit(
        [&](auto& launch) {
            if constexpr (requires { launch.package; }) {
                launch.package = *mNames.emplace(launch.package).first;
            }
        },
        line.entry.launch);
}

TraceObjects AndroidLog::import(const LogImportSettings& settings, InputSummary& summary) {
    std::ranges::stable_sort(mLines,
                             [](const Line& a, const Line& b) { return a.place() < b.place(); });
    AndroidLogImporter importer(settings);
    if (mStatistics.first()) {
        importer.setOrigin(*mStatistics.first());
    }
    if (!hasStart() && hasFrameLine()) {
        importer.takeLaunchesFromFrames();
    }
    TraceObjects out;
    play(importer, out);
    fill(summary, importer);
    return out;
}

bool AndroidLog::hasStart() const {
    return std::ranges::any_of(mLines, [](const Line& line) {
        return std::holds_alternative<ActivityStart>(line.entry.launch);
    });
}

bool AndroidLog::hasFrameLine() const {
    return std::ranges::any_of(mLines, [](const Line& line) {
        const auto* frame = std::get_if<FirstFrame>(&line.entry.launch);
        return frame != nullptr && !frame->isEvent;
    });
}

// The buffer main, in which first frames stand, can begin later than the one with the starts: the
// launches before it are no launches without a frame.
void AndroidLog::play(AndroidLogImporter& importer, TraceObjects& out) const {
    bool sawFrame = false;
    bool isMainAhead = mMainHead && *mFirst < *mMainHead;
    for (const Line& line : mLines) {
        if (isMainAhead && !(line.place() < *mMainHead)) {
            isMainAhead = false;
            if (!sawFrame) {
                importer.leaveOutLaunches(out);
            }
        }
        sawFrame = sawFrame || isFrame(line.entry);
        importer.play(line.entry, line.number, out);
    }
    if (isMainAhead && !sawFrame) {
        importer.leaveOutLaunches(out);
    }
}

void AndroidLog::fill(InputSummary& summary, const AndroidLogImporter& importer) const {
    summary.format = toText(mReader.format());
    summary.units = mStatistics.lines();
    summary.clock = shownClock();
    if (mStatistics.first()) {
        summary.firstT = importer.tOf(*mStatistics.first());
        summary.lastT = importer.tOf(*mStatistics.last());
    }
    importer.describe(summary);
    mStatistics.describe(summary);
    if (mRepeated > 0) {
        summary.notes.push_back({InputNote::Kind::repeatedLines, mRepeated});
    }
}

// The report's date is that of its last line, or somewhat later.
InputClock AndroidLog::shownClock() const {
    InputClock clock = mReader.clock();
    const auto& first = mStatistics.first();
    if (clock.kind == InputClock::Kind::year) {
        clock.year = yearOf(first->yearStartUs);
    }
    if (clock.kind != InputClock::Kind::yearless || !mReportTime) {
        return clock;
    }
    const auto& last = mStatistics.last();
    const bool isNewYear = last->us - last->yearStartUs - mReportTime->us > KS_HALF_YEAR_US;
    const int64_t turns = (last->yearStartUs - first->yearStartUs) / KS_YEAR_US;
    clock.year = mReportTime->year - static_cast<int>(turns) - (isNewYear ? 1 : 0);
    return clock;
}

}  // namespace kestrel
