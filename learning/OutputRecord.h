#pragma once

#include <cstdint>
#include <string>

#include "learning/LearningRecords.h"

// Finding the learned record of an app.

// Selects the app's rows, in either database.
LMDBDataRowKey launchKey(int32_t hintId, std::string const& app);

// The app's stored rows, or one new row when there is none. The caller owns them.
[[nodiscard]] LMDBDataTable<KSPerfdOutput>::vecT readOrMakeOutputRow(
    LMDatabase<KSPerfdOutput>& outputDb, LMDBDataRowKey& key);

// The row, which stays in `rows`, when there is exactly one. If not, the store is damaged: logs
// that for `function`, deletes and frees the rows, and returns null.
[[nodiscard]] LMDBDataRow<KSPerfdOutput>* onlyRowOrDeleteAll(
    LMDatabase<KSPerfdOutput>& outputDb, LMDBDataTable<KSPerfdOutput>::vecT& rows,
    const char* function, int line);
