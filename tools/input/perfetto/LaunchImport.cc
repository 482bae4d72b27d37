#include "tools/input/perfetto/LaunchImport.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/KestrelStartsHints.h"
#include "tools/input/perfetto/LaunchRules.h"

namespace kestrel {

namespace {

constexpr int64_t KS_NS_PER_MS = 1'000'000;

HintEvent hintOf(const LaunchEvent& event) {
    switch (event.kind) {
        case LaunchEvent::Kind::launch:
        case LaunchEvent::Kind::cancelledLaunch:
            return {.hintId = KS_LAUNCH_HINT,
                    .hintType = KS_HINT_TYPE_LAUNCH,
                    .appName = event.package};
        case LaunchEvent::Kind::frame:
            return {.hintId = KS_HINT_METER_EVENT, .appName = event.package};
        case LaunchEvent::Kind::appSwitch:
            break;
    }
    return {.hintId = KS_HINT_APP_SWITCH, .appName = event.package};
}

// Leaves out the app switches to what is in front.
TraceObjects objectsOf(std::vector<LaunchEvent> events) {
    std::stable_sort(events.begin(), events.end(), [](const LaunchEvent& a, const LaunchEvent& b) {
        return a.bootNs < b.bootNs;
    });
    TraceObjects objects;
    std::string front;  // empty: not known
    for (const LaunchEvent& event : events) {
        if (event.kind == LaunchEvent::Kind::cancelledLaunch) {
            front.clear();  // whatever comes next ends this launch
        } else if (event.kind != LaunchEvent::Kind::frame) {
            const bool isSwitch = event.kind == LaunchEvent::Kind::appSwitch;
            if (isSwitch && front == event.package) {
                continue;
            }
            front = event.package;
        }
        objects.push_back(
            {.t = event.bootNs / KS_NS_PER_MS, .line = event.line, .what = hintOf(event)});
    }
    return objects;
}

}  // namespace

void addNote(InputSummary& summary, InputNote::Kind kind, std::size_t count) {
    if (count > 0) {
        summary.notes.push_back({.kind = kind, .count = count});
    }
}

ImportedInput importLaunches(LaunchMarks marks, std::optional<int> apiLevel,
                             std::size_t badEntries) {
    const std::vector<LaunchMark> sorted = std::move(marks).sorted();
    RuledLaunches ruled = ruledLaunches(sorted, apiLevel);
    ImportedInput imported{.objects = objectsOf(std::move(ruled.events))};
    InputSummary& summary = imported.summary;
    summary.clock.kind = InputClock::Kind::uptime;
    if (!sorted.empty()) {
        summary.firstT = sorted.front().bootNs / KS_NS_PER_MS;
        summary.lastT = sorted.back().bootNs / KS_NS_PER_MS;
    }
    summary.starts = ruled.starts;
    addNote(summary, InputNote::Kind::framesNotHeld, ruled.framesNotHeld);
    addNote(summary, InputNote::Kind::cutOff, ruled.cutOff);
    addNote(summary, InputNote::Kind::failedStarts, ruled.failedStarts);
    addNote(summary, InputNote::Kind::badEntries, badEntries);
    return imported;
}

}  // namespace kestrel
