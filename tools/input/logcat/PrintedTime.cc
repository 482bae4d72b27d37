#include "tools/input/logcat/PrintedTime.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace kestrel {

namespace {

constexpr int KS_LEAP_YEAR = 2000;  // stands for a year that is not printed
constexpr int64_t KS_US_PER_SECOND = 1'000'000;
constexpr int64_t KS_NS_PER_SECOND = 1'000'000'000;
// Over 30,000 years: no log is that old, and sums of such times stay far from the limits.
constexpr int64_t KS_MAX_SECONDS = 999'999'999'999;

// Does the text begin like the shape, in which '0' stands for any digit?
bool hasShape(std::string_view text, std::string_view shape) {
    return text.size() >= shape.size() &&
           std::equal(shape.begin(), shape.end(), text.begin(),
                      [](char want, char c) { return want == '0' ? isDigit(c) : want == c; });
}

int twoDigits(std::string_view text, size_t at) {
    return (text[at] - '0') * 10 + (text[at + 1] - '0');
}

// `text` has the shape "00:00:00". Nothing when there is no such time of day.
std::optional<std::chrono::seconds> sinceMidnight(std::string_view text) {
    using namespace std::chrono;
    const hours hour(twoDigits(text, 0));
    const minutes minute(twoDigits(text, 3));
    const seconds second(twoDigits(text, 6));
    if (hour >= hours(24) || minute >= minutes(60) || second > seconds(60)) {
        return std::nullopt;
    }
    return hour + minute + second;
}

// `text` has the shape "00-00 00:00:00". Nothing when there is no such day or time of day.
std::optional<std::chrono::seconds> sinceStartOfYear(std::string_view text, int yearNumber) {
    using namespace std::chrono;
    const year thisYear(yearNumber);
    const year_month_day date(thisYear, month(static_cast<unsigned>(twoDigits(text, 0))),
                              day(static_cast<unsigned>(twoDigits(text, 3))));
    const auto time = sinceMidnight(text.substr(6));
    if (!date.ok() || !time) {
        return std::nullopt;
    }
    return sys_days(date) - sys_days(thisYear / January / 1) + *time;
}

PrintedTime inSeconds(PrintedTime::Kind kind, int year, std::chrono::seconds seconds) {
    return {.kind = kind, .year = year, .us = seconds.count() * KS_US_PER_SECOND};
}

std::optional<PrintedTime> parseDate(std::string_view text, PrintedTime::Kind kind, int year) {
    const bool hasYear = kind == PrintedTime::Kind::date;
    const auto seconds = sinceStartOfYear(text, hasYear ? year : KS_LEAP_YEAR);
    if (!seconds) {
        return std::nullopt;
    }
    return inSeconds(kind, year, *seconds);
}

// What stands in front of the '.', which has been found.
std::optional<PrintedTime> parseWholeSeconds(std::string_view text) {
    if (hasShape(text, "00-00 00:00:00.")) {
        return parseDate(text, PrintedTime::Kind::dateWithoutYear, 0);
    }
    if (hasShape(text, "0000-00-00 00:00:00.")) {
        const int year = twoDigits(text, 0) * 100 + twoDigits(text, 2);
        return parseDate(text.substr(5), PrintedTime::Kind::date, year);
    }
    if (hasShape(text, "00:00:00.")) {
        const auto time = sinceMidnight(text);
        return time ? std::optional(inSeconds(PrintedTime::Kind::timeOfDay, 0, *time))
                    : std::nullopt;
    }
    TextScanner scanner{text};
    const auto seconds = scanner.takeNumber<uint64_t>();
    if (!seconds || *seconds > KS_MAX_SECONDS || scanner.rest != ".") {
        return std::nullopt;
    }
    return inSeconds(PrintedTime::Kind::seconds, 0, std::chrono::seconds(*seconds));
}

// The digits behind the '.', of which there is one; what is finer than a nanosecond is dropped.
std::optional<int64_t> takeFractionNs(TextScanner& scanner) {
    if (scanner.rest.empty() || !isDigit(scanner.rest[0])) {
        return std::nullopt;
    }
    int64_t ns = 0;
    int64_t unitNs = KS_NS_PER_SECOND / 10;
    size_t size = 0;
    for (; size < scanner.rest.size() && isDigit(scanner.rest[size]); ++size) {
        ns += (scanner.rest[size] - '0') * unitNs;
        unitNs /= 10;
    }
    scanner.rest.remove_prefix(size);
    return ns;
}

}  // namespace

std::optional<PrintedTime> PrintedTimeReader::take(TextScanner& scanner) {
    scanner.skipBlanks();
    std::optional<PrintedTime> time = takeWholeSeconds(scanner);
    if (!time) {
        return std::nullopt;
    }
    const auto fractionNs = takeFractionNs(scanner);
    if (!fractionNs) {
        return std::nullopt;
    }
    time->us += *fractionNs / 1000;
    time->ns = static_cast<int>(*fractionNs % 1000);
    if (hasShape(scanner.rest, " +0000 ") || hasShape(scanner.rest, " -0000 ")) {
        scanner.rest.remove_prefix(6);
    } else {
        scanner.take(":");
    }
    return scanner.rest.starts_with(' ') ? time : std::nullopt;
}

std::optional<PrintedTime> PrintedTimeReader::takeWholeSeconds(TextScanner& scanner) {
    if (!mSecondText.empty() && scanner.take(mSecondText)) {
        return mSecond;
    }
    // The longest that can be: seconds, a date with its year.
    constexpr size_t KS_LONGEST = 21;
    const size_t point = scanner.rest.substr(0, KS_LONGEST).find('.');
    if (point == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view text = scanner.rest.substr(0, point + 1);
    const auto second = parseWholeSeconds(text);
    if (second) {
        mSecondText = text;
        mSecond = *second;
        scanner.rest.remove_prefix(text.size());
    }
    return second;
}

}  // namespace kestrel
