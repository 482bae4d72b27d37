#include "tools/input/Input.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <string_view>
#include <utility>

#include "tools/base/FileContent.h"
#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/base/StandardInput.h"
#include "tools/input/EventTrace.h"
#include "tools/input/logcat/AndroidLogImporter.h"

namespace kestrel {

namespace {

constexpr int64_t GAP_BETWEEN_INPUTS_MS = 1000;
constexpr const char* NO_LOG_LINE =
    "neither an event trace nor an Android log: no line of it is one";

const std::optional<HostSetup> NO_SETUP;

LogImportSettings importSettings(const HostSetup& setup) {
    return {{setup.games.begin(), setup.games.end()}, setup.removals};
}

// Takes the first line off `rest`, without its line end.
std::string_view takeLine(std::string_view& rest) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

// Whether an input is a trace, by its first line that says something; `line` is empty when no line
// does.
bool isTrace(const std::string& name, InputKinds kinds, std::string_view line, std::size_t number) {
    if (kinds == InputKinds::tracesAndLogs) {
        return line.empty() || looksLikeTrace(line);
    }
    if (looksLikeTrace(line)) {
        throw InputError(name, number, "an event trace, where only Android logs are taken");
    }
    return false;
}

// A trace is read twice: once to check all of it, and once to play it.
class TraceFile : public Input {
 public:
    TraceFile(std::string name, std::string content)
        : Input(std::move(name)), mContent(std::move(content)) {
        rewind();
    }

    const std::optional<HostSetup>& recognise() override {
        next();  // only the first object can be the set-up
        mSetup = mReader->setup();
        rewind();
        return mSetup;
    }

    std::optional<Span> check(const HostSetup& /*setup*/) override {
        std::optional<Span> span;
        while (const auto object = next()) {
            if (!span) {
                span = {object->t, object->line, object->t, object->line};
            }
            span->lastT = object->t;
            span->lastLine = object->line;
        }
        rewind();
        return span;
    }

    std::optional<TraceObject> next() override {
        while (!mRest.empty()) {
            const std::string_view line = takeLine(mRest);
            if (auto object = mReader->readLine(line, ++mLine)) {
                return object;
            }
        }
        return std::nullopt;
    }

    Progress progress() const override { return {mContent.size() - mRest.size(), mContent.size()}; }

 private:
    void rewind() {
        mRest = mContent;
        mLine = 0;
        mReader.emplace(name());
    }

    const std::string mContent;
    std::string_view mRest;  // of mContent
    std::size_t mLine = 0;   // the last line taken
    std::optional<EventTraceReader> mReader;
    std::optional<HostSetup> mSetup;
};

class LogFile : public Input {
 public:
    LogFile(std::string name, std::string content)
        : Input(std::move(name)), mContent(std::move(content)) {}

    const std::optional<HostSetup>& recognise() override { return NO_SETUP; }

    std::optional<Span> check(const HostSetup& setup) override {
        if (!AndroidLogImporter::importFile(mContent, importSettings(setup), mEvents)) {
            throw InputError(name(), 1, NO_LOG_LINE);
        }
        mContent = {};
        if (mEvents.empty()) {
            return std::nullopt;
        }
        const TraceObject& first = mEvents.front();
        const TraceObject& last = mEvents.back();
        return Span{first.t, first.line, last.t, last.line};
    }

    std::optional<TraceObject> next() override {
        if (mNext == mEvents.size()) {
            return std::nullopt;
        }
        return std::move(mEvents[mNext++]);
    }

    Progress progress() const override { return {mNext, mEvents.size()}; }

 private:
    std::string mContent;
    std::vector<TraceObject> mEvents;
    std::size_t mNext = 0;
};

// Standard input, line by line as it arrives.
class LiveInput : public Input {
 public:
    explicit LiveInput(InputKinds kinds) : Input("-"), mKinds(kinds), mTrace("-") {}

    const std::optional<HostSetup>& recognise() override {
        std::string_view first;
        while (first.empty() && readLine()) {
            if (!isSkippedTraceLine(mText)) {
                first = mText;
            }
        }
        mIsTrace = isTrace(name(), mKinds, first, mLine);
        if (mIsTrace) {
            push();
        }
        return mTrace.setup();
    }

    std::optional<Span> check(const HostSetup& setup) override {
        if (!mIsTrace) {
            mLog.emplace(importSettings(setup));
            push();
        }
        return std::nullopt;
    }

    std::optional<TraceObject> next() override {
        while (mWaiting.empty()) {
            if (!readLine()) {
                if (mLog && !mLog->sawLogLine() && !wasInterrupted()) {
                    throw InputError(name(), 1, NO_LOG_LINE);
                }
                return std::nullopt;
            }
            push();
        }
        TraceObject object = std::move(mWaiting.front());
        mWaiting.pop_front();
        return object;
    }

 private:
    bool readLine() {
        if (!mInput.readLine(mText)) {
            mText.clear();
            return false;
        }
        ++mLine;
        return true;
    }

    // Makes of the last line read what it becomes.
    void push() {
        if (!mLog) {
            if (auto object = mTrace.readLine(mText, mLine)) {
                mWaiting.push_back(std::move(*object));
            }
            return;
        }
        std::vector<TraceObject> events;
        mLog->importLine(mText, mLine, events);
        std::move(events.begin(), events.end(), std::back_inserter(mWaiting));
    }

