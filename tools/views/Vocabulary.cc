#include "tools/views/Vocabulary.h"

#include <iterator>

#include "host/AppState.h"
#include "host/KestrelStartsHints.h"
#include "tools/input/LiveInput.h"

namespace kestrel {

std::string stateWord(int32_t state) {
    switch (state) {
        case APP_STATE_LEARNING:
            return "learning";
        case APP_STATE_LEARNED:
            return "learned";
        case APP_STATE_DISABLED:
            return "disabled";
        default:
            return "state " + std::to_string(state);
    }
}

std::string stateWords(std::optional<int32_t> state) {
    if (!state) {
        return "unknown";
    }
    switch (*state) {
        case APP_STATE_EVALUATING:
            return "evaluating (1)";
        case APP_STATE_EVALUATED:
            return "evaluated (2)";
        case APP_STATE_DECIDING:
            return "deciding (3)";
        case APP_STATE_RELEARN:
            return "going back to learning (5)";
        default:
            return stateWord(*state);
    }
}

const char* phaseWord(LaunchPhase phase) {
    switch (phase) {
        case LaunchPhase::learning:
            return "learning";
        case LaunchPhase::relearning:
            return "relearning";
        case LaunchPhase::learned:
            return "learned";
        case LaunchPhase::disabled:
            break;
    }
    return "disabled";
}

const char* markWord(AppMark::Kind kind) {
    switch (kind) {
        case AppMark::Kind::learned:
            return "learned";
        case AppMark::Kind::relearning:
            return "relearning";
        case AppMark::Kind::disabled:
            return "disabled";
        case AppMark::Kind::removed:
            break;
    }
    return "removed";
}

const char* boostWords(BoostKind kind) {
    switch (kind) {
        case BoostKind::defaultBoost:
            return "default boost";
        case BoostKind::launchBoost:
            return "launch boost";
        case BoostKind::attachBoost:
            return "attach boost";
        case BoostKind::hardwareProfile:
            break;
    }
    return "hardware profile";
}

const char* boostEndWords(BoostEnd end) {
    switch (end) {
        case BoostEnd::ranOut:
            return "ran out";
        case BoostEnd::released:
            return "released";
        case BoostEnd::replaced:
            break;
    }
    return "replaced";
}

const char* nextStepWord(NextStep next) {
    switch (next) {
        case NextStep::waits:
            return "waits";
        case NextStep::learns:
            return "learns";
        case NextStep::disables:
            return "disables";
        case NextStep::dropsRecords:
            return "dropsRecords";
        case NextStep::counts:
            return "counts";
        case NextStep::relearns:
            return "relearns";
        case NextStep::passes:
            break;
    }
    return "passes";
}

std::string switchWords(FeatureSwitch::State state) {
    using State = FeatureSwitch::State;
    const std::string apps = KS_PROPERTY_APPS;
    const std::string games = KS_PROPERTY_GAMES;
    switch (state) {
        case State::on:
            return {};
        case State::noKnobLibrary:
            return "the feature was off, since the platform has no knob library";
        case State::knobsOff:
            return "the feature was off, since the knob library reports neither feature 10 nor 11";
        case State::noProperties:
            return "the feature was off, since the performance service offers no properties";
        case State::appsOff:
            return "the feature was off for apps, since " + apps + " is not \"true\"";
        case State::gamesOff:
            return "the feature was off for games, since " + games + " is not \"true\"";
        case State::bothOff:
            break;
    }
    return "the feature was off, since neither " + apps + " nor " + games + " is \"true\"";
}

const SourceWords& sourceWords(SourceKind kind) {
    // In the order of SourceKind.
    static constexpr SourceWords WORDS[] = {
        {"no input", "none", "line"},
        {"event trace", "eventTrace", "line"},
        {"Android log", "androidLog", "line"},
        {"bug report", "bugReport", "line"},
        {"last boot's log of a bug report", "lastBootLog", "line"},
        {"exported log", "logExport", "message"},
        {"start-info dump", "startInfo", "record"},
        {"Perfetto trace", "perfettoTrace", "packet"},
        {"ftrace text", "ftrace", "line"},
        {"benchmark results", "benchmark", "iteration"},
    };
    static_assert(std::size(WORDS) == static_cast<std::size_t>(SourceKind::benchmark) + 1);
    return WORDS[static_cast<std::size_t>(kind)];
}

const char* clockWord(InputClock::Kind kind) {
    switch (kind) {
        case InputClock::Kind::none:
            return "none";
        case InputClock::Kind::yearless:
            return "yearless";
        case InputClock::Kind::year:
            return "year";
        case InputClock::Kind::epoch:
            return "epoch";
        case InputClock::Kind::uptime:
            return "uptime";
        case InputClock::Kind::timeOfDay:
            break;
    }
    return "timeOfDay";
}

std::string inputWords(const std::string& name) {
    return name == LIVE_INPUT ? "standard input" : name;
}

std::string counted(std::size_t count, const std::string& what) {
    std::string text = std::to_string(count) + " " + what;
    if (count == 1) {
        return text;
    }
    if (text.ends_with('y')) {
        return text.substr(0, text.size() - 1) + "ies";
    }
    return text + (text.ends_with("ch") ? "es" : "s");
}

}  // namespace kestrel
