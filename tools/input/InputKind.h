#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrel {

// How event traces and Android logs are told apart: by the first line that says something.

// Which kinds of input a command takes.
enum class InputKinds { tracesAndLogs, logsOnly };

// Whether a line of a trace says nothing: blank, or a comment.
bool isSkippedTraceLine(std::string_view line);

// Whether an input is a trace, by its first line that says something, which is empty when no line
// does. Throws InputError for a trace where only logs are taken.
bool isTrace(InputKinds kinds, std::string_view line, const std::string& inputName,
             std::size_t lineNumber);

}  // namespace kestrel
