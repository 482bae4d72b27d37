#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "lmdb/LMDatabase.h"

// What is stored per app. Both records are kept in the database as their bytes in memory, so their
// layout is a file format.

// One measured launch.
struct KSInputDbData {
    int32_t launchDuration;  // ms; 0: nothing was measured, averages skip it
    int32_t secondMetric;    // always written as 0
};

static_assert(offsetof(KSInputDbData, launchDuration) == 0);
static_assert(offsetof(KSInputDbData, secondMetric) == 4);
static_assert(sizeof(KSInputDbData) == 8);
static_assert(std::is_trivially_copyable_v<KSInputDbData>);

// The learned record of an app; there is at most one.
struct KSPerfdOutput {
    int32_t reserved0;  // kept as it is
    int32_t boostType;  // hint type of the learned boost, as of the latest decision that began anew
    int32_t launchDuration;  // ms; the learned duration
    int32_t secondMetric;    // kept as it is
    uint8_t reservedBlock[512];
    int32_t launchCount;  // launches since the app was learned
    int32_t retriggered;  // 1: it was sent back to learning
};

static_assert(offsetof(KSPerfdOutput, reserved0) == 0);
static_assert(offsetof(KSPerfdOutput, boostType) == 4);
static_assert(offsetof(KSPerfdOutput, launchDuration) == 8);
static_assert(offsetof(KSPerfdOutput, secondMetric) == 12);
static_assert(offsetof(KSPerfdOutput, reservedBlock) == 16);
static_assert(offsetof(KSPerfdOutput, launchCount) == 528);
static_assert(offsetof(KSPerfdOutput, retriggered) == 532);
static_assert(sizeof(KSPerfdOutput::reservedBlock) == 512);
static_assert(sizeof(KSPerfdOutput) == 536);
static_assert(std::is_trivially_copyable_v<KSPerfdOutput>);

// Where measured launches are kept, in a file named after the feature, and where learned records.
inline constexpr const char* KS_INPUT_TABLE = "KestrelStarts";
inline constexpr const char* KS_OUTPUT_DB_FILE = "KestrelStartsAction.db";
inline constexpr const char* KS_OUTPUT_TABLE = "output_table";

inline std::string inputDbFile(std::string const& featureName) {
    return featureName + ".db";
}

LMDB_DECLARE(KSInputDbData);
LMDB_DECLARE(KSPerfdOutput);
