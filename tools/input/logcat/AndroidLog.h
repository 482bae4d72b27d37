#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/base/ByteSource.h"
#include "tools/base/LineReader.h"
#include "tools/input/InputSummary.h"
#include "tools/input/TraceObject.h"
#include "tools/input/logcat/AndroidLogImporter.h"
#include "tools/input/logcat/AndroidLogReader.h"
#include "tools/input/logcat/CopiedLines.h"
#include "tools/input/logcat/LogStatistics.h"
#include "tools/input/logcat/QuietLines.h"

namespace kestrel {

// A whole Android log: first its lines are added in the order in which they stand there, then they
// are brought into the order of the time as printed and imported.
// Ownership: keeps what the lines say about launches, nothing else of them.
class AndroidLog {
 public:
    // Whether the same lines stand in the log twice.
    enum class Copy {
        only,
        first,   // may come again
        second,  // left out when it is byte for byte in the first
    };

    // A line without its line end; any bytes.
    void addLine(std::string_view line, std::size_t number, Copy copy = Copy::only);

    // All lines of a text.
    void addLines(ByteSource& text);

    // A message of an export, of one or several lines, with its time since 1970 in us.
    void addMessage(int64_t us, std::string_view tag, std::string_view text, std::size_t number);

    // What stood before belongs to another part of the file: its time says nothing about the time
    // of what follows.
    void beginSection() { mStatistics.beginSection(); }

    // When the log was taken, with the year: which one people are shown.
    void setReportTime(const PrintedTime& time) { mReportTime = time; }

    // False: nothing was a log line.
    bool sawLogLine() const { return mReader.sawLogLine(); }

    // The events that the lines become. The summary gets what is known of the log; its counts of
    // events stay as they are.
    TraceObjects import(const LogImportSettings& settings, InputSummary& summary);

 private:
    // Where a line stands in the order of time.
    struct Place {
        std::optional<LogTime> time;
        std::size_t number = 0;

        friend bool operator<(const Place& a, const Place& b) {
            return a.time < b.time || (!(b.time < a.time) && a.number < b.number);
        }
    };

    // A line that says something.
    struct Line {
        LogEntry entry;  // its texts are mNames'
        std::size_t number;

        Place place() const { return {entry.time, number}; }
    };

    void passOver(const QuietLines::Run& run, LineReader& lines);
    void add(const LogEntry& entry, std::size_t number);
    void forgetRawLines();
    void placeLine(const std::optional<LogTime>& time, std::size_t number);
    void keep(const LogEntry& entry, std::size_t number);
    bool hasStart() const;
    bool hasFrameLine() const;
    void play(AndroidLogImporter& importer, TraceObjects& out) const;
    bool lacksFramesBefore(std::size_t index) const;
    InputClock shownClock() const;
    void fill(InputSummary& summary, const AndroidLogImporter& importer) const;

    AndroidLogReader mReader;
    QuietLines mQuiet;
    LogStatistics mStatistics;
    std::vector<Line> mLines;
    bool mLinesAreRaw = false;               // all so far are in format raw
    std::unordered_set<std::string> mNames;  // of packages
    CopiedLines mCopied;                     // that may come again
    std::size_t mRepeated = 0;
    std::optional<Place> mFirst;     // of the log lines
    std::optional<Place> mMainHead;  // of the log lines behind a head of the buffer main
    bool mAwaitsMain = false;        // such a head was the latest
    std::optional<PrintedTime> mReportTime;
};

}  // namespace kestrel
