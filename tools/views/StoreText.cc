#include "tools/views/StoreText.h"

#include <iostream>
#include <stdexcept>

#include "learning/LearningRules.h"
#include "tools/base/TerminalText.h"
#include "tools/views/ReportText.h"

namespace kestrel {

std::string stateWords(std::optional<AppState> state) {
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
            return stateText(*state);
    }
}

void printDurations(std::ostream& out, const std::vector<int>& durations) {
    constexpr std::size_t COLUMN_WIDTH = 12;  // fits every duration
    constexpr std::size_t COLUMNS = 6;
    for (std::size_t i = 0; i < durations.size(); ++i) {
        const bool endsLine = i % COLUMNS == COLUMNS - 1 || i + 1 == durations.size();
        out << right(std::to_string(durations[i]), COLUMN_WIDTH) << (endsLine ? "\n" : "");
    }
}

std::string tooManyRecords(const StoredApp& stored) {
    return std::to_string(stored.records.size()) +
           " learned records instead of one; the next count or decision deletes them";
}

void tellDamage(const LearningStore& store) {
    for (const StoreFile& file : store.files) {
        if (!file.damage.empty()) {
            std::cerr << printable(file.name) << ": " << printable(file.damage) << '\n';
        }
    }
}

void expectUndamaged(const LearningStore& store) {
    if (store.isDamaged()) {
        throw std::runtime_error("not everything could be read");
    }
}

Json filesJson(const LearningStore& store) {
    Json files = Json::array();
    for (const StoreFile& file : store.files) {
        files.push_back({{"file", file.name},
                         {"found", file.found},
                         {"damage", file.damage.empty() ? Json() : Json(file.damage)}});
    }
    return files;
}

Json appJson(const std::string& app, const StoredApp& stored) {
    const KSPerfdOutput* record = stored.records.empty() ? nullptr : &stored.records.front();
    return {{"app", app},
            {"state", stored.state ? Json(static_cast<int32_t>(*stored.state)) : Json()},
            {"stateText", stateWords(stored.state)},
            {"records", stored.records.size()},
            {"learnedMs", record != nullptr ? Json(record->launchDuration) : Json()},
            {"launchesSince", record != nullptr ? Json(record->launchCount) : Json()},
            {"launchesToRelearn", KS_LAUNCHES_TO_RELEARN},
            {"relearning", record != nullptr && record->retriggered == 1},
            {"launchesStored", stored.launches.size()},
            {"launchesToDecide", KS_LAUNCHES_TO_DECIDE},
            {"durationsMs", durationsOf(stored)}};
}

void printJson(const Json& object) {
    std::cout << toText(object, 2) << '\n';
}

}  // namespace kestrel
