#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/input/TraceObject.h"

namespace kestrel {

// Which kinds of input a command takes.
enum class InputKinds { tracesAndLogs, logsOnly };

// One input of a replay or an import: an event trace or an Android log, from a file or as it
// arrives on standard input. The kind is recognised from the first line that says something.
// Errors: every operation throws InputError, with file and line where there is one.
class Input {
 public:
    virtual ~Input() = default;
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    const std::string& name() const { return mName; }  // "-": standard input
    bool isLive() const { return mName == "-"; }

    // Reads as far as the kind and the set-up need, and returns the set-up that the input brings.
    virtual const std::optional<HostSetup>& recognise() = 0;

    // The first and the last object of a file.
    struct Span {
        int64_t firstT;
        std::size_t firstLine;
        int64_t lastT;
        std::size_t lastLine;
    };

    // Checks all of a file; `setup` is what the host will play. Returns what the file spans; none
    // for an input without objects, and for standard input, which has yet to arrive.
    // REQUIRES: a file has been recognised.
    virtual std::optional<Span> check(const HostSetup& setup) = 0;

    // The next object; none at the end. REQUIRES: recognised and checked.
    virtual std::optional<TraceObject> next() = 0;

    // How much of the input has been read, and of how much; 0 of 0 where nobody knows.
    struct Progress {
        std::size_t done = 0;
        std::size_t total = 0;
    };
    virtual Progress progress() const { return {}; }

 protected:
    explicit Input(std::string name) : mName(std::move(name)) {}

 private:
    std::string mName;
};

std::unique_ptr<Input> openInput(const std::string& name, InputKinds kinds);

// Several inputs, played one after the other on one clock: one that begins before the last `t` of
// what came before is moved as a whole, to begin 1000 ms after it.
class InputSequence {
 public:
    // Opens all and finds the one set-up for them: that of `hostFile` if it is given, else what the
    // first input brings; others must agree. Then checks all files. Standard input is not waited
    // for, unless it comes first and its set-up is needed.
    InputSequence(const std::vector<std::string>& names, const std::optional<std::string>& hostFile,
                  InputKinds kinds);

    const HostSetup& setup() const { return mSetup; }

    // The first `t` of all, as far as the files tell it; 0 when there is none, or when it has yet
    // to arrive.
    int64_t firstT() const { return mFirstT; }

    // The next object, with its `t` on the common clock; none at the end.
    std::optional<TraceObject> next();

    bool hasLiveInput() const;
    bool isAtEnd() const { return mCurrent >= mInputs.size(); }
    const std::string& currentName() const { return mInputs[mCurrent]->name(); }
    bool currentIsLive() const { return mInputs[mCurrent]->isLive(); }
    Input::Progress progress() const;

 private:
    void chooseSetup(const std::optional<std::string>& hostFile);
    void expectSameSetup(Input& input);
    void checkFiles();
    void begin(Input& input);

    std::vector<std::unique_ptr<Input>> mInputs;
    bool mHasHostFile;
    HostSetup mSetup;
    int64_t mFirstT = 0;
    std::size_t mCurrent = 0;
    bool mBegan = false;            // the current input has been begun
    std::optional<int64_t> mLastT;  // on the common clock
    std::optional<int64_t> mShift;  // of the current input, once its first object is known
};

}  // namespace kestrel
