#include "tools/input/bugreport/ToldTwice.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kestrel {

namespace {

constexpr uint64_t KS_SAME_MS = 2000;
// A history holds few starts of a package. With more the rest is taken for other starts.
constexpr std::size_t KS_MAX_MATCHES = 1'000'000;

// A launch or an app switch, whatever it is told by.
bool isStart(const TraceObject& object) {
    const auto* event = std::get_if<HintEvent>(&object.what);
    return event != nullptr && event->hintId != KS_HINT_METER_EVENT;
}

// By the kind of event and the package.
using Key = std::pair<int32_t, std::string>;

Key keyOf(const TraceObject& object) {
    const auto& event = std::get<HintEvent>(object.what);
    return {event.hintId, event.appName};
}

// A start of the history that can be the same as one of the log, if the log's clock is `offsetMs`
// ahead.
struct Match {
    int64_t offsetMs;
    std::size_t start;   // index of the object in the history
    std::size_t logged;  // and in the log
};

std::vector<Match> possibleMatches(const TraceObjects& history, const TraceObjects& log) {
    std::map<Key, std::vector<std::size_t>> logged;
    for (std::size_t i = 0; i < log.size(); ++i) {
        if (isStart(log[i])) {
            logged[keyOf(log[i])].push_back(i);
        }
    }
    std::vector<Match> matches;
    for (std::size_t i = 0; i < history.size(); ++i) {
        const auto found = isStart(history[i]) ? logged.find(keyOf(history[i])) : logged.end();
        if (found == logged.end() || matches.size() > KS_MAX_MATCHES) {
            continue;
        }
        for (const std::size_t j : found->second) {
            int64_t offsetMs = 0;
            if (!__builtin_sub_overflow(log[j].t, history[i].t, &offsetMs)) {
                matches.push_back({offsetMs, i, j});
            }
        }
    }
    std::ranges::sort(matches, {}, &Match::offsetMs);
    return matches;
}

bool areSame(const Match& a, const Match& b) {  // REQUIRES: the offset of b is not below that of a
    return static_cast<uint64_t>(b.offsetMs) - static_cast<uint64_t>(a.offsetMs) <= KS_SAME_MS;
}

// The matches with about the same offset, where these are most.
std::span<const Match> mostMatches(std::span<const Match> matches) {
    std::span<const Match> most;
    std::size_t begin = 0;
    for (std::size_t end = 1; end <= matches.size(); ++end) {
        while (!areSame(matches[begin], matches[end - 1])) {
            ++begin;
        }
        if (end - begin > most.size()) {
            most = matches.subspan(begin, end - begin);
        }
    }
    return most;
}

// A start of the log is one of the history only once.
std::set<std::size_t> startsToldTwice(const TraceObjects& history, const TraceObjects& log) {
    const std::vector<Match> matches = possibleMatches(history, log);
    std::set<std::size_t> starts;
    std::set<std::size_t> logged;
    for (const Match& match : mostMatches(matches)) {
        if (!starts.contains(match.start) && logged.insert(match.logged).second) {
            starts.insert(match.start);
        }
    }
    return starts;
}

// One for all logs of the report.
InputNote& noteOf(InputSummary& summary) {
    const auto note =
        std::ranges::find(summary.notes, InputNote::Kind::toldTwice, &InputNote::kind);
    return note != summary.notes.end()
               ? *note
               : summary.notes.emplace_back(InputNote{InputNote::Kind::toldTwice});
}

}  // namespace

void leaveOutToldTwice(ImportedInput& history, AndroidLog& log) {
    InputSummary unused;
    const std::set<std::size_t> told =
        startsToldTwice(history.objects, log.import(LogImportSettings{}, unused));
    std::set<std::string> leftOut;  // the packages whose latest launch is
    std::size_t launches = 0;
    TraceObjects kept;
    for (std::size_t i = 0; i < history.objects.size(); ++i) {
        TraceObject& object = history.objects[i];
        const auto& event = std::get<HintEvent>(object.what);
        const bool isTold = told.contains(i);
        if (event.hintId == KS_LAUNCH_HINT) {
            isTold ? static_cast<void>(leftOut.insert(event.appName))
                   : static_cast<void>(leftOut.erase(event.appName));
            launches += isTold ? 1 : 0;
        }
        const bool isFrameOfTold =
            event.hintId == KS_HINT_METER_EVENT && leftOut.contains(event.appName);
        if (!isTold && !isFrameOfTold) {
            kept.push_back(std::move(object));
        }
    }
    history.objects = std::move(kept);
    if (launches > 0) {
        noteOf(history.summary).count += launches;
    }
}

}  // namespace kestrel
