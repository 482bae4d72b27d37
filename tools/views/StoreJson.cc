#include "tools/views/StoreJson.h"

#include <limits>

#include "learning/LearningRules.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

Json stateNumber(std::optional<AppState> state) {
    return state ? Json(static_cast<int32_t>(*state)) : Json();
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
    const KSPerfdOutput* record = recordOf(stored);
    return {{"app", app},
            {"state", stateNumber(stored.state)},
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

Json passJson(const DurationEvaluation::Pass& pass) {
    Json examined = Json::array();
    for (const OutlierPass::Examined& one : pass.seen.examined) {
        examined.push_back({{"ms", pass.values[one.index]},
                            {"percentage", one.percentage},
                            {"removed", one.removed}});
    }
    return {{"valuesMs", pass.values},
            {"leading", pass.values.size() / 2},
            {"meanMs", pass.seen.meanMs},
            {"examined", std::move(examined)}};
}

Json evaluationJson(const DurationEvaluation& e) {
    Json passes = Json::array();
    for (const DurationEvaluation::Pass& pass : e.passes) {
        passes.push_back(passJson(pass));
    }
    const bool hasLimit = e.range.upperMs != std::numeric_limits<int32_t>::max();
    const auto ifUsable = [&](auto value) { return e.isUnusable ? Json() : Json(value); };
    return {{"passes", std::move(passes)},
            {"keptMs", e.kept},
            {"averageMs", e.average},
            {"lowerMs", ifUsable(e.range.lowerMs)},
            {"upperMs", hasLimit ? ifUsable(e.range.upperMs) : Json()},
            {"clampedMs", ifUsable(e.clamped)},
            {"gameFactor", ifUsable(e.isScaled)},
            {"resultMs", ifUsable(e.result)}};
}

}  // namespace

Json storeJson(const LearningStore& store, const std::optional<std::string>& only) {
    Json apps = Json::array();
    for (const auto& [app, stored] : store.apps) {
        if (!only || app == *only) {
            apps.push_back(appJson(app, stored));
        }
    }
    return {{"files", filesJson(store)}, {"apps", std::move(apps)}};
}

Json explanationJson(const std::string& app, const Explanation& x, const LearningStore& store) {
    const auto learned = [](const std::optional<KSPerfdOutput>& record, auto field) {
        return record ? Json((*record).*field) : Json();
    };
    return {{"files", filesJson(store)},
            {"app", app},
            {"launchType", x.launchType},
            {"class", x.appClass},
            {"state", stateNumber(x.storedState)},
            {"stateText", stateWords(x.storedState)},
            {"records", x.recordCount},
            {"learnedMs", learned(x.record, &KSPerfdOutput::launchDuration)},
            {"launchesSince", learned(x.record, &KSPerfdOutput::launchCount)},
            {"launchesToRelearn", KS_LAUNCHES_TO_RELEARN},
            {"relearning", x.record && x.record->retriggered == 1},
            {"disabledBySetUp", x.isConfigured},
            {"launchesStored", x.durations.size()},
            {"launchesToDecide", KS_LAUNCHES_TO_DECIDE},
            {"durationsMs", x.durations},
            {"evaluation", x.evaluation ? evaluationJson(*x.evaluation) : Json()},
            {"next", nextStepWord(x.next)},
            {"after",
             {{"state", static_cast<int32_t>(x.stateAfter)},
              {"stateText", stateWords(x.stateAfter)},
              {"learnedMs", learned(x.recordAfter, &KSPerfdOutput::launchDuration)},
              {"launchesSince", learned(x.recordAfter, &KSPerfdOutput::launchCount)},
              {"launchesStored", x.launchesAfter},
              {"launchBoostMs", orNull(x.launchBoostMs)},
              {"defaultBoostMs", orNull(x.defaultBoostMs)},
              {"measured", x.isMeasured}}}};
}

}  // namespace kestrel
