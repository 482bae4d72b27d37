#include "tools/views/InputConditions.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>

#include "tools/base/TerminalText.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

#define CAPTURE_ALL "adb logcat -b main,system,events"
#define CAPTURE_TOGETHER "Capture all buffers together: " CAPTURE_ALL
#define ENLARGE "adb logcat -G 16M"

// "#(WORD)" is a count and what is counted, "@" the note's own words.
struct Sentence {
    const char* key;
    const char* text;
    bool isLeftOut = false;
};

// In the order of InputNote::Kind.
constexpr Sentence NOTES[] = {
    {"framesNotHeld",
     "#(launch) left out: the log has no first frames of that time, since its buffer main begins "
     "later. Enlarge the buffers before the next capture: " ENLARGE},
    {"chatty",
     "the logger dropped #(line) to save room (\"chatty\"), so launches can be missing. Enlarge "
     "the buffers before the next capture: " ENLARGE},
    {"boots",
     "the device was started again #(time), and launches that were under way then have no first "
     "frame. Capture each boot by itself"},
    {"timeJumps",
     "the clock was set #(time) (first: @), so what was under way then cannot be measured. Capture "
     "with a clock that nobody sets: adb logcat -v monotonic -b main,system,events"},
    {"cutOff",
     "#(first frame) whose start is not in the log: the ring buffer no longer held it. Enlarge "
     "the buffers before the next capture: " ENLARGE},
    {"onlyMain",
     "the log has first frames but no starts, so each launch was told from its first frame. "
     "Capture the buffers system and events too: " CAPTURE_ALL},
    {"toldTwice", "#(launch) that the log of the same report has too", true},
    {"repeatedLines", "#(line) that stood there twice", true},
    {"failedStarts", "#(start) that failed or came to nothing", true},
    {"backgroundStarts", "#(start) in the background", true},
    {"otherEntries", "#(entry) about something else", true},
    {"badEntries", "#(entry) that could not be read", true},
    {"passedOver", "@", true},
    {"cutShort",
     "it ends in the middle of something: the rest is missing. Copy or capture it anew"},
};
static_assert(std::size(NOTES) == static_cast<std::size_t>(InputNote::Kind::cutShort) + 1);

// Of a recording, what the ring buffer of a log is, is the length of the recording.
constexpr Sentence RECORDING_NOT_HELD = {
    "framesNotHeld", "#(launch) left out: its end is not in the trace. Record longer"};
constexpr Sentence RECORDING_CUT_OFF = {
    "cutOff", "#(launch) whose beginning is not in the trace. Begin to record before the launch"};

constexpr Sentence REMOVALS_FORGOTTEN = {
    "removalsForgotten",
    "#(removal), and what was learned of the removed apps was forgotten. To keep it, give a set-up "
    "with --host: {\"host\":{\"removals\":\"keep\"}}"};
constexpr Sentence REMOVALS_KEPT = {
    "removalsKept",
    "#(removal), but what was learned of the removed apps was kept, as the set-up says"};
constexpr Sentence REMOVALS_IGNORED = {"removalsIgnored", "#(removal), ignored as the set-up says"};

constexpr const char* NO_FRAMES = "noFirstFrames";
constexpr const char* FEW_FRAMES = "fewFirstFrames";
constexpr const char* NO_LAUNCHES = "noLaunches";

// Why first frames or launches can be missing, and what to do about it, by the kind of input.
struct Remedies {
    const char* noFrames;
    const char* fewFrames;
    const char* noLaunches;
};

const Remedies& remediesFor(SourceKind kind) {
    static constexpr Remedies LOG = {
        "the log has no \"Displayed\" line. Capture the events buffer too: " CAPTURE_ALL,
        "they cannot be measured. " CAPTURE_TOGETHER,
        "Capture all buffers while apps are launched: " CAPTURE_ALL};
    static constexpr Remedies TRACE = {
        "nothing can be measured. A first frame is an event with the hintId 4103",
        "they cannot be measured. A first frame is an event with the hintId 4103",
        "A launch is an event with the hintId 4225 and the hintType 1"};
    static constexpr Remedies RECORDING = {
        "nothing can be measured. Record until the apps are drawn, with the atrace categories am, "
        "wm and view",
        "they cannot be measured. Record until the apps are drawn, with the atrace categories am, "
        "wm and view",
        "Record while apps are launched, with the atrace categories am, wm and view"};
    static constexpr Remedies OTHER = {
        "nothing can be measured. Capture a log while apps are launched: " CAPTURE_ALL,
        "they cannot be measured. Capture a log while apps are launched: " CAPTURE_ALL,
        "Capture a log while apps are launched: " CAPTURE_ALL};
    switch (kind) {
        case SourceKind::androidLog:
        case SourceKind::bugReport:
        case SourceKind::lastBootLog:
        case SourceKind::logExport:
            return LOG;
        case SourceKind::eventTrace:
            return TRACE;
        case SourceKind::perfettoTrace:
        case SourceKind::ftrace:
            return RECORDING;
        case SourceKind::none:
        case SourceKind::startInfo:
        case SourceKind::benchmark:
            break;
    }
    return OTHER;
}

