#pragma once

#include <string>

#include "lmdb/LMDBDataRowKey.h"

namespace lmstore {

// Appends the WHERE text of `key`: the columns that are set, compared as one row value. Single
// quotes in names are doubled. Logs an exception and leaves what was appended before it, changed so
// that it cannot be prepared.
void appendWhereClause(const LMDBDataRowKey& key, std::string& query);

// The ORDER BY text of a read; empty for lmdbOrderByCol::none.
std::string orderByClause(lmdbOrderByCol column, lmdbOrderByDir direction);

}  // namespace lmstore
