#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "host/linux/HostSetup.h"
#include "tools/input/InputSummary.h"
#include "tools/input/TraceObject.h"

namespace kestrel {

// One input of a replay or an import: an event trace or an Android log, from a file or as it
// arrives on standard input. First it is recognised, then it is checked for the set-up that the
// host will play, and only then it yields its objects.
// Errors: every operation throws InputError, with file and line where there is one.

// The first and the last object of a file.
struct InputSpan {
    int64_t firstT;
    std::size_t firstLine;
    int64_t lastT;
    std::size_t lastLine;
};

// How much of an input has been delivered, and of how much; 0 of 0 where nobody knows.
struct InputProgress {
    std::size_t done = 0;
    std::size_t total = 0;
};

// An input that yields its objects: all of a file is right, what arrives live is checked then.
class CheckedInput {
 public:
    CheckedInput() = default;
    virtual ~CheckedInput() = default;
    CheckedInput(const CheckedInput&) = delete;
    CheckedInput& operator=(const CheckedInput&) = delete;

    // The next object; none at the end, or when the user wants no more.
    virtual std::optional<TraceObject> next() = 0;

    // Whether there is nothing more. A live input knows once its end has been met.
    virtual bool isAtEnd() const = 0;

    // What a file that has just been checked spans; none for one without objects, and for standard
    // input, which has yet to arrive.
    virtual std::optional<InputSpan> span() const { return std::nullopt; }

    virtual InputProgress progress() const { return {}; }

    // What the input was found to be so far; complete at the end. Its clock is known once there is
    // an object.
    virtual InputSummary summary() const { return {}; }
};

// An input whose kind is known, and with it the set-up that it asks for.
class RecognisedInput {
 public:
    RecognisedInput() = default;
    virtual ~RecognisedInput() = default;
    RecognisedInput(const RecognisedInput&) = delete;
    RecognisedInput& operator=(const RecognisedInput&) = delete;

    // What the input says the host is; none: nothing.
    virtual const std::optional<HostSetup>& setup() const = 0;

    // Hands all that it has over, so this is the last call.
    virtual std::unique_ptr<CheckedInput> check(const HostSetup& setup) && = 0;
};

}  // namespace kestrel
