#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/TraceObject.h"

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

    // The host's set-up that the input itself brings.
    virtual const std::optional<HostSetup>& setup() const = 0;

    // The first and the last `t` of a file.
    struct Span {
        int64_t first;
        int64_t last;
    };

    // Checks all of a file; `setup` is what the host will play. Returns the times that the file
    // spans; none for an input without objects, and for standard input, which has yet to arrive.
    virtual std::optional<Span> check(const HostSetup& setup) = 0;

    // The next object; none at the end. REQUIRES: check.
    virtual std::optional<TraceObject> next() = 0;

    // How much of the input has been read, and of how much; 0 of 0 where nobody knows.
    struct Progress {
        std::size_t done = 0;
        std::size_t total = 0;
    };
    virtual Progress progress() const { return {}; }

    bool isLive() const { return mName == "-"; }

 protected:
    explicit Input(std::string name) : mName(std::move(name)) {}

 private:
    std::string mName;
};

// Opens one input; of standard input, reads as far as its kind and set-up need.
std::unique_ptr<Input> openInput(const std::string& name, InputKinds kinds);

// Several inputs, played one after the other on one clock: one that begins before the last `t` of
// what came before is moved as a whole, to begin 1000 ms after it.
class InputSequence {
 public:
    // Opens all and finds the one set-up for them: `hostFile` if there is one, else what the inputs
    // say. Then checks all files. Throws InputError.
    InputSequence(const std::vector<std::string>& names, const std::string& hostFile,
                  InputKinds kinds);

    const HostSetup& setup() const { return mSetup; }

    // The first `t` of all, as far as the files tell it; 0 when there is none, or when it has yet
    // to arrive.
    int64_t firstT() const { return mFirstT; }

    // The next object, with its `t` on the common clock; none at the end.
    std::optional<TraceObject> next();

    bool hasLiveInput() const;
    Input::Progress progress() const;

 private:
    void chooseSetup(const std::string& hostFile);
    void checkAll();

    std::vector<std::unique_ptr<Input>> mInputs;
    std::size_t mCurrent = 0;
    HostSetup mSetup;
    int64_t mFirstT = 0;
    std::optional<int64_t> mLastT;  // on the common clock
    std::optional<int64_t> mShift;  // of the current input, once it has begun
};
