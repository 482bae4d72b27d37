#pragma once

#include <optional>
#include <string_view>

#include "tools/input/logcat/AndroidLogLine.h"

namespace kestrel {

// What stands behind the time, from the blank on, of a line that was copied from the log window of
// an IDE, of either generation:
//     [PID-TID[/PROCESS]] P/TAG: TEXT
//     [PID-TID] [TAG] [PROCESS] P  TEXT
// Every column can be hidden. The text decides where the tag is not there, was cut in the middle,
// or the first word in its place is the process of the system.
std::optional<AndroidLogLine> parseLogWindowLine(std::string_view rest);

}  // namespace kestrel
