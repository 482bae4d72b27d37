#include "tools/store/Explanation.h"

#include <algorithm>

#include "action/mpctl_msg.h"
#include "host/KestrelStartsHints.h"
#include "host/linux/StateStore.h"
#include "learning/LearningRules.h"

namespace kestrel {

namespace {

DurationEvaluation evaluate(const std::vector<int>& durations, int32_t count, int32_t launchType,
                            int32_t appClass) {
    DurationEvaluation e;
    e.kept = durations;
    e.average = averageWithoutOutliers(e.kept, [&](std::vector<int>& values, int k) {
        DurationEvaluation::Pass& pass = e.passes.emplace_back();
        pass.values = values;
        const auto record = [&](int32_t meanMs, std::size_t index, float percentage, bool removed) {
            pass.seen.meanMs = meanMs;
            pass.seen.examined.push_back({index, percentage, removed});
        };
        return removeOutliers(values, k, record);
    });
    e.isUnusable = isUnusable(count, e.average);
    if (e.isUnusable) {
        return e;
    }
    e.range = durationRange(launchType, appClass);
    e.clamped = clampLaunchDuration(e.average, launchType, appClass);
    e.isScaled = isScaled(launchType, e.clamped != e.average);
    e.result = e.isScaled ? scaleGameDuration(e.clamped) : e.clamped;
    return e;
}

// How many of the launches a decision reads, uses and deletes: no read returns more rows.
std::size_t readCount(const std::vector<KSInputDbData>& launches) {
    return std::min<std::size_t>(launches.size(), LMDB_MAX_READ_ROWS);
}

std::vector<int> usableDurations(const std::vector<KSInputDbData>& launches) {
    std::vector<int> durations;
    for (std::size_t i = 0; i < readCount(launches); ++i) {
        if (hasDuration(launches[i])) {
            durations.push_back(launches[i].launchDuration);
        }
    }
    return durations;
}

void dropRecords(Explanation& x) {
    x.next = NextStep::dropsRecords;
    x.recordAfter.reset();
}

// A launch of a learned app.
void explainCount(Explanation& x) {
    if (x.recordCount > 1) {
        dropRecords(x);
        return;
    }
    KSPerfdOutput& record = x.recordAfter ? *x.recordAfter : x.recordAfter.emplace();
    countLaunch(record);
    x.next = NextStep::counts;
    if (isRelearningDue(record)) {
        x.next = NextStep::relearns;
        record.retriggered = 1;
        x.stateAfter = APP_STATE_LEARNING;
    }
}

void explainDecision(Explanation& x, std::size_t usedCount) {
    if (x.recordCount > 1) {
        dropRecords(x);
        return;
    }
    x.next = NextStep::learns;
    x.stateAfter = APP_STATE_LEARNED;
    x.launchesAfter -= usedCount;
    if (decisionStep(x.state) == DecisionStep::begin) {
        KSPerfdOutput& record = x.recordAfter ? *x.recordAfter : x.recordAfter.emplace();
        record.boostType = decidedBoostType(x.launchType);
    }
    // An update writes no name, so that a record that is not there yet is refused.
    if (x.recordAfter) {
        setDecision(*x.recordAfter, x.evaluation->result);
    }
}

// A launch of an app that is still learning.
void explainLearning(Explanation& x, const std::vector<KSInputDbData>& launches) {
    const auto count = static_cast<int32_t>(launches.size());
    if (count < KS_LAUNCHES_TO_DECIDE) {
        return;
    }
    x.evaluation = evaluate(usableDurations(launches), count, x.launchType, x.appClass);
    if (x.evaluation->isUnusable) {
        x.next = NextStep::disables;
        x.stateAfter = APP_STATE_DISABLED;
        x.launchesAfter -= readCount(launches);
        return;
    }
    explainDecision(x, readCount(launches));
}

// The duration that the performance service is told, which knows the beginning of a name only.
int32_t feedbackDuration(const std::string& app, const std::optional<KSPerfdOutput>& record) {
    constexpr std::size_t LONGEST_NAME = sizeof(mpctl_msg_t::appName) - 1;
    return record && app.size() <= LONGEST_NAME ? record->launchDuration
                                                : KS_DEFAULT_BOOST_DURATION;
}

}  // namespace

Explanation explain(const std::string& app, const StoredApp& stored, int32_t launchType,
                    int32_t appClass) {
    Explanation x;
    x.launchType = launchType;
    x.appClass = appClass;
    x.storedState = stored.state;
    x.state = stored.state.value_or(APP_STATE_LEARNING);
    if (isUnfinished(x.state)) {
        x.state = APP_STATE_LEARNING;
    }
    x.durations = durationsOf(stored);
    x.recordCount = stored.records.size();
    if (!stored.records.empty()) {
        x.record = stored.records.front();
    }
    x.stateAfter = x.state;
    x.recordAfter = x.record;
    x.launchesAfter = x.durations.size();

    if (x.state < APP_STATE_LEARNING || x.state > APP_STATE_RELEARN) {
        x.next = NextStep::passes;
    } else if (x.state == APP_STATE_LEARNED) {
        explainCount(x);
    } else {
        explainLearning(x, stored.launches);
    }
    x.isMeasured = x.next != NextStep::passes && x.stateAfter != APP_STATE_LEARNED;
    if (x.next != NextStep::disables) {
        x.launchBoostMs = feedbackDuration(app, x.recordAfter);
        x.defaultBoostMs = defaultBoostDuration(*x.launchBoostMs);
    }
    return x;
}

}  // namespace kestrel
