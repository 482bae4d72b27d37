#include "tools/input/logcat/AndroidLogLine.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

#include "tools/base/TextScanner.h"

namespace kestrel {

namespace {

constexpr std::string_view KS_DIGITS = "0123456789";
constexpr int KS_LEAP_YEAR = 2000;  // stands for a year that is not printed
constexpr int64_t KS_US_PER_SECOND = 1'000'000;
// Over 30,000 years: no log is that old, and sums of such times stay far from the limits.
constexpr int64_t KS_MAX_SECONDS = 999'999'999'999;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of(KS_DIGITS) == std::string_view::npos;
}

// Old logs print the thread in hexadecimal.
bool isThread(std::string_view text) {
    if (!text.starts_with("0x")) {
        return isNumber(text);
    }
    return text.size() > 2 &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string_view::npos;
}

bool isPriority(std::string_view text) {
    return text.size() == 1 &&
           std::string_view("VDIWEFAS?").find(text[0]) != std::string_view::npos;
}

// A tag that is short is padded with blanks behind it.
std::string_view withoutPadding(std::string_view tag) {
    return tag.substr(0, tag.find_last_not_of(' ') + 1);
}

// Does the text begin like the shape, in which '0' stands for any digit?
bool hasShape(std::string_view text, std::string_view shape) {
    return text.size() >= shape.size() &&
           std::equal(shape.begin(), shape.end(), text.begin(),
                      [](char want, char c) { return want == '0' ? isDigit(c) : want == c; });
}

int twoDigits(std::string_view text, size_t at) {
    return (text[at] - '0') * 10 + (text[at + 1] - '0');
}

// `text` has the shape "00-00 00:00:00". Nothing when there is no such day or time of day.
std::optional<std::chrono::seconds> sinceStartOfYear(std::string_view text, int yearNumber) {
    using namespace std::chrono;
    const year thisYear(yearNumber);
    const year_month_day date(thisYear, month(static_cast<unsigned>(twoDigits(text, 0))),
                              day(static_cast<unsigned>(twoDigits(text, 3))));
    const hours hour(twoDigits(text, 6));
    const minutes minute(twoDigits(text, 9));
    const seconds second(twoDigits(text, 12));
    if (!date.ok() || hour >= hours(24) || minute >= minutes(60) || second > seconds(60)) {
        return std::nullopt;
    }
    return sys_days(date) - sys_days(thisYear / January / 1) + hour + minute + second;
}

// The '.' and the digits behind it; what is finer than a microsecond is dropped.
std::optional<int64_t> takeFractionUs(TextScanner& scanner) {
    if (!hasShape(scanner.rest, ".0")) {
        return std::nullopt;
    }
    scanner.rest.remove_prefix(1);
    int64_t us = 0;
    int64_t unitUs = KS_US_PER_SECOND / 10;
    for (; !scanner.rest.empty() && isDigit(scanner.rest[0]); scanner.rest.remove_prefix(1)) {
        us += (scanner.rest[0] - '0') * unitUs;
        unitUs /= 10;
    }
    return us;
}

// The date or the seconds in front of the fraction.
std::optional<PrintedTime> takeWholeSeconds(TextScanner& scanner) {
    PrintedTime time;
    if (hasShape(scanner.rest, "0000-00-00 00:00:00.")) {
        time.kind = PrintedTime::Kind::date;
        time.year = twoDigits(scanner.rest, 0) * 100 + twoDigits(scanner.rest, 2);
        scanner.rest.remove_prefix(5);
    } else if (hasShape(scanner.rest, "00-00 00:00:00.")) {
        time.kind = PrintedTime::Kind::dateWithoutYear;
    } else {
        const auto seconds = scanner.takeNumber<uint64_t>();
        if (!seconds || *seconds > KS_MAX_SECONDS) {
            return std::nullopt;
        }
        time.us = static_cast<int64_t>(*seconds) * KS_US_PER_SECOND;
        return time;
    }
    const bool hasYear = time.kind == PrintedTime::Kind::date;
    const auto seconds = sinceStartOfYear(scanner.rest, hasYear ? time.year : KS_LEAP_YEAR);
    if (!seconds) {
        return std::nullopt;
    }
    scanner.rest.remove_prefix(std::string_view("00-00 00:00:00").size());
    time.us = seconds->count() * KS_US_PER_SECOND;
    return time;
}

// The time with its zone and the blank behind it. Seconds are padded with blanks on the left.
std::optional<PrintedTime> takeTime(TextScanner& scanner) {
    scanner.skipBlanks();
    std::optional<PrintedTime> time = takeWholeSeconds(scanner);
    if (!time) {
        return std::nullopt;
    }
    const auto fractionUs = takeFractionUs(scanner);
    if (!fractionUs) {
        return std::nullopt;
    }
    time->us += *fractionUs;
    if (hasShape(scanner.rest, " +0000 ") || hasShape(scanner.rest, " -0000 ")) {
        scanner.rest.remove_prefix(6);
    }
    return scanner.take(" ") ? time : std::nullopt;
}

// "[UID:]PID): ", behind the bracket of formats brief and time.
bool takeOwner(TextScanner& scanner) {
    scanner.skipBlanks();
    std::string_view pid = scanner.takeUntil(" :()");
    if (scanner.take(":")) {  // the first was a user id
        scanner.skipBlanks();
        pid = scanner.takeUntil(" :()");
    }
    return isNumber(pid) && scanner.take("):") && (scanner.take(" ") || scanner.rest.empty());
}

// "P/TAG([UID:]PID): TEXT", all of format brief and the rest of format time. A tag may hold
// brackets: the first that encloses a process id ends it.
std::optional<AndroidLogLine> taggedLine(std::string_view line) {
    if (line.size() < 2 || !isPriority(line.substr(0, 1)) || line[1] != '/') {
        return std::nullopt;
    }
    line.remove_prefix(2);
    for (size_t bracket = line.find('('); bracket != std::string_view::npos;
         bracket = line.find('(', bracket + 1)) {
        TextScanner scanner{line.substr(bracket + 1)};
        if (takeOwner(scanner)) {
            return AndroidLogLine{.tag = withoutPadding(line.substr(0, bracket)),
                                  .text = scanner.rest};
        }
    }
    return std::nullopt;
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
    // A tag may hold colons; a blank follows the one that ends it, unless the text is empty.
    size_t colon = scanner.rest.find(": ");
    if (colon == std::string_view::npos && scanner.rest.ends_with(':')) {
        colon = scanner.rest.size() - 1;
    }
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view text = scanner.rest.substr(colon + 1);
    return AndroidLogLine{.tag = withoutPadding(scanner.rest.substr(0, colon)),
                          .text = text.substr(text.empty() ? 0 : 1)};
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
    return AndroidLogLine{.tag = withoutPadding(tag), .isHead = true};
}

}  // namespace

std::optional<AndroidLogLine> parseAndroidLogLine(std::string_view line) {
    if (auto brief = taggedLine(line)) {
        return brief;
    }
    TextScanner scanner{line};
    const bool isHead = scanner.take("[ ");
    const auto time = takeTime(scanner);
    if (!time) {
        return std::nullopt;
    }
    std::optional<AndroidLogLine> parsed;
    if (isHead) {
        parsed = headLine(scanner);
    } else if (parsed = taggedLine(scanner.rest); !parsed) {
        parsed = threadLine(scanner);
    }
    if (parsed) {
        parsed->time = time;
    }
    return parsed;
}

}  // namespace kestrel
