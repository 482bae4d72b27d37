#include <limits>

#include "learning/LearningRules.h"
#include "tools/views/ExplanationText.h"
#include "tools/views/StoreText.h"

namespace kestrel {

namespace {

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

const char* nextName(NextStep next) {
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
            return "passes";
    }
    return "";
}

}  // namespace

Json explanationJson(const std::string& app, const Explanation& x, const LearningStore& store) {
    const auto learned = [](const std::optional<KSPerfdOutput>& record, auto field) {
        return record ? Json((*record).*field) : Json();
    };
    return {{"files", filesJson(store)},
            {"app", app},
            {"launchType", x.launchType},
            {"class", x.appClass},
            {"state", x.storedState ? Json(static_cast<int32_t>(*x.storedState)) : Json()},
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
            {"next", nextName(x.next)},
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