bool isLog(const InputSummary& summary) {
    return &remediesFor(summary.kind) == &remediesFor(SourceKind::androidLog);
}

// The unit's name where there is more than one kind of it in the world.
std::string unitsOf(const InputSummary& summary) {
    const std::string unit = sourceWords(summary.kind).unit;
    return counted(summary.units, isLog(summary) && unit == "line" ? "log line" : unit);
}

InputCondition filled(const Sentence& sentence, std::size_t count, const std::string& what) {
    std::string text;
    for (std::string_view rest = sentence.text; !rest.empty();) {
        const std::size_t place = rest.find_first_of("#@");
        text += rest.substr(0, place);
        rest.remove_prefix(std::min(place, rest.size()));
        if (rest.starts_with('@')) {
            text += printable(what);
            rest.remove_prefix(1);
        } else if (rest.starts_with("#(")) {
            const std::size_t end = rest.find(')');
            text += counted(count, std::string(rest.substr(2, end - 2)));
            rest.remove_prefix(end + 1);
        }
    }
    return {sentence.key, count, text, sentence.isLeftOut};
}

bool has(const InputSummary& summary, InputNote::Kind kind) {
    for (const InputNote& note : summary.notes) {
        if (note.kind == kind) {
            return true;
        }
    }
    return false;
}

std::optional<InputCondition> noLaunches(const InputSummary& summary) {
    if (summary.launches > 0 || summary.units == 0 ||
        has(summary, InputNote::Kind::framesNotHeld) || has(summary, InputNote::Kind::toldTwice)) {
        return std::nullopt;
    }
    std::string text = unitsOf(summary);
    if (summary.starts > 0) {
        text += " and " + counted(summary.starts, "start") +
                ", but none became a launch: it failed, was of the app in front, or went home";
    } else {
        text +=
            ", but none tells of a launch. " + std::string(remediesFor(summary.kind).noLaunches);
    }
    return InputCondition{NO_LAUNCHES, 0, text, false};
}

std::optional<InputCondition> missingFrames(const InputSummary& summary) {
    if (summary.launches == 0) {
        return std::nullopt;
    }
    const Remedies& remedies = remediesFor(summary.kind);
    const std::string launches = counted(summary.launches, "launch");
    if (summary.firstFrames == 0 && summary.frameLines > 0) {
        return InputCondition{NO_FRAMES, summary.launches,
                              launches + ", none with a first frame: the log has " +
                                  counted(summary.frameLines, "line") +
                                  " that tell of one, but none fits a launch. " CAPTURE_TOGETHER,
                              false};
    }
    if (summary.firstFrames == 0) {
        return InputCondition{NO_FRAMES, summary.launches,
                              launches + ", none with a first frame: " + remedies.noFrames, false};
    }
    const std::size_t without = withoutFrame(summary);
    if (without <= summary.launches / 2) {
        return std::nullopt;
    }
    return InputCondition{FEW_FRAMES, without,
                          launches + ", most without a first frame (" + std::to_string(without) +
                              "): " + remedies.fewFrames,
                          false};
}

const Sentence& sentenceFor(RemovalPolicy removals) {
    switch (removals) {
        case RemovalPolicy::forget:
            return REMOVALS_FORGOTTEN;
        case RemovalPolicy::keep:
            return REMOVALS_KEPT;
        case RemovalPolicy::ignore:
            break;
    }
    return REMOVALS_IGNORED;
}

const Sentence& sentenceFor(const InputSummary& summary, InputNote::Kind kind) {
    if (&remediesFor(summary.kind) == &remediesFor(SourceKind::perfettoTrace)) {
        if (kind == InputNote::Kind::framesNotHeld) {
            return RECORDING_NOT_HELD;
        }
        if (kind == InputNote::Kind::cutOff) {
            return RECORDING_CUT_OFF;
        }
    }
    return NOTES[static_cast<std::size_t>(kind)];
}

}  // namespace

std::size_t withoutFrame(const InputSummary& summary) {
    return summary.launches - std::min(summary.launches, summary.firstFrames);
}

std::vector<InputCondition> conditionsOf(const InputSummary& summary, RemovalPolicy removals) {
    std::vector<InputCondition> conditions;
    for (const auto& condition : {noLaunches(summary), missingFrames(summary)}) {
        if (condition) {
            conditions.push_back(*condition);
        }
    }
    for (const InputNote& note : summary.notes) {
        conditions.push_back(filled(sentenceFor(summary, note.kind), note.count, note.what));
    }
    // A trace says itself what a removal does.
    if (summary.removals > 0 && summary.kind != SourceKind::eventTrace) {
        conditions.push_back(filled(sentenceFor(removals), summary.removals, {}));
    }
    return conditions;
}

std::string noLaunchWords(const std::vector<InputSummary>& summaries) {
    std::size_t lines = 0;
    for (const InputSummary& summary : summaries) {
        lines += isLog(summary) ? summary.units : 0;
    }
    return lines == 0 ? "no launches" : "no launch in " + counted(lines, "log line");
}

}  // namespace kestrel
