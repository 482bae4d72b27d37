#pragma once

#include <cstdint>
#include <string>

#include "lmdb/LMDBTypes.h"

// Selects rows by equality on the columns that are set; with none set, every row of the table.
struct LMDBDataRowKey {
    int32_t intcol1 = LMDB_UNSET_INT;  // LMDB_UNSET_INT: not part of the key
    std::string appName;               // empty: not part of the key
    std::string rsvdName;              // empty: not part of the key
};
