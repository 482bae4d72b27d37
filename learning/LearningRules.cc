#include "learning/LearningRules.h"

#include <limits>

#include "host/KestrelStartsHints.h"

DecisionStep decisionStep(AppState state) {
    switch (state) {
        case APP_STATE_LEARNING:
            return DecisionStep::begin;
        case APP_STATE_EVALUATED:
            return DecisionStep::update;
        default:
            return DecisionStep::none;
    }
}

bool isUnusable(int32_t count, int32_t averageMs) {
    return count >= KS_LAUNCHES_TO_DISABLE && averageMs <= 0;
}

void setDecision(KSPerfdOutput& record, int32_t durationMs) {
    record.launchDuration = durationMs;
    record.launchCount = 0;
    record.retriggered = 0;
}

int32_t decidedBoostType(int32_t launchType) {
    return launchType != 0 ? KS_HINT_TYPE_GAME_BOOST : KS_HINT_TYPE_APP_BOOST;
}

bool countLaunch(KSPerfdOutput& record) {
    if (record.retriggered == 1) {
        return false;
    }
    // A damaged count does not overflow; it is past the threshold anyway.
    if (record.launchCount < std::numeric_limits<int32_t>::max()) {
        ++record.launchCount;
    }
    return true;
}

bool isRelearningDue(KSPerfdOutput const& record) {
    return record.launchCount >= KS_LAUNCHES_TO_RELEARN;
}
