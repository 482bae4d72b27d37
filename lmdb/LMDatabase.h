#pragma once

#include <cstdint>
#include <string>

#include "lmdb/LMDBDataRow.h"
#include "lmdb/LMDBDataRowKey.h"
#include "lmdb/LMDBDataTable.h"
#include "lmdb/LMDBTypes.h"

struct sqlite3;

// A SQLite database with one table per payload type, all of the same four columns.
//
// Declarations only: the bodies are in lmdb/LMDatabaseImpl.h, and each payload's own source
// instantiates them once with LMDB_INSTANTIATE.
//
// Ownership: owns its connection and the cached rows. The row operations act on the table of the
//            payload type that they are called with; who owns a row when is said in
//            lmdb/LMDBDataTable.h.
// Threads:   constructed, opened and destroyed while nobody else uses it. Row operations from any
//            thread: the cached rows are locked, and SQLite serialises the connection. Two flushes
//            at once share one transaction, so the second one's BEGIN fails and is logged. The
//            message of an error can be that of another thread's call, made since.
// Errors:    logged where they happen; no row operation lets an exception out, but for
//            writeDeallocateDR. With no open database, reads are empty and rows that were handed
//            over stay cached.
template <class... Ts>
class LMDatabase : public LMDBDataTable<Ts>... {
    template <class>
    using TableName = std::string;

 public:
    // Touches no file. `ctorTag` is only kept. An empty `dbFileName` stands for a database in
    // memory. One table name for each payload type, in their order.
    LMDatabase(uint64_t ctorTag, std::string dbFileName, TableName<Ts>... tableNames);

    // Writes the cached rows and closes.
    ~LMDatabase();

    // Opens the file, switches it to write-ahead logging and creates the tables, in the order of
    // the payload types. 0, or -1 after logging why. Throws std::bad_alloc when there is no memory
    // for the path.
    // REQUIRES: called at most once.
    [[nodiscard]] int openLMdb();
    [[nodiscard]] int LMDatabaseInit();  // the same as openLMdb

    // 0: closed, or nothing was open. -1: SQLite refused, and the connection stays open.
    int closeLMdb();

    // Flushes every table's cached rows: 0 when all of them ended in LMDB_SUCCESS, else -1.
    int LMDatabaseWriteCachedToDisk();

    // The rows that match `key`, newly allocated and owned by the caller; at most `limit` and never
    // more than LMDB_MAX_READ_ROWS. Cached rows are not seen. After an error in the middle, the
    // rows before it.
    template <class T>
    [[nodiscard]] typename LMDBDataTable<T>::vecT readAllocateDR(
        LMDBDataRowKey& key, unsigned long limit = LMDB_MAX_READ_ROWS,
        lmdbOrderByCol orderBy = lmdbOrderByCol::none,
        lmdbOrderByDir direction = lmdbOrderByDir::ascending);

    // How many stored rows match `key`; 0 when the count could not be taken.
    template <class T>
    [[nodiscard]] int32_t getCountDR(LMDBDataRowKey& key);

    // Writes the cached rows in one transaction and frees them: new ones are inserted, stored ones
    // updated. LMDB_SUCCESS when the database is open, both statements could be prepared and the
    // commit succeeded. Rows stay cached only when nothing could be prepared.
    template <class T>
    lmdbError writeCachedDRToDisk();

    // REQUIRES, here and below: the rows come from getRow or readAllocateDR of this database.
    // Takes the rows over, empties `rows` and flushes. 0 or -1 as writeCachedDRToDisk; 0 for none.
    // Throws std::bad_alloc at a row that cannot be cached: those before it are cached until the
    // next flush and null in `rows`, and the others stay the caller's.
    template <class T>
    int writeDeallocateDR(typename LMDBDataTable<T>::vecT& rows);

    // Deletes the stored copies of the rows in one transaction, frees the rows and empties `rows`,
    // whatever fails. 0 when the transaction was committed, and for no rows; else -1.
    template <class T>
    int deleteDeallocateDR(typename LMDBDataTable<T>::vecT& rows);

    // Appends the WHERE text that selects `key`, with one blank behind it; nothing for a key with
    // no column set. An exception is logged, and leaves the text incomplete.
    static void build_query_for_where_clause(LMDBDataRowKey& key, std::string& query);

    // Copies the smaller of the two sizes and returns it; a longer destination keeps its tail.
    static unsigned long LMDB_memscpy(void* destination, unsigned long destinationSize,
                                      const void* source, unsigned long sourceSize);

    uint64_t ctorTag;
    sqlite3* dbHandle = nullptr;  // null: not open
    std::string dbDir;            // ends in "/"
    std::string dbFileName;       // empty: in memory

 private:
    int createLMdbTables();
};

// "template class" does not reach the member templates, so each is named.
#define LMDB_FOR_TYPE(keyword, T)                                                            \
    keyword template class LMDBDataTable<T>;                                                 \
    keyword template class LMDatabase<T>;                                                    \
    keyword template LMDBDataTable<T>::vecT LMDatabase<T>::readAllocateDR<T>(                \
        LMDBDataRowKey&, unsigned long, lmdbOrderByCol, lmdbOrderByDir);                     \
    keyword template int32_t LMDatabase<T>::getCountDR<T>(LMDBDataRowKey&);                  \
    keyword template lmdbError LMDatabase<T>::writeCachedDRToDisk<T>();                      \
    keyword template int LMDatabase<T>::writeDeallocateDR<T>(LMDBDataTable<T>::vecT & rows); \
    keyword template int LMDatabase<T>::deleteDeallocateDR<T>(LMDBDataTable<T>::vecT & rows)

// Says that `T` is instantiated in its own source: a payload that nobody owns fails at link time.
#define LMDB_DECLARE(T) LMDB_FOR_TYPE(extern, T)
