#include "tools/input/LiveInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>

#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/base/LineReader.h"
#include "tools/base/StandardInput.h"
#include "tools/base/Utf16Source.h"
#include "tools/input/EventTrace.h"
#include "tools/input/InputFile.h"
#include "tools/input/InputSummary.h"
#include "tools/input/LogFile.h"
#include "tools/input/logcat/LogStatistics.h"

namespace kestrel {

namespace {

// The lines as they arrive, and the last one of them.
struct LiveLines {
    std::unique_ptr<StandardInput> input = std::make_unique<StandardInput>();
    std::string line;
    std::size_t number = 0;

    // False: there is no other, or the user wants no more; the line is empty then.
    bool read() {
        if (!input->readLine(line)) {
            line.clear();
            return false;
        }
        ++number;
        if (number == 1 && line.starts_with(KS_UTF8_MARK)) {
            line.erase(0, KS_UTF8_MARK.size());
        }
        return true;
    }
};

std::optional<TraceObject> readLine(EventTraceReader& reader, const LiveLines& lines) {
    if (lines.line.size() >= LineReader::KS_MAX_LINE) {
        throw InputError(LIVE_INPUT, lines.number, "the line is too long");
    }
    return reader.readLine(lines.line, lines.number);
}

class LiveTrace : public CheckedInput {
 public:
    LiveTrace(LiveLines lines, EventTraceReader reader, std::optional<TraceObject> first)
        : mLines(std::move(lines)), mReader(std::move(reader)), mFirst(std::move(first)) {}

    std::optional<TraceObject> next() override {
        std::optional<TraceObject> object = std::exchange(mFirst, std::nullopt);
        while (!object && mLines.read()) {
            object = readLine(mReader, mLines);
        }
        if (object) {
            mSummary.firstT = mSummary.firstT.value_or(object->t);
            mSummary.lastT = object->t;
            countObject(*object, mSummary);
        }
        return object;
    }

    InputSummary summary() const override {
        InputSummary summary = mSummary;
        summary.units = mLines.number;
        return summary;
    }

    bool isAtEnd() const override { return !mFirst && mLines.input->isAtEnd(); }

 private:
    LiveLines mLines;
    EventTraceReader mReader;
    std::optional<TraceObject> mFirst;
    InputSummary mSummary = {.kind = SourceKind::eventTrace};
};

class RecognisedLiveTrace : public RecognisedInput {
 public:
    explicit RecognisedLiveTrace(LiveLines lines)
        : mLines(std::move(lines)), mFirst(readLine(mReader, mLines)) {}

    const std::optional<HostSetup>& setup() const override { return mReader.setup(); }

    std::unique_ptr<CheckedInput> check(const HostSetup& /*setup*/) && override {
        return std::make_unique<LiveTrace>(std::move(mLines), std::move(mReader),
                                           std::move(mFirst));
    }

 private:
    LiveLines mLines;
    EventTraceReader mReader{LIVE_INPUT};
    std::optional<TraceObject> mFirst;
};

class LiveLog : public CheckedInput {
 public:
    LiveLog(LiveLines lines, std::string beginning, const HostSetup& setup)
        : mLines(std::move(lines)),
          mBeginning(std::move(beginning)),
          mImporter(importSettings(setup)) {
        importLine();
    }

    std::optional<TraceObject> next() override {
        while (mWaiting.empty()) {
            if (!mLines.read()) {
                if (!mReader.sawLogLine() && !wasInterrupted()) {
                    throw noInput(LIVE_INPUT, mBeginning);
                }
                return std::nullopt;
            }
            importLine();
        }
        std::optional<TraceObject> object = std::move(mWaiting.front());
        mWaiting.pop_front();
        countObject(*object, mCounts);
        return object;
    }

    bool isAtEnd() const override { return mWaiting.empty() && mLines.input->isAtEnd(); }

    InputSummary summary() const override {
        InputSummary summary = mCounts;
        summary.units = mLines.number;
        summary.format = toText(mReader.format());
        summary.clock = mReader.clock();
        if (mStatistics.first()) {
            summary.firstT = mImporter.tOf(*mStatistics.first());
            summary.lastT = mImporter.tOf(*mStatistics.last());
        }
        mImporter.describe(summary);
        mStatistics.describe(summary);
        return summary;
    }

 private:
    void importLine() {
        const LogEntry entry = mReader.read(mLines.line);
        mStatistics.add(entry, mLines.number);
        mImporter.play(entry, mLines.number, mWaiting);
    }

    LiveLines mLines;
    std::string mBeginning;  // by which it was recognised
    AndroidLogReader mReader;
    LogStatistics mStatistics;
    AndroidLogImporter mImporter;
    TraceObjects mWaiting;  // of the last line
    InputSummary mCounts = {.kind = SourceKind::androidLog};
};

class RecognisedLiveLog : public RecognisedInput {
 public:
    RecognisedLiveLog(LiveLines lines, std::string beginning)
        : mLines(std::move(lines)), mBeginning(std::move(beginning)) {}

    const std::optional<HostSetup>& setup() const override { return mNoSetup; }

    std::unique_ptr<CheckedInput> check(const HostSetup& setup) && override {
        return std::make_unique<LiveLog>(std::move(mLines), std::move(mBeginning), setup);
    }

 private:
    LiveLines mLines;
    std::string mBeginning;
    std::optional<HostSetup> mNoSetup;
};

OpenFile openStandardInput() {
    return OpenFile(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
}

FoundInputs only(std::unique_ptr<RecognisedInput> input) {
    FoundInputs found;
    found.push_back({LIVE_INPUT, std::move(input)});
    return found;
}

}  // namespace

bool isStandardInputAFile() {
    struct stat status = {};
    return fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
}

FoundInputs findInStandardFile(const InputOptions& options, ReadObserver* observer) {
    FileSource file(openStandardInput(), LIVE_INPUT);
    file.setObserver(observer);
    return findInputs(file, options);
}

FoundInputs findLive(const InputOptions& options) {
    LiveLines lines;
    std::optional<InputKind> told;
    while (!(told = arrivingKindOf(lines.input->ahead())) && lines.input->receive()) {
    }
    std::string beginning(lines.input->ahead());
    const InputKind kind = told.value_or(inputKindOf(beginning));
    const bool isRead = kind != InputKind::eventTrace && kind != InputKind::logText;
    const auto all = isRead ? spooled(*lines.input, LIVE_INPUT) : nullptr;
    if (wasInterrupted()) {
        return only(std::make_unique<RecognisedLiveLog>(std::move(lines), std::move(beginning)));
    }
    if (isRead) {
        return findInputs(*all, options);
    }
    while (lines.read() && isSkippedTraceLine(lines.line)) {
    }
    if (kind == InputKind::logText && !(options.takesTraces && saysNothing(beginning))) {
        return only(std::make_unique<RecognisedLiveLog>(std::move(lines), std::move(beginning)));
    }
    if (!options.takesTraces) {
        throw NoInput(LIVE_INPUT, "an event trace, which is what import prints");
    }
    return only(std::make_unique<RecognisedLiveTrace>(std::move(lines)));
}

}  // namespace kestrel
