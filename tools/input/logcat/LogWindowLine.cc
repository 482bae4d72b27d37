#include "tools/input/logcat/LogWindowLine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kestrel {

namespace {

constexpr std::string_view KS_PRIORITIES = "VDIWEA";

// "DIGITS-DIGITS", with nothing behind it but the process.
bool takeThread(TextScanner& scanner) {
    TextScanner ahead = scanner;
    if (!ahead.takeNumber<uint64_t>() || !ahead.take("-") || !ahead.takeNumber<uint64_t>()) {
        return false;
    }
    if (!ahead.rest.empty() && ahead.rest[0] != ' ' && ahead.rest[0] != '/') {
        return false;
    }
    scanner = ahead;
    return true;
}

// Names that are too long for their column are cut in the middle.
bool isCut(std::string_view tag) {
    return tag.find("...") != std::string_view::npos;
}

// "P/TAG: TEXT" or, with the tag hidden, "P: TEXT".
std::optional<AndroidLogLine> oldLine(std::string_view text) {
    if (text.size() < 2 || KS_PRIORITIES.find(text[0]) == std::string_view::npos) {
        return std::nullopt;
    }
    if (text.substr(1).starts_with(": ")) {
        return AndroidLogLine{
            .format = LogFormat::oldLogWindow, .text = text.substr(3), .hasTag = false};
    }
    const size_t colon = colonBehindTag(text);
    if (text[1] != '/' || colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view tag = withoutPadding(text.substr(2, colon - 2));
    return AndroidLogLine{.format = LogFormat::oldLogWindow,
                          .tag = tag,
                          .text = textBehindColon(text, colon),
                          .hasTag = !isCut(tag)};
}

bool isSystemProcess(std::string_view word) {
    return word == "system_server" || word == "system_process" ||
           (word.starts_with("pid-") && wholeNumber<uint64_t>(word.substr(4)));
}

// Where the priority stands: the first of its letters with a blank before it and two behind it.
size_t findPriority(std::string_view text) {
    for (size_t at = text.find("  ", 1); at < text.size(); at = text.find("  ", at + 1)) {
        if (at >= 2 && text[at - 2] == ' ' &&
            KS_PRIORITIES.find(text[at - 1]) != std::string_view::npos) {
            return at - 1;
        }
    }
    return std::string_view::npos;
}

std::optional<AndroidLogLine> newLine(std::string_view rest) {
    const size_t priority = findPriority(rest);
    if (priority == std::string_view::npos) {
        return std::nullopt;
    }
    TextScanner columns{rest.substr(0, priority)};
    columns.skipBlanks();
    takeThread(columns);
    const std::string_view tag = columns.takeWord();
    const bool hasTag = !tag.empty() && !isCut(tag) && !isSystemProcess(tag);
    return AndroidLogLine{.format = LogFormat::logWindow,
                          .tag = tag,
                          .text = rest.substr(priority + 3),
                          .hasTag = hasTag};
}

}  // namespace

std::optional<AndroidLogLine> parseLogWindowLine(std::string_view rest) {
    TextScanner scanner{rest};
    scanner.skipBlanks();
    if (auto line = oldLine(scanner.rest)) {
        return line;
    }
    scanner.takeWord();  // whose line it is: process and thread, or one of them
    if (auto line = oldLine(scanner.rest.substr(std::min<size_t>(1, scanner.rest.size())))) {
        return line;
    }
    return newLine(rest);
}

}  // namespace kestrel
