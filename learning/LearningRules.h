#pragma once

#include <cstdint>

#include "host/AppState.h"
#include "learning/LearningRecords.h"

// When launches are evaluated, what that leads to, and when an app is sent back to learning: the
// rules of learning, on values alone.

inline constexpr int32_t KS_LAUNCHES_TO_DECIDE = 5;
inline constexpr int32_t KS_LAUNCHES_TO_DISABLE = 10;  // without an average
inline constexpr int32_t KS_LAUNCHES_TO_RELEARN = 100;

// What the feature exports when a duration has been learned.
inline constexpr const char* KS_EXPORT_FIRST_DECISION = "Data Complete - Eval Required";
inline constexpr const char* KS_EXPORT_LATER_DECISION = "Learning Complete - ENABLED KS";

// What an evaluation does with its result.
enum class DecisionStep {
    none,    // no state to decide in: the launches stay, an old decision does not
    begin,   // a decision that begins anew
    update,  // the decision that was there gets a new duration
};

DecisionStep decisionStep(AppState state);

// Whether `count` stored launches with this average, in ms, disable the app.
bool isUnusable(int32_t count, int32_t averageMs);

// Writes a decision, which starts the count of launches anew.
void setDecision(KSPerfdOutput& record, int32_t durationMs);

// The hint type that a decision that begins anew records.
int32_t decidedBoostType(int32_t launchType);

// Counts a launch of a learned app; false when its record counts no more.
bool countLaunch(KSPerfdOutput& record);

// Whether the app of this record goes back to learning.
bool isRelearningDue(KSPerfdOutput const& record);
