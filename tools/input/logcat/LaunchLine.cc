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

ForceStop::Reason reasonOf(std::string_view text) {
    if (text == "pkg removed") {
        return ForceStop::Reason::removed;
    }
    if (text == "installPackageLI") {
        return ForceStop::Reason::installing;
    }
    return text == "deletePackageX" ? ForceStop::Reason::deleting : ForceStop::Reason::other;
}

// "P appid=N user=N: REASON"
LaunchLine parseForceStop(TextScanner scanner) {
    ForceStop stop;
    stop.package = scanner.takeWord();
    if (stop.package.empty() || !scanner.take(" appid=") || !scanner.takeNumber<int64_t>() ||
        !scanner.take(" user=") || !scanner.takeNumber<int64_t>() || !scanner.take(": ")) {
        return {};
    }
    stop.reason = reasonOf(trimmed(scanner.rest));
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
void readCategories(TextScanner scanner, ActivityStart& start) {
    do {
        const std::string_view category = scanner.takeUntil(",]");
        start.isHome = start.isHome || category == "android.intent.category.HOME";
        start.isLauncher = start.isLauncher || category == "android.intent.category.LAUNCHER";
    } while (scanner.take(","));
}

// Behind " result code=" or, as a vendor prints it, " result: "; 0 when there is none, or the line
// ends before its digits; -1, as of a start that failed, when it cannot be read.
int resultCodeOf(std::string_view text) {
    for (const std::string_view words : {" result code=", " result: "}) {
        const size_t found = text.find(words);
        if (found == std::string_view::npos) {
            continue;
        }
        TextScanner scanner{text.substr(found + words.size())};
        const std::string_view digits = scanner.rest.substr(scanner.rest.starts_with('-') ? 1 : 0);
        return startsWithDigit(digits) ? scanner.takeNumber<int>().value_or(-1) : 0;
    }
    return 0;
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

// A field without the name that a log with descriptions puts before it: "NAME=VALUE".
std::string_view valueOf(std::string_view field) {
    field = trimmed(field);
    const auto isOfName = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == ' ';
    };
    const auto end = std::ranges::find_if_not(field, isOfName);
    if (end != field.begin() && end != field.end() && *end == '=') {
        field.remove_prefix(static_cast<size_t>(end - field.begin()) + 1);
    }
    return field;
}

// Up to and with the first field that is a component; empty when there is none.
std::string_view takePackage(TextScanner& fields) {
    do {
        const std::string_view package = packageOf(valueOf(fields.takeUntil(",")));
        if (!package.empty()) {
            return package;
        }
    } while (fields.take(","));
    return {};
}

// The flags of an intent, which are printed as a signed number.
std::optional<uint32_t> flagsOf(std::string_view field) {
    const auto flags = wholeNumber<int32_t>(valueOf(field));
    return flags ? std::optional(static_cast<uint32_t>(*flags)) : std::nullopt;
}

// ",ACTION,...,FLAGS[,FIELD]", behind the component. The further field is no number.
LaunchLine parseCreation(std::string_view package, std::string_view rest) {
    constexpr uint32_t KS_FLAG_HOME = 0x100;
    const size_t last = rest.rfind(',');
    if (last == std::string_view::npos) {
        return {};
    }
    auto flags = flagsOf(rest.substr(last + 1));
    if (!flags) {
        const std::string_view before = rest.substr(0, last);
        flags = flagsOf(before.substr(std::min(before.rfind(',') + 1, before.size())));
    }
    if (!flags) {
        return {};
    }
    TextScanner fields{rest.substr(1)};
    const bool isMain = valueOf(fields.takeUntil(",")) == "android.intent.action.MAIN";
    return ActivityStart{.package = package,
                         .flags = *flags,
                         .isHome = isMain && (*flags & KS_FLAG_HOME) != 0,
                         .isCreation = true};
}

// "843", or with descriptions "843ms" or "1.843s".
std::optional<int64_t> msOf(std::string_view field) {
    TextScanner scanner{field};
    const auto count = takeCount(scanner);
    if (!count || scanner.rest.empty() || scanner.rest == "ms") {
        return count;
    }
    constexpr int64_t KS_MAX_SECONDS = 1'000'000'000'000;
    if (*count > KS_MAX_SECONDS) {
        return std::nullopt;
    }
    int64_t ms = *count * 1000;
    if (scanner.take(".")) {
        for (int64_t unitMs = 100; !scanner.rest.empty() && isDigit(scanner.rest[0]);
             unitMs /= 10) {
            ms += (scanner.rest[0] - '0') * unitMs;
            scanner.rest.remove_prefix(1);
        }
    }
    return scanner.rest == "s" ? std::optional(ms) : std::nullopt;
}

std::optional<int64_t> takeMsField(TextScanner& fields) {
    return fields.take(",") ? msOf(valueOf(fields.takeUntil(","))) : std::nullopt;
}

// ", MS[, TOTAL]", behind the component
LaunchLine parseLaunchTime(std::string_view package, TextScanner fields) {
    const auto ownMs = takeMsField(fields);
    if (!ownMs) {
        return {};
    }
    FirstFrame frame{.package = package, .ownMs = *ownMs, .isEvent = true};
    if (!fields.rest.empty()) {
        frame.totalMs = takeMsField(fields);
        if (!frame.totalMs || !fields.rest.empty()) {
            return {};
        }
    }
    return frame;
}

// "uid=N(NAME) NAME expire N line[s]"
LaunchLine parseChatty(std::string_view text) {
    constexpr std::string_view KS_EXPIRE = " expire ";
    const size_t found = text.find(KS_EXPIRE);
    if (found == std::string_view::npos) {
        return {};
    }
    TextScanner scanner{text.substr(found + KS_EXPIRE.size())};
    const auto count = scanner.takeNumber<uint64_t>();
    return count && scanner.take(" line") ? DroppedLines{*count} : LaunchLine();
}

LaunchLine parseActivityManager(TextScanner scanner) {
    if (scanner.take("Displayed ")) {
        return parseDisplayed(scanner);
    }
    if (scanner.take("Force stopping ")) {
        return parseForceStop(scanner);
    }
    return parseStart(scanner);
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
        case LogSource::other:
        case LogSource::unknown:
        case LogSource::activityManager:
        case LogSource::bootEvent:
        case LogSource::chatty:
            break;
    }
    return {};
}

