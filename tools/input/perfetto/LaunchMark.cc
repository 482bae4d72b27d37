#include "tools/input/perfetto/LaunchMark.h"

#include <algorithm>
#include <utility>

#include "tools/base/TextScanner.h"

namespace kestrel {

namespace {

using Kind = LaunchMark::Kind;

// What ends a text besides its newline.
constexpr std::string_view KS_ENDS("\0\r\n", 3);

bool isPackage(std::string_view text) {
    return !text.empty() && text.size() <= KS_MAX_PACKAGE;
}

// "launchingActivity#N" or "launching: P", then "|COOKIE"
std::optional<LaunchMark> parseSlice(TextScanner scanner, bool isBegin) {
    LaunchMark mark;
    if (scanner.take("launchingActivity#")) {
        const auto number = scanner.takeNumber<int64_t>();
        mark.kind = isBegin ? Kind::launchBegan : Kind::launchEnded;
        mark.number = number.value_or(0);
        return number && scanner.take("|") ? std::optional(mark) : std::nullopt;
    }
    if (!scanner.take("launching: ")) {
        return std::nullopt;
    }
    const std::string_view package = scanner.takeUntil("|");
    const auto cookie = scanner.take("|") ? scanner.takeNumber<int64_t>() : std::nullopt;
    if (!isPackage(package) || !cookie) {
        return std::nullopt;
    }
    mark.kind = isBegin ? Kind::packageBegan : Kind::packageEnded;
    mark.number = *cookie;
    mark.package = package;
    return mark;
}

// "failed" or "OUTCOME:P"
std::optional<LaunchMark> parseOutcome(TextScanner scanner) {
    const std::string_view outcome = scanner.takeUntil(":|");
    LaunchMark mark{.kind = Kind::failed};
    if (outcome == "failed") {
        return mark;
    }
    const std::string_view package = scanner.take(":") ? scanner.takeUntil("|") : "";
    mark.package = package.substr(0, KS_MAX_PACKAGE + 1);
    if (outcome == "completed-same-process") {
        mark.kind = Kind::sameProcess;
    } else if (outcome == "completed" || outcome.starts_with("completed-")) {
        mark.kind = Kind::completed;
    } else {
        mark.kind = Kind::cancelled;
    }
    const bool isKnown = mark.kind != Kind::cancelled || outcome == "canceled";
    return isKnown && isPackage(mark.package) ? std::optional(mark) : std::nullopt;
}

// "launchingActivity#N:OUTCOME"
std::optional<LaunchMark> parseInstant(TextScanner scanner) {
    if (!scanner.take("launchingActivity#")) {
        return std::nullopt;
    }
    const auto number = scanner.takeNumber<int64_t>();
    auto mark = number && scanner.take(":") ? parseOutcome(scanner) : std::nullopt;
    if (mark) {
        mark->number = *number;
    }
    return mark;
}

std::optional<LaunchMark> parseObserverCall(TextScanner scanner) {
    if (!scanner.take("MetricsLogger:launchObserverNotify")) {
        return std::nullopt;
    }
    if (scanner.rest == "IntentStarted") {
        return LaunchMark{.kind = Kind::requested};
    }
    if (scanner.rest == "ActivityLaunchFinished") {
        return LaunchMark{.kind = Kind::requestFinished};
    }
    if (scanner.rest == "ActivityLaunchCancelled" || scanner.rest == "IntentFailed") {
        return LaunchMark{.kind = Kind::requestGivenUp};
    }
    return std::nullopt;
}

std::optional<LaunchMark> parseNamed(char type, TextScanner scanner) {
    switch (type) {
        case 'S':
        case 'F':
            return parseSlice(scanner, type == 'S');
        case 'I':
            return parseInstant(scanner);
        case 'B':
            return parseObserverCall(scanner);
        default:
            return std::nullopt;
    }
}

}  // namespace

std::optional<LaunchMark> parseLaunchMark(std::string_view text) {
    text = text.substr(0, text.find_last_not_of(KS_ENDS) + 1);
    if (text.size() < 2 || text[1] != '|') {
        return std::nullopt;
    }
    TextScanner scanner{text.substr(2)};
    const auto pid = scanner.takeNumber<int32_t>();
    if (!pid || !scanner.take("|")) {
        return std::nullopt;
    }
    auto mark = parseNamed(text[0], scanner);
    if (mark) {
        mark->pid = *pid;
    }
    return mark;
}

bool LaunchMarks::add(LaunchMark mark, uint64_t bootNs, std::size_t line) {
    if (mMarks.size() == KS_MAX_MARKS || !std::in_range<int64_t>(bootNs)) {
        return false;
    }
    mark.bootNs = static_cast<int64_t>(bootNs);
    mark.line = line;
    mMarks.push_back(std::move(mark));
    return true;
}

std::vector<LaunchMark> LaunchMarks::sorted() && {
    std::stable_sort(mMarks.begin(), mMarks.end(),
                     [](const LaunchMark& a, const LaunchMark& b) { return a.bootNs < b.bootNs; });
    return std::move(mMarks);
}

}  // namespace kestrel
