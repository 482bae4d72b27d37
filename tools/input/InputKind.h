#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tools/base/InputError.h"

namespace kestrel {

// How the kinds of inputs are told apart: by their first bytes, never by their names.

// What a command wants of its inputs.
struct InputOptions {
    bool takesTraces = true;               // event traces too
    bool takesEmpty = true;                // as a trace without objects, where traces are taken
    std::optional<std::string> package{};  // of benchmark results, which do not say it
};

enum class InputKind {
    eventTrace,
    logText,  // or a text without any sign of what it is
    logExport,
    bugReport,
    startInfo,
    perfettoTrace,
    ftrace,
    benchmark,
    compressed,
    archive,
    utf16Text,
};

// How many of the first bytes are enough to tell.
inline constexpr std::size_t KS_TELLING_SIZE = std::size_t{64} << 10;

// By the first KS_TELLING_SIZE bytes, or by all of an input that has less.
InputKind inputKindOf(std::string_view beginning);

// The same by the bytes that have arrived so far; nothing as long as more may tell otherwise.
std::optional<InputKind> arrivingKindOf(std::string_view arrived);

// Whether there is nothing in it but blank lines and comments, with which a trace can begin.
bool saysNothing(std::string_view beginning);

// Whether a line of a trace says nothing: blank, or a comment.
bool isSkippedTraceLine(std::string_view line);

// The input is of no kind that is taken. In a folder or an archive such a part is passed over.
class NoInput : public InputError {
 public:
    NoInput(const std::string& name, const std::string& why)
        : InputError(name + ": " + why), mWhy(why) {}

    const std::string& why() const { return mWhy; }

 private:
    std::string mWhy;
};

// That no line is a log line and, where the beginning tells, what the file is instead.
NoInput noInput(const std::string& name, std::string_view beginning);

}  // namespace kestrel
