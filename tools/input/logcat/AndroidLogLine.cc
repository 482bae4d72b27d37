#include "tools/input/logcat/AndroidLogLine.h"

#include <algorithm>
#include <cstddef>

#include "tools/input/logcat/LogWindowLine.h"

namespace kestrel {

namespace {

bool isNumber(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, isDigit);
}

// Old logs print the thread in hexadecimal.
bool isThread(std::string_view text) {
    if (!text.starts_with("0x")) {
        return isNumber(text);
    }
    return text.size() > 2 &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string_view::npos;
}

// "[UID:]NUMBER[:NUMBER]) ", behind the bracket of formats process and thread.
struct Owner {
    size_t numbers = 0;    // or a name in the place of the first
    bool hasName = false;  // of the user
    bool isValid = false;
};

Owner takeOwner(TextScanner& scanner) {
    Owner owner;
    do {
        scanner.skipBlanks();
        const std::string_view number = scanner.takeUntil(" :()");
        owner.isValid = isNumber(number);
        owner.hasName = owner.hasName || !owner.isValid;
        ++owner.numbers;
    } while (scanner.take(":") && owner.numbers < 3);
    owner.isValid = owner.isValid && scanner.take(")");
    return owner;
}

// "[UID:]PID): ", behind the bracket of formats brief and time.
bool takeOwnerOfTag(TextScanner& scanner) {
    const Owner owner = takeOwner(scanner);
    return owner.isValid && owner.numbers <= 2 && scanner.take(":") &&
           (scanner.take(" ") || scanner.rest.empty());
}

// "P/TAG([UID:]PID): TEXT", all of format brief and the rest of format time. A tag may hold
// brackets: the first that encloses a process id ends it. "P/TAG: TEXT" is all of format tag.
std::optional<AndroidLogLine> taggedLine(std::string_view line) {
    if (line.size() < 2 || line[1] != '/' || !isPriority(line.substr(0, 1))) {
        return std::nullopt;
    }
    line.remove_prefix(2);
    const size_t colon = colonBehindTag(line);
    for (size_t bracket = line.find('('); bracket < colon; bracket = line.find('(', bracket + 1)) {
        TextScanner scanner{line.substr(bracket + 1)};
        if (takeOwnerOfTag(scanner)) {
            return AndroidLogLine{.format = LogFormat::brief,
                                  .tag = withoutPadding(line.substr(0, bracket)),
                                  .text = scanner.rest};
        }
    }
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    return AndroidLogLine{.format = LogFormat::tag,
                          .tag = withoutPadding(line.substr(0, colon)),
                          .text = textBehindColon(line, colon)};
}

// "P([UID:]PID) TEXT  (TAG)", format process, or "P([UID:]PID:TID) TEXT", format thread.
std::optional<AndroidLogLine> untaggedLine(std::string_view line) {
    if (line.size() < 2 || line[1] != '(' || !isPriority(line.substr(0, 1))) {
        return std::nullopt;
    }
    TextScanner scanner{line.substr(2)};
    const Owner owner = takeOwner(scanner);
    if (!owner.isValid || !scanner.take(" ")) {
        return std::nullopt;
    }
    const std::string_view text = scanner.rest;
    const size_t bracket = text.ends_with(')') ? text.rfind("  (") : std::string_view::npos;
    if (owner.numbers < 3 && bracket != std::string_view::npos) {
        const std::string_view tag = text.substr(bracket + 3);
        return AndroidLogLine{.format = LogFormat::process,
                              .tag = withoutPadding(tag.substr(0, tag.size() - 1)),
                              .text = text.substr(0, bracket)};
    }
    if (owner.numbers < 2 || (owner.numbers == 2 && owner.hasName)) {
        return std::nullopt;
    }
    return AndroidLogLine{.format = LogFormat::thread, .text = text, .hasTag = false};
}

// "[UID] PID TID P TAG: TEXT", the rest of format threadtime.
std::optional<AndroidLogLine> threadLine(TextScanner scanner) {
    std::string_view pid = scanner.takeWord();
    std::string_view tid = scanner.takeWord();
    std::string_view priority = scanner.takeWord();
    if (!isPriority(priority)) {  // the first word was a user id, which can be a name
        pid = tid;
        tid = priority;
        priority = scanner.takeWord();
    }
    if (!isNumber(pid) || !isNumber(tid) || !isPriority(priority) || !scanner.take(" ")) {
        return std::nullopt;
    }
    const size_t colon = colonBehindTag(scanner.rest);
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    return AndroidLogLine{.format = LogFormat::threadtime,
                          .tag = withoutPadding(scanner.rest.substr(0, colon)),
                          .text = textBehindColon(scanner.rest, colon)};
}

// "[UID:]PID:TID P/TAG ]", the rest of a head in format long.
std::optional<AndroidLogLine> headLine(TextScanner scanner) {
    scanner.skipBlanks();
    std::string_view pid = scanner.takeUntil(" :");
    if (!scanner.take(":")) {
        return std::nullopt;
    }
    scanner.skipBlanks();
    std::string_view tid = scanner.takeUntil(" :");
    if (scanner.take(":")) {  // the first was a user id
        pid = tid;
        scanner.skipBlanks();
        tid = scanner.takeUntil(" :");
    }
    if (!isNumber(pid) || !isThread(tid) || !scanner.take(" ") || scanner.rest.size() < 2 ||
        !isPriority(scanner.rest.substr(0, 1)) || scanner.rest[1] != '/') {
        return std::nullopt;
    }
    std::string_view tag = scanner.rest.substr(2);
    if (!tag.ends_with(" ]")) {
        return std::nullopt;
    }
    tag.remove_suffix(2);
    return AndroidLogLine{.format = LogFormat::longFormat, .tag = withoutPadding(tag)};
}

// What stands behind the time, from the blank on. A time of day alone is a log window's.
std::optional<AndroidLogLine> parseBehindTime(std::string_view rest, PrintedTime::Kind kind) {
    if (kind != PrintedTime::Kind::timeOfDay) {
        if (auto line = threadLine(TextScanner{rest})) {
            return line;
        }
        auto line = taggedLine(rest.substr(1));
        if (line && line->format == LogFormat::brief) {
            line->format = LogFormat::time;
            return line;
        }
    }
    return parseLogWindowLine(rest);
}

}  // namespace

