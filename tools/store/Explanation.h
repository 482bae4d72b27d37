#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "learning/LaunchStatistics.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

// What an outlier pass saw and did.
struct OutlierPass {
    struct Examined {
        std::size_t index;  // in the values before the pass; those left out were not examined
        float percentage;   // by which it differs from the mean
        bool removed;
    };
    int32_t meanMs = 0;
    std::vector<Examined> examined;  // empty: there was nothing to begin with
};

// How the durations of the stored launches become a learned one. Durations in ms.
struct DurationEvaluation {
    struct Pass {
        std::vector<int> values;  // before the pass, largest first
        OutlierPass seen;
    };
    std::vector<Pass> passes;  // the last one removes nothing; none for one or two durations
    std::vector<int> kept;     // what is averaged
    int32_t average = 0;
    bool isUnusable = false;  // the launches are enough to disable the app; no more is done then
    DurationRange range{};    // of the launch type and the class
    int32_t clamped = 0;      // the average, brought into the range
    bool isScaled = false;    // by the game factor
    int32_t result = 0;
};

// What the next launch of an app does, by what is stored now.
enum class NextStep {
    waits,         // too few launches are stored for a decision
    learns,        // a decision is stored
    disables,      // there are enough launches, but no duration
    dropsRecords,  // several learned records instead of one: they are deleted
    counts,        // a learned app's launch
    relearns,      // a learned app's launch, and enough of them
    passes,        // neither evaluated nor counted nor measured, only boosted
};

// Why, and with what in the end. What it says holds for a feature that is on.
struct Explanation {
    int32_t launchType = 0;
    int32_t appClass = 0;
    std::optional<AppState> storedState;  // none: not known, which counts as learning
    bool isConfigured = false;            // as disabled, by the platform's set-up
    AppState state = APP_STATE_LEARNING;  // after the host's start, which abandons unfinished steps
    std::vector<int> durations;           // of the stored launches, oldest first; ms
    std::size_t recordCount = 0;
    std::optional<KSPerfdOutput> record;  // the one that counts
    std::optional<DurationEvaluation> evaluation;

    NextStep next = NextStep::waits;
    AppState stateAfter = APP_STATE_LEARNING;
    std::optional<KSPerfdOutput> recordAfter;
    std::size_t launchesAfter = 0;         // stored ones, without the one that is launched then
    std::optional<int32_t> launchBoostMs;  // none: there is no boost
    std::optional<int32_t> defaultBoostMs;
    bool isMeasured = false;
};

// `appClass` is what the classifier answers for the app.
Explanation explain(const std::string& app, const StoredApp& stored, int32_t launchType,
                    int32_t appClass);

}  // namespace kestrel
