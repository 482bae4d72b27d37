#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "lmdb/LMDBTypes.h"

// One row of a table: three key columns and a payload that is stored as its exact byte image.
// Ownership: rows are made by LMDBDataTable::getRow and handed round as plain pointers; whoever
//            holds the pointer owns the row.
template <class T>
struct LMDBDataRow {
    static_assert(std::is_trivially_copyable_v<T>, "the payload is stored as raw bytes");

    int64_t rowid = 0;                 // 0: never stored; decides between insert and update
    int32_t intcol1 = LMDB_UNSET_INT;  // LMDB_UNSET_INT: NULL
    std::string appName;               // never empty in a stored row
    std::string rsvdName;              // empty: NULL
    T blob{};                          // all bytes zero in a new row
};
