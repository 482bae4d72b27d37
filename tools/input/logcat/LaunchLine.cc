#include "tools/input/logcat/LaunchLine.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <utility>

#include "tools/base/TextScanner.h"

namespace kestrel {

namespace {

bool startsWithDigit(std::string_view text) {
    return text.find_first_of("0123456789") == 0;
}

// The package of a component P/C; empty when the text is none.
std::string_view packageOf(std::string_view component) {
    const size_t slash = component.find('/');
    if (slash == std::string_view::npos || slash + 1 == component.size()) {
        return {};
    }
    return component.substr(0, slash);
}

// A number without a sign.
std::optional<int64_t> takeCount(TextScanner& scanner) {
    const auto number = scanner.takeNumber<uint64_t>();
    if (!number || !std::in_range<int64_t>(*number)) {
        return std::nullopt;
    }
    return static_cast<int64_t>(*number);
}

// "1d2h3m4s5ms", parts that are 0 may be left out. A number without its unit was cut off.
std::optional<int64_t> takeDurationMs(TextScanner& scanner) {
    struct Unit {
        std::string_view name;
        int64_t ms;
    };
    // "ms" stands before "m", with which it begins; the sizes keep the order of the parts.
    static constexpr std::array<Unit, 5> KS_UNITS{
        {{"ms", 1}, {"d", 86'400'000}, {"h", 3'600'000}, {"m", 60'000}, {"s", 1000}}};

    int64_t sumMs = 0;
    int64_t previousUnitMs = std::numeric_limits<int64_t>::max();
    do {
        const auto count = takeCount(scanner);
        const auto unit = std::find_if(KS_UNITS.begin(), KS_UNITS.end(),
                                       [&](const Unit& u) { return scanner.take(u.name); });
        if (!count || unit == KS_UNITS.end() || unit->ms >= previousUnitMs) {
            return std::nullopt;
        }
        int64_t partMs = 0;
        if (__builtin_mul_overflow(*count, unit->ms, &partMs) ||
            __builtin_add_overflow(sumMs, partMs, &sumMs)) {
            return std::nullopt;
        }
        previousUnitMs = unit->ms;
    } while (!scanner.rest.empty() && scanner.rest[0] != ' ' && scanner.rest[0] != ')');
    return sumMs;
}

// "834 ms", as up to Android 2.2.
std::optional<int64_t> takePlainMs(TextScanner& scanner) {
    const auto count = takeCount(scanner);
    return scanner.take(" ms") ? count : std::nullopt;
}

// "P/C[ for user N]: DURATION[ (total DURATION)]"
LaunchLine parseDisplayed(TextScanner scanner) {
    const bool isPlain = scanner.take("activity ");
    const auto takeMs = isPlain ? takePlainMs : takeDurationMs;
    const std::string_view sign = isPlain ? "" : "+";
    FirstFrame frame{.package = packageOf(scanner.takeUntil(" :"))};
    if (scanner.take(" for user ") && !scanner.takeNumber<int64_t>()) {
        return {};
    }
    if (frame.package.empty() || !scanner.take(": ") || !scanner.take(sign)) {
        return {};
    }
    const auto ownMs = takeMs(scanner);
    if (!ownMs) {
        return {};
    }
    frame.ownMs = *ownMs;
    // A line can end early. Without the digits of a total its own duration still is whole.
    if (scanner.take(" (total ") && scanner.take(sign) && startsWithDigit(scanner.rest)) {
        frame.totalMs = takeMs(scanner);
        if (!frame.totalMs) {
            return {};
        }
    }
    return frame;
}

// "P appid=N user=N: REASON"
LaunchLine parseForceStop(TextScanner scanner) {
    ForceStop stop;
    stop.package = scanner.takeWord();
    if (stop.package.empty() || !scanner.take(" appid=") || !scanner.takeNumber<int64_t>() ||
        !scanner.take(" user=") || !scanner.takeNumber<int64_t>() || !scanner.take(": ")) {
        return {};
    }
    stop.reason = trimmed(scanner.rest);
    return stop;
}

bool takeStartWords(TextScanner& scanner) {
    if (scanner.take("START u")) {
        return scanner.takeNumber<int64_t>() && scanner.take(" ");
    }
    return scanner.take("START ") || scanner.take("Starting: Intent ") ||
           scanner.take("Starting activity: Intent ");
}

// What stands between the brace here and the one that closes it: an intent can hold others.
std::optional<std::string_view> takeBraces(TextScanner& scanner) {
    const std::string_view text = scanner.rest;
    size_t depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '{') {
            ++depth;
        } else if (text[i] == '}' && depth > 0) {
            --depth;
        }
        if (depth == 0) {
            scanner.rest.remove_prefix(i + 1);
            return i == 0 ? std::nullopt : std::optional(text.substr(1, i - 1));
        }
    }
    return std::nullopt;
}

// "CATEGORY,CATEGORY]"
bool holdsHome(TextScanner scanner) {
    do {
        if (scanner.takeUntil(",]") == "android.intent.category.HOME") {
            return true;
        }
    } while (scanner.take(","));
    return false;
}

// 0 when there is none, or the line ends before its digits; -1, as of a start that failed, when it
// cannot be read.
int resultCodeOf(std::string_view text) {
    constexpr std::string_view KS_RESULT_CODE = " result code=";
    const size_t found = text.find(KS_RESULT_CODE);
    if (found == std::string_view::npos) {
        return 0;
    }
    TextScanner scanner{text.substr(found + KS_RESULT_CODE.size())};
    const std::string_view digits = scanner.rest.substr(scanner.rest.starts_with('-') ? 1 : 0);
    if (!startsWithDigit(digits)) {
        return 0;
    }
    return scanner.takeNumber<int>().value_or(-1);
}

// "START u0 {...} ..."
LaunchLine parseStart(TextScanner scanner) {
    if (!takeStartWords(scanner)) {
        return {};
    }
    const auto intent = takeBraces(scanner);
    if (!intent) {
        return {};
    }
    ActivityStart start = parseIntent(*intent);
    start.resultCode = resultCodeOf(scanner.rest);
    return start.package.empty() ? LaunchLine() : start;
}

// The fields of "[FIELD,FIELD,...]".
std::optional<TextScanner> fieldsOf(std::string_view text) {
    const size_t end = text.rfind(']');
    if (!text.starts_with('[') || end == std::string_view::npos) {
        return std::nullopt;
    }
    return TextScanner{text.substr(1, end - 1)};
}

// Up to and with the first field that is a component; empty when there is none.
std::string_view takePackage(TextScanner& fields) {
    do {
        const std::string_view package = packageOf(trimmed(fields.takeUntil(",")));
        if (!package.empty()) {
            return package;
        }
    } while (fields.take(","));
    return {};
}

// "..., ACTION, ..., FLAGS", behind the component
LaunchLine parseCreation(std::string_view package, std::string_view rest) {
    const auto flags = wholeNumber<int32_t>(trimmed(rest.substr(rest.rfind(',') + 1)));
    if (!flags) {
        return {};
    }
    return ActivityStart{
        .package = package, .flags = static_cast<uint32_t>(*flags), .isCreation = true};
}

std::optional<int64_t> takeMsField(TextScanner& fields) {
    if (!fields.take(",")) {
        return std::nullopt;
    }
    TextScanner field{trimmed(fields.takeUntil(","))};
    const auto count = takeCount(field);
    return field.rest.empty() ? count : std::nullopt;
}

// ", MS[, TOTAL]", behind the component
LaunchLine parseLaunchTime(std::string_view package, TextScanner fields) {
    const auto ownMs = takeMsField(fields);
    if (!ownMs) {
        return {};
    }
    FirstFrame frame{.package = package, .ownMs = *ownMs};
    if (!fields.rest.empty()) {
        frame.totalMs = takeMsField(fields);
        if (!frame.totalMs || !fields.rest.empty()) {
            return {};
        }
    }
    return frame;
}

LaunchLine parseEvent(LogSource source, std::string_view text) {
    auto fields = fieldsOf(text);
    if (!fields) {
        return {};
    }
    const std::string_view package = takePackage(*fields);
    if (package.empty()) {
        return {};
    }
    switch (source) {
        case LogSource::createEvent:
            return parseCreation(package, fields->rest);
        case LogSource::launchTimeEvent:
            return parseLaunchTime(package, *fields);
        case LogSource::frontEvent:
            return AppSwitch{package};
        case LogSource::activityManager:
        case LogSource::other:
            break;
    }
    return {};
}

}  // namespace

ActivityStart parseIntent(std::string_view intent) {
    ActivityStart start;
    TextScanner words{intent};
    int64_t depth = 0;
    for (std::string_view word = words.takeWord(); !word.empty(); word = words.takeWord()) {
        TextScanner value{word};
        if (depth > 0) {
            // A word of what is inside.
        } else if (value.take("cmp=")) {
            start.package = packageOf(value.rest);
            break;
        } else if (value.take("cat=[")) {
            start.isHome = start.isHome || holdsHome(value);
        } else if (value.take("flg=0x")) {
            start.flags = wholeNumber<uint32_t>(value.rest, 16).value_or(0);
        }
        depth += std::count(word.begin(), word.end(), '{');
        depth -= std::count(word.begin(), word.end(), '}');
    }
    return start;
}

LogSource logSourceOf(std::string_view tag) {
    if (tag == "ActivityManager" || tag == "ActivityTaskManager") {
        return LogSource::activityManager;
    }
    if (tag.starts_with("am_") || tag.starts_with("wm_")) {
        tag.remove_prefix(3);
    }
    if (tag == "create_activity") {
        return LogSource::createEvent;
    }
    if (tag == "activity_launch_time") {
        return LogSource::launchTimeEvent;
    }
    if (tag == "set_resumed_activity" || tag == "resume_activity" || tag == "focused_activity") {
        return LogSource::frontEvent;
    }
    return LogSource::other;
}

LaunchLine parseLaunchLine(LogSource source, std::string_view text) {
    if (source == LogSource::other) {
        return {};
    }
    if (source != LogSource::activityManager) {
        return parseEvent(source, text);
    }
    TextScanner scanner{text};
    if (scanner.take("Displayed ")) {
        return parseDisplayed(scanner);
    }
    if (scanner.take("Force stopping ")) {
        return parseForceStop(scanner);
    }
    return parseStart(scanner);
}

}  // namespace kestrel
