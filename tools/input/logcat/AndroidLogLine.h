#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "tools/base/TextScanner.h"
#include "tools/input/logcat/PrintedTime.h"

namespace kestrel {

// The formats in which `adb logcat`, or the log window of an IDE, prints lines.
enum class LogFormat {
    brief,
    tag,
    process,
    thread,
    raw,
    time,
    threadtime,
    longFormat,
    logWindow,     // with columns, since 2021
    oldLogWindow,  // before
};

const char* toText(LogFormat format);

// One line of what `adb logcat` prints, with any of its modifiers, or of what a log window copies.
// For format long it is the head of an entry. A line in format raw is none: it is only a text.
// Ownership: borrows the line.
struct AndroidLogLine {
    LogFormat format{};
    std::optional<PrintedTime> time = std::nullopt;  // as far as the format has one
    std::string_view tag = {};                       // without the blanks that pad it
    std::string_view text = {};  // a head has none: the lines below it are its text
    bool hasTag = true;          // false: the tag is not there, or cut; only the text can tell

    bool isHead() const { return format == LogFormat::longFormat; }
};

// Nothing when the line is not a log line. Takes any bytes; a line without its line end, without
// colours. `times` are those of the lines before it.
std::optional<AndroidLogLine> parseAndroidLogLine(std::string_view line, PrintedTimeReader& times);

// ---- For the lines of a log window too.

bool isPriority(std::string_view text);

// A tag that is short is padded with blanks behind it.
std::string_view withoutPadding(std::string_view tag);

// Where the colon is that ends the tag with which the line begins. A tag may hold colons; a blank
// follows the one that ends it, unless the text is empty. npos: there is none.
std::size_t colonBehindTag(std::string_view line);
std::string_view textBehindColon(std::string_view line, std::size_t colon);

}  // namespace kestrel
