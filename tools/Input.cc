#include "tools/Input.h"

#include <algorithm>
#include <deque>
#include <iostream>
#include <string_view>
#include <utility>

#include "tools/AndroidLogImporter.h"
#include "tools/EventTrace.h"
#include "tools/FileContent.h"
#include "tools/InputError.h"

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

// A trace is read twice: once to check all of it, and once to play it.
class TraceFile : public Input {
 public:
    TraceFile(std::string name, std::string content)
        : Input(std::move(name)), mContent(std::move(content)) {
        rewind();
        // Only the first object can be the set-up.
        while (!mRest.empty() && isSkippedTraceLine(peekLine())) {
            takeNextLine();
        }
        if (!mRest.empty()) {
            mReader->readLine(peekLine(), mLine + 1);
        }
        mSetup = mReader->setup();
        rewind();
    }

    const std::optional<HostSetup>& setup() const override { return mSetup; }

    std::optional<Span> check(const HostSetup& /*setup*/) override {
        std::optional<Span> span;
        while (const auto object = next()) {
            span = {span ? span->first : object->t, object->t};
        }
        rewind();
        return span;
    }

    std::optional<TraceObject> next() override {
        while (!mRest.empty()) {
            const std::string_view line = takeNextLine();
            if (auto object = mReader->readLine(line, mLine)) {
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

    std::string_view peekLine() const {
        std::string_view rest = mRest;
        return takeLine(rest);
    }

    std::string_view takeNextLine() {
        ++mLine;
        return takeLine(mRest);
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

    const std::optional<HostSetup>& setup() const override { return NO_SETUP; }

    std::optional<Span> check(const HostSetup& setup) override {
        if (!AndroidLogImporter::importFile(mContent, importSettings(setup), mEvents)) {
            throw InputError(name(), 1, NO_LOG_LINE);
        }
        mContent = {};
        if (mEvents.empty()) {
            return std::nullopt;
        }
        return Span{mEvents.front().t, mEvents.back().t};
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
class LiveTrace : public Input {
 public:
    LiveTrace() : Input("-"), mReader("-") {}

    // The lines that were read to find out the kind.
    void push(std::string_view line) {
        if (auto object = mReader.readLine(line, ++mLine)) {
            mWaiting = std::move(object);
        }
    }

    const std::optional<HostSetup>& setup() const override { return mReader.setup(); }

    std::optional<Span> check(const HostSetup& /*setup*/) override { return std::nullopt; }

    std::optional<TraceObject> next() override {
        if (mWaiting) {
            return std::exchange(mWaiting, std::nullopt);
        }
        std::string line;
        while (std::getline(std::cin, line)) {
            if (auto object = mReader.readLine(line, ++mLine)) {
                return object;
            }
        }
        return std::nullopt;
    }

 private:
    EventTraceReader mReader;
    std::size_t mLine = 0;
    std::optional<TraceObject> mWaiting;
};

class LiveLog : public Input {
 public:
    explicit LiveLog(std::vector<std::string> firstLines)
        : Input("-"), mFirstLines(std::move(firstLines)) {}

    const std::optional<HostSetup>& setup() const override { return NO_SETUP; }

    std::optional<Span> check(const HostSetup& setup) override {
        mImporter.emplace(importSettings(setup));
        for (const std::string& line : std::exchange(mFirstLines, {})) {
            import(line);
        }
        return std::nullopt;
    }

    std::optional<TraceObject> next() override {
        std::string line;
        while (mNext == mEvents.size() && std::getline(std::cin, line)) {
            mEvents.clear();
            mNext = 0;
            import(line);
        }
        if (mNext < mEvents.size()) {
            return std::move(mEvents[mNext++]);
        }
        if (!mImporter->sawLogLine()) {
            throw InputError(name(), 1, NO_LOG_LINE);
        }
        return std::nullopt;
    }

 private:
    void import(std::string_view line) { mImporter->importLine(line, ++mLine, mEvents); }

    std::vector<std::string> mFirstLines;  // read to find out the kind
    std::optional<AndroidLogImporter> mImporter;
    std::size_t mLine = 0;
    std::vector<TraceObject> mEvents;  // of the last lines
    std::size_t mNext = 0;
};

// The input of a kind that shows in its first line that says something; `line` is that line, and
// empty when there is none.
bool isTrace(const std::string& name, InputKinds kinds, std::string_view line, std::size_t number) {
    if (kinds == InputKinds::tracesAndLogs) {
        return line.empty() || looksLikeTrace(line);
    }
    if (looksLikeTrace(line)) {
        throw InputError(name, number, "an event trace, where only Android logs are taken");
    }
    return false;
}

std::unique_ptr<Input> openLive(const std::string& name, InputKinds kinds) {
    std::vector<std::string> lines;
    std::string_view first;
    for (std::string line; first.empty() && std::getline(std::cin, line);) {
        lines.push_back(line);
        if (!isSkippedTraceLine(line)) {
            first = lines.back();
        }
    }
    if (!isTrace(name, kinds, first, lines.size())) {
        return std::make_unique<LiveLog>(std::move(lines));
    }
    auto trace = std::make_unique<LiveTrace>();
    for (const std::string& line : lines) {
        trace->push(line);
    }
    return trace;
}

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

// Adds to a `t`, or says which line's does not fit.
int64_t movedBy(int64_t t, int64_t shift, const std::string& name, std::size_t line) {
    int64_t moved = 0;
    if (__builtin_add_overflow(t, shift, &moved)) {
        throw InputError(name, line,
                         "\"t\" does not fit once the input has been moved behind "
                         "the one before it");
    }
    return moved;
}

// How far an input that begins at `first` is moved behind one that ended at `last`.
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
    return name == "-" ? openLive(name, kinds) : openFile(name, kinds);
}

InputSequence::InputSequence(const std::vector<std::string>& names, const std::string& hostFile,
                             InputKinds kinds) {
    if (std::count(names.begin(), names.end(), "-") > 1) {
        throw InputError("standard input (-) can be an input only once");
    }
    // Files first: a wrong one is told before anything is awaited on standard input.
    mInputs.resize(names.size());
    for (const bool live : {false, true}) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            if ((names[i] == "-") == live) {
                mInputs[i] = openInput(names[i], kinds);
            }
        }
    }
    chooseSetup(hostFile);
    checkAll();
}

void InputSequence::chooseSetup(const std::string& hostFile) {
    if (!hostFile.empty()) {
        mSetup = readSetupFile(hostFile);
        return;
    }
    // There is one host for all inputs, so they must not ask for different ones.
    mSetup = mInputs.front()->setup().value_or(HostSetup{});
    for (const auto& input : mInputs) {
        if (input->setup() && *input->setup() != mSetup) {
            throw InputError(input->name() + ": its host set-up differs from that of " +
                             mInputs.front()->name() + "; give the one to play with --host");
        }
    }
}

void InputSequence::checkAll() {
    bool sawLive = false;
    bool sawObject = false;
    std::optional<int64_t> last;
    for (const auto& input : mInputs) {
        const auto span = input->check(mSetup);
        sawLive = sawLive || input->isLive();
        if (!span || sawLive) {
            continue;  // where a live input ends is not known yet
        }
        if (!std::exchange(sawObject, true)) {
            mFirstT = span->first;
        }
        const int64_t shift = shiftBehind(last, span->first, input->name(), 1);
        last = movedBy(span->last, shift, input->name(), 1);
    }
}

std::optional<TraceObject> InputSequence::next() {
    while (mCurrent < mInputs.size()) {
        Input& input = *mInputs[mCurrent];
        if (auto object = input.next()) {
            if (!mShift) {
                mShift = shiftBehind(mLastT, object->t, input.name(), object->line);
            }
            object->t = movedBy(object->t, *mShift, input.name(), object->line);
            mLastT = object->t;
            return object;
        }
        ++mCurrent;
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
