#include "tools/input/LiveInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>

#include "tools/base/FileSource.h"
#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/base/LineReader.h"
#include "tools/base/OpenFile.h"
#include "tools/base/PeekedSource.h"
#include "tools/base/Utf16Source.h"
#include "tools/input/EventTrace.h"
#include "tools/input/InputFile.h"
#include "tools/input/InputSummary.h"
#include "tools/input/LogFile.h"
#include "tools/input/logcat/LogStatistics.h"

namespace kestrel {

namespace {

OpenFile openStandardInput() {
    return OpenFile(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
}

// What arrives on standard input; text is decoded as it does.
class ArrivingText {
 public:
    // What has arrived, to be looked at; nothing has been read yet.
    std::string_view ahead() { return text().peek(1); }

    // Waits for more of that. False: there is no more, or the user wants none.
    bool receive() {
        const std::size_t size = ahead().size();
        return text().peek(size + 1).size() > size;
    }

    // REQUIRES: one of UTF-16.
    void decode(TextEncoding encoding) { mText.emplace(mDecoded.emplace(mBytes, encoding)); }

    PeekedSource& text() { return mText ? *mText : mBytes; }

 private:
    FileSource mFile{openStandardInput(), LIVE_INPUT};
    PeekedSource mBytes{mFile};
    std::optional<Utf16Source> mDecoded;
    std::optional<PeekedSource> mText;
};

// The lines as they arrive, and the last one of them.
class LiveLines {
 public:
    explicit LiveLines(std::unique_ptr<ArrivingText> text)
        : mText(std::move(text)), mLines(std::make_unique<LineReader>(mText->text())) {}

    std::string line;
    std::size_t number = 0;

    // False: there is no other, or the user wants no more; the line is empty then. One that an
    // interruption cut off is none.
    bool read() {
        const auto next = mLines->next();
        if (!next || (wasInterrupted() && !mLines->isWhole())) {
            line.clear();
            mIsAtEnd = !wasInterrupted();
            return false;
        }
        line = *next;
        number = mLines->number();
        if (number == 1 && line.starts_with(KS_UTF8_MARK)) {
            line.erase(0, KS_UTF8_MARK.size());
        }
        return true;
    }

    // Whether the end has been met.
    bool isAtEnd() const { return mIsAtEnd; }

 private:
    std::unique_ptr<ArrivingText> mText;
    std::unique_ptr<LineReader> mLines;
    bool mIsAtEnd = false;
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

    bool isAtEnd() const override { return !mFirst && mLines.isAtEnd(); }

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

    bool isAtEnd() const override { return mWaiting.empty() && mLines.isAtEnd(); }

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

// Waits for as much as tells the kind.
InputKind arrivedKind(ArrivingText& text) {
    std::optional<InputKind> told;
    while (!(told = arrivingKindOf(text.ahead())) && text.receive()) {
    }
    return told.value_or(inputKindOf(text.ahead()));
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
    auto text = std::make_unique<ArrivingText>();
    InputKind kind = arrivedKind(*text);
    if (kind == InputKind::utf16Text) {
        text->decode(encodingOf(text->ahead()));
        kind = arrivedKind(*text);
    }
    std::string beginning(text->ahead().substr(0, KS_TELLING_SIZE));
    const bool isRead = kind != InputKind::eventTrace && kind != InputKind::logText;
    const auto all = isRead ? spooled(text->text(), LIVE_INPUT) : nullptr;
    LiveLines lines(std::move(text));
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