const char* toText(LogFormat format) {
    switch (format) {
        case LogFormat::brief:
            return "brief";
        case LogFormat::tag:
            return "tag";
        case LogFormat::process:
            return "process";
        case LogFormat::thread:
            return "thread";
        case LogFormat::raw:
            return "raw";
        case LogFormat::time:
            return "time";
        case LogFormat::threadtime:
            return "threadtime";
        case LogFormat::longFormat:
            return "long";
        case LogFormat::logWindow:
        case LogFormat::oldLogWindow:
            break;
    }
    return "log window";
}

std::optional<AndroidLogLine> parseAndroidLogLine(std::string_view line, PrintedTimeReader& times) {
    if (auto brief = taggedLine(line)) {
        return brief;
    }
    if (auto untagged = untaggedLine(line)) {
        return untagged;
    }
    TextScanner scanner{line};
    const bool isHead = scanner.take("[ ");
    const auto time = times.take(scanner);
    if (!time) {
        return std::nullopt;
    }
    auto parsed = isHead ? headLine(scanner) : parseBehindTime(scanner.rest, time->kind);
    if (parsed) {
        parsed->time = time;
    }
    return parsed;
}

bool isPriority(std::string_view text) {
    if (text.size() != 1) {
        return false;
    }
    switch (text[0]) {
        case 'V':
        case 'D':
        case 'I':
        case 'W':
        case 'E':
        case 'F':
        case 'A':
        case 'S':
        case '?':
            return true;
        default:
            return false;
    }
}

std::string_view withoutPadding(std::string_view tag) {
    return tag.substr(0, tag.find_last_not_of(' ') + 1);
}

size_t colonBehindTag(std::string_view line) {
    const size_t colon = line.find(": ");
    return colon == std::string_view::npos && line.ends_with(':') ? line.size() - 1 : colon;
}

std::string_view textBehindColon(std::string_view line, size_t colon) {
    return line.substr(std::min(colon + 2, line.size()));
}

}  // namespace kestrel
