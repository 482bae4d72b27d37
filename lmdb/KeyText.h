#pragma once

#include <string>

#include "lmdb/LMDBDataRowKey.h"

namespace lmstore {

// Appends the WHERE text of `key`: the columns that are set, compared as one row value. Single
// quotes in names are doubled. False after an exception, which is logged; what was appended before
// it stays, and may lack the condition altogether.
bool appendWhereClause(const LMDBDataRowKey& key, std::string& query);

// "OPERATION FROM table WHERE ...", for a statement that selects `key`. When the condition could
// not be completed, a text that cannot be prepared: without it, it would select every row.
std::string selectText(const char* operation, const std::string& table, const LMDBDataRowKey& key);

// The ORDER BY text of a read; empty for lmdbOrderByCol::none.
std::string orderByClause(lmdbOrderByCol column, lmdbOrderByDir direction);

}  // namespace lmstore
