#pragma once

#include <utility>

#include "lmdb/LMDBDataTable.h"

// Rows in the hands of a caller: frees what was not handed on, also when an exception passes.
// Ownership: owns the rows in `rows`; borrows the table, which outlives it.
template <class T>
struct LMDBRows {
    using vecT = typename LMDBDataTable<T>::vecT;

    LMDBRows(LMDBDataTable<T>& owner, vecT found) : table(owner), rows(std::move(found)) {}
    ~LMDBRows() { table.freeRow(rows); }
    LMDBRows(const LMDBRows&) = delete;
    LMDBRows& operator=(const LMDBRows&) = delete;

    LMDBDataTable<T>& table;
    vecT rows;
};