    InputKinds mKinds;
    StandardInput mInput;
    bool mIsTrace = true;
    EventTraceReader mTrace;
    std::optional<AndroidLogImporter> mLog;
    std::string mText;      // the last line read
    std::size_t mLine = 0;  // its number
    std::deque<TraceObject> mWaiting;
};

std::unique_ptr<Input> openFile(const std::string& name, InputKinds kinds) {
    std::string content = readFile(name);
    std::string_view rest = content;
    std::string_view first;
    std::size_t number = 0;
    while (first.empty() && !rest.empty()) {
        const std::string_view line = takeLine(rest);
        ++number;
        if (!isSkippedTraceLine(line)) {
            first = line;
        }
    }
    if (isTrace(name, kinds, first, number)) {
        return std::make_unique<TraceFile>(name, std::move(content));
    }
    return std::make_unique<LogFile>(name, std::move(content));
}

// A `t` moved by `shift`, or an error that tells whose `t` does not fit.
int64_t movedBy(int64_t t, int64_t shift, const std::string& name, std::size_t line) {
    int64_t moved = 0;
    if (__builtin_add_overflow(t, shift, &moved)) {
        throw InputError(name, line,
                         "\"t\" does not fit once the input has been moved behind the one before "
                         "it");
    }
    return moved;
}

// How far an input that begins at `first`, on that line, is moved behind one that ended at `last`.
int64_t shiftBehind(std::optional<int64_t> last, int64_t first, const std::string& name,
                    std::size_t line) {
    if (!last || first >= *last) {
        return 0;
    }
    const int64_t begin = movedBy(*last, GAP_BETWEEN_INPUTS_MS, name, line);
    int64_t shift = 0;
    if (__builtin_sub_overflow(begin, first, &shift)) {
        throw InputError(name, line, "\"t\" is too far before the end of the input before it");
    }
    return shift;
}

}  // namespace

std::unique_ptr<Input> openInput(const std::string& name, InputKinds kinds) {
    if (name == "-") {
        return std::make_unique<LiveInput>(kinds);
    }
    return openFile(name, kinds);
}

InputSequence::InputSequence(const std::vector<std::string>& names,
                             const std::optional<std::string>& hostFile, InputKinds kinds)
    : mHasHostFile(hostFile.has_value()) {
    if (std::count(names.begin(), names.end(), "-") > 1) {
        throw InputError("standard input (-) can be an input only once");
    }
    for (const std::string& name : names) {
        mInputs.push_back(openInput(name, kinds));
    }
    chooseSetup(hostFile);
    checkFiles();
}

void InputSequence::chooseSetup(const std::optional<std::string>& hostFile) {
    Input& first = *mInputs.front();
    mSetup = hostFile ? readSetupFile(*hostFile) : first.recognise().value_or(HostSetup{});
    for (const auto& input : mInputs) {
        if (!input->isLive()) {
            expectSameSetup(*input);
        }
    }
    if (first.isLive() && !hostFile) {
        first.check(mSetup);
        mBegan = true;
    }
}

// There is one host for all inputs, so none may ask for another one than it plays.
void InputSequence::expectSameSetup(Input& input) {
    const std::optional<HostSetup>& setup = input.recognise();
    if (!mHasHostFile && setup && *setup != mSetup) {
        throw InputError(input.name() + ": its host set-up differs from that of " +
                         mInputs.front()->name() + "; give the one to play with --host");
    }
}

void InputSequence::checkFiles() {
    bool sawLive = false;
    bool sawObject = false;
    std::optional<int64_t> last;
    for (const auto& input : mInputs) {
        if (input->isLive()) {
            sawLive = true;
            continue;
        }
        const auto span = input->check(mSetup);
        if (!span || sawLive) {
            continue;  // where a live input ends is not known yet
        }
        if (!std::exchange(sawObject, true)) {
            mFirstT = span->firstT;
        }
        const int64_t shift = shiftBehind(last, span->firstT, input->name(), span->firstLine);
        last = movedBy(span->lastT, shift, input->name(), span->lastLine);
    }
}

void InputSequence::begin(Input& input) {
    mBegan = true;
    if (input.isLive()) {
        expectSameSetup(input);
        input.check(mSetup);
    }
}

std::optional<TraceObject> InputSequence::next() {
    while (mCurrent < mInputs.size()) {
        Input& input = *mInputs[mCurrent];
        if (!mBegan) {
            begin(input);
        }
        if (auto object = input.next()) {
            if (!mShift) {
                mShift = shiftBehind(mLastT, object->t, input.name(), object->line);
            }
            object->t = movedBy(object->t, *mShift, input.name(), object->line);
            mLastT = object->t;
            return object;
        }
        ++mCurrent;
        mBegan = false;
        mShift.reset();
    }
    return std::nullopt;
}

bool InputSequence::hasLiveInput() const {
    return std::any_of(mInputs.begin(), mInputs.end(),
                       [](const auto& input) { return input->isLive(); });
}

Input::Progress InputSequence::progress() const {
    return mCurrent < mInputs.size() ? mInputs[mCurrent]->progress() : Input::Progress{};
}

}  // namespace kestrel
