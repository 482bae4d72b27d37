#include "tools/input/LiveInput.h"

#include <string>
#include <utility>

#include "tools/base/Interruption.h"
#include "tools/base/StandardInput.h"
#include "tools/input/CountObject.h"
#include "tools/input/EventTrace.h"
#include "tools/input/LogFile.h"

namespace kestrel {

namespace {

// The lines as they arrive, and the last one of them.
struct LiveLines {
    StandardInput input;
    std::string line;
    std::size_t number = 0;

    // False: there is no other, or the user wants no more; the line is empty then.
    bool read() {
        if (!input.readLine(line)) {
            line.clear();
            return false;
        }
        ++number;
        return true;
    }
};

class LiveTrace : public CheckedInput {
 public:
    LiveTrace(LiveLines lines, EventTraceReader reader, std::optional<TraceObject> first)
        : mLines(std::move(lines)), mReader(std::move(reader)), mFirst(std::move(first)) {}

    std::optional<TraceObject> next() override {
        std::optional<TraceObject> object = std::exchange(mFirst, std::nullopt);
        while (!object && mLines.read()) {
            object = mReader.readLine(mLines.line, mLines.number);
        }
        if (object) {
            countObject(*object, mSummary);
        }
        mSummary.units = mLines.number;
        return object;
    }

    InputSummary summary() const override { return mSummary; }

    bool isAtEnd() const override { return !mFirst && mLines.input.isAtEnd(); }

 private:
    LiveLines mLines;
    EventTraceReader mReader;
    std::optional<TraceObject> mFirst;
    InputSummary mSummary;
};

class RecognisedLiveTrace : public RecognisedInput {
 public:
    explicit RecognisedLiveTrace(LiveLines lines)
        : mLines(std::move(lines)), mFirst(mReader.readLine(mLines.line, mLines.number)) {}

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
    LiveLog(LiveLines lines, const HostSetup& setup)
        : mLines(std::move(lines)), mImporter(importSettings(setup)) {
        importLine();
    }

    std::optional<TraceObject> next() override {
        while (mWaiting.empty()) {
            if (!mLines.read()) {
                if (!mImporter.sawLogLine() && !wasInterrupted()) {
                    throw noLog(LIVE_INPUT);
                }
                return std::nullopt;
            }
            importLine();
        }
        std::optional<TraceObject> object = std::move(mWaiting.front());
        mWaiting.pop_front();
        countObject(*object, mSummary);
        return object;
    }

    InputSummary summary() const override {
        InputSummary summary = mSummary;
        summary.units = mLines.number;
        return summary;
    }

    bool isAtEnd() const override { return mWaiting.empty() && mLines.input.isAtEnd(); }

 private:
    void importLine() { mImporter.importLine(mLines.line, mLines.number, mWaiting); }

    LiveLines mLines;
    AndroidLogImporter mImporter;
    TraceObjects mWaiting;  // of the last line
    InputSummary mSummary{.kind = SourceKind::androidLog};
};

class RecognisedLiveLog : public RecognisedInput {
 public:
    explicit RecognisedLiveLog(LiveLines lines) : mLines(std::move(lines)) {}

    const std::optional<HostSetup>& setup() const override { return mNoSetup; }

    std::unique_ptr<CheckedInput> check(const HostSetup& setup) && override {
        return std::make_unique<LiveLog>(std::move(mLines), setup);
    }

 private:
    LiveLines mLines;
    std::optional<HostSetup> mNoSetup;
};

}  // namespace

std::unique_ptr<RecognisedInput> recogniseLive(InputKinds kinds) {
    LiveLines lines;
    while (lines.read() && isSkippedTraceLine(lines.line)) {
    }
    if (isTrace(kinds, lines.line, LIVE_INPUT, lines.number)) {
        return std::make_unique<RecognisedLiveTrace>(std::move(lines));
    }
    return std::make_unique<RecognisedLiveLog>(std::move(lines));
}

}  // namespace kestrel
