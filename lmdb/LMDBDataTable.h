#pragma once

#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "lmdb/LMDBDataRow.h"
#include "lmdb/ThreadAnnotations.h"

// The rows of one payload type that wait to be written, and the making and freeing of rows.
// Ownership: owns every row in clst. A vecT owns nothing: its rows leave through exactly one of
//            freeRow, writeDeallocateDR and deleteDeallocateDR, and each of these empties it; a
//            writeDeallocateDR that throws has only nulled the rows that it took. A vecT may hold
//            null entries; every operation skips them.
// Threads:   clst from any thread under clstMutex, held for one list step at a time. getRow and
//            freeRow touch nothing shared.
// Errors:    getRow logs and returns fewer rows when memory is short.
template <class T>
class LMDBDataTable {
 public:
    using vecT = std::vector<LMDBDataRow<T>*>;

    explicit LMDBDataTable(std::string name);

    // Logs how many rows are still cached, which are lost, and frees them.
    ~LMDBDataTable();

    LMDBDataTable(const LMDBDataTable&) = delete;
    LMDBDataTable& operator=(const LMDBDataTable&) = delete;

    // Makes up to `n` new rows, at most LMDB_MAX_NEW_ROWS; the caller owns them. Throws
    // std::bad_alloc when the vector itself cannot grow.
    [[nodiscard]] vecT getRow(unsigned long n);

    // Frees every row of `rows` and empties it; the stored copies stay.
    void freeRow(vecT& rows);

    std::list<LMDBDataRow<T>*> clst GUARDED_BY(clstMutex);  // oldest first
    std::mutex clstMutex;
    std::string tableName;  // the table's SQL name

 protected:
    // One new row, or null after logging that memory is short.
    LMDBDataRow<T>* newRow(std::size_t allocatedSoFar);
};