LogSource eventSourceOf(std::string_view name) {
    if (name == "create_activity") {
        return LogSource::createEvent;
    }
    if (name == "activity_launch_time") {
        return LogSource::launchTimeEvent;
    }
    if (name == "set_resumed_activity" || name == "resume_activity" || name == "focused_activity") {
        return LogSource::frontEvent;
    }
    return name == "boot_progress_start" ? LogSource::bootEvent : LogSource::other;
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
            readCategories(value, start);
        } else if (value.take("flg=0x")) {
            start.flags = wholeNumber<uint32_t>(value.rest, 16).value_or(0);
        }
        depth += std::count(word.begin(), word.end(), '{');
        depth -= std::count(word.begin(), word.end(), '}');
    }
    return start;
}

LogSource logSourceOf(std::string_view tag) {
    if (tag.size() < 3 || !canBeSource(tag[0], tag[1], tag[2])) {
        return LogSource::other;
    }
    if (tag == "ActivityManager" || tag == "ActivityTaskManager") {
        return LogSource::activityManager;
    }
    if (tag == "chatty") {
        return LogSource::chatty;
    }
    if (tag.starts_with("am_") || tag.starts_with("wm_")) {
        tag.remove_prefix(3);
    }
    return eventSourceOf(tag);
}

LaunchLine parseLaunchLine(LogSource source, std::string_view text) {
    switch (source) {
        case LogSource::other:
            return {};
        case LogSource::unknown:
        case LogSource::activityManager:
            return parseActivityManager(TextScanner{text});
        case LogSource::bootEvent:
            return Boot{};
        case LogSource::chatty:
            return parseChatty(text);
        case LogSource::createEvent:
        case LogSource::launchTimeEvent:
        case LogSource::frontEvent:
            break;
    }
    return parseEvent(source, text);
}

}  // namespace kestrel
