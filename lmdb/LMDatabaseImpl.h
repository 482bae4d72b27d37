#pragma once

// The bodies of the store's templates. Only a source that owns a payload includes this, and
// instantiates its type there with LMDB_INSTANTIATE.
//
// What holds here: a row is freed exactly once, by the operation that took it; a statement is
// finalized on every path; and the rows of a flush outlive its last step, because their text and
// payload are bound without a copy.

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "lmdb/KeyText.h"
#include "lmdb/LMConnection.h"
#include "lmdb/LMDatabase.h"
#include "lmdb/LMLog.h"
#include "lmdb/LMStatement.h"

namespace lmstore {

inline std::size_t boundedCopy(void* destination, std::size_t destinationSize, const void* source,
                               std::size_t sourceSize) {
    const std::size_t size = std::min(destinationSize, sourceSize);
    if (size > 0) {
        std::memcpy(destination, source, size);
    }
    return size;
}

// Rows that have left the cache, freed with this object.
template <class T>
struct OwnedRows {
    OwnedRows() = default;
    ~OwnedRows() { free(); }
    OwnedRows(const OwnedRows&) = delete;
    OwnedRows& operator=(const OwnedRows&) = delete;

    void free() {
        for (LMDBDataRow<T>* row : rows) {
            delete row;
        }
        rows.clear();
    }

    std::list<LMDBDataRow<T>*> rows;
};

}  // namespace lmstore

// ---- LMDBDataTable

template <class T>
LMDBDataTable<T>::LMDBDataTable(std::string name) : tableName(std::move(name)) {}

template <class T>
LMDBDataTable<T>::~LMDBDataTable() {
    lmstore::OwnedRows<T> lost;
    {
        const std::lock_guard<std::mutex> lock(clstMutex);
        lost.rows.swap(clst);
    }
    if (!lost.rows.empty()) {
        LM_LOG("LMDB", "~LMDBDataTable", 78, "ERROR:Dbt=%s blstSz=%d, clstSz=%d\n",
               tableName.c_str(), 0, static_cast<int>(lost.rows.size()));
    }
}

template <class T>
LMDBDataRow<T>* LMDBDataTable<T>::newRow(std::size_t allocatedSoFar) {
    auto* row = new (std::nothrow) LMDBDataRow<T>;
    if (row == nullptr) {
        LM_LOG("LMDB", "getRow", 144, "ERROR:Dbt=%s new operator failure, allocated=%zu\n",
               tableName.c_str(), allocatedSoFar);
    }
    return row;
}

template <class T>
typename LMDBDataTable<T>::vecT LMDBDataTable<T>::getRow(unsigned long n) {
    vecT rows;
    const std::size_t target = std::min(n, LMDB_MAX_NEW_ROWS);
    rows.reserve(target);
    while (rows.size() < target) {
        LMDBDataRow<T>* row = newRow(rows.size());
        if (row == nullptr) {
            break;
        }
        rows.push_back(row);
    }
    return rows;
}

template <class T>
void LMDBDataTable<T>::freeRow(vecT& rows) {
    for (LMDBDataRow<T>* row : rows) {
        delete row;
    }
    rows.clear();
}

// ---- LMDatabase: lifecycle

template <class... Ts>
LMDatabase<Ts...>::LMDatabase(uint64_t tag, std::string fileName, TableName<Ts>... tableNames)
    : LMDBDataTable<Ts>(std::move(tableNames))...,
      ctorTag(tag),
      dbDir(LMDB_DIRECTORY),
      dbFileName(std::move(fileName)) {}

template <class... Ts>
LMDatabase<Ts...>::~LMDatabase() {
    (writeCachedDRToDisk<Ts>(), ...);
    // The net is for the message of a refused close, which may lack memory.
    guarded([this] { closeLMdb(); }, [](const char*) {});
}

template <class... Ts>
int LMDatabase<Ts...>::openLMdb() {
    const std::string path = lmstore::databasePath(dbDir, dbFileName);
    if (!lmstore::openConnection(path, dbHandle)) {
        closeLMdb();
        return LMDB_FAILURE;
    }
    if (!dbFileName.empty()) {
        lmstore::useWriteAheadLog(path, dbHandle);
    }
    return createLMdbTables();
}

template <class... Ts>
int LMDatabase<Ts...>::LMDatabaseInit() {
    return openLMdb();
}

template <class... Ts>
int LMDatabase<Ts...>::createLMdbTables() {
    if (dbHandle == nullptr) {
        return LMDB_SUCCESS;
    }
    const bool created = (lmstore::createTable(dbHandle, LMDBDataTable<Ts>::tableName) && ...);
    return created ? LMDB_SUCCESS : LMDB_FAILURE;
}

template <class... Ts>
int LMDatabase<Ts...>::closeLMdb() {
    if (dbHandle == nullptr) {
        return LMDB_SUCCESS;
    }
    if (!lmstore::closeConnection(dbHandle, dbDir, dbFileName)) {
        return LMDB_FAILURE;
    }
    dbHandle = nullptr;
    return LMDB_SUCCESS;
}

template <class... Ts>
int LMDatabase<Ts...>::LMDatabaseWriteCachedToDisk() {
    bool allWritten = true;
    ((allWritten = writeCachedDRToDisk<Ts>() == LMDB_SUCCESS && allWritten), ...);
    return allWritten ? LMDB_SUCCESS : LMDB_FAILURE;
}

// ---- a row and its statements

namespace lmstore {

// Binds the columns of `row`; what is not bound is NULL. The row must outlive the last step.
template <class T>
void bindRow(Statement& statement, const LMDBDataRow<T>& row, const char* function,
             const std::string& table) {
    statement.clearBindings();
    if (row.intcol1 != LMDB_UNSET_INT) {
        expectCode(statement.bindInt(1, row.intcol1), 0, function, 299, table);
    }
    if (!row.appName.empty()) {
        expectCode(statement.bindText(2, row.appName), 0, function, 304, table);
    }
    if (!row.rsvdName.empty()) {
        expectCode(statement.bindText(3, row.rsvdName), 0, function, 309, table);
    }
    expectCode(statement.bindBlob(4, &row.blob, sizeof(T)), 0, function, 313, table);
    if (row.rowid != 0) {
        expectCode(statement.bindRowid(5, row.rowid), 0, function, 317, table);
    }
}

// Fills a new row from the current row of a read.
template <class T>
void readRow(Statement& statement, LMDBDataRow<T>& row) {
    row.intcol1 = statement.columnInt(0, LMDB_UNSET_INT);
    statement.columnText(1, row.appName);
    statement.columnText(2, row.rsvdName);
    std::size_t blobSize = 0;
    const void* blob = statement.columnBlob(3, blobSize);
    boundedCopy(&row.blob, sizeof(T), blob, blobSize);
    row.rowid = statement.columnInt64(4);
}

}  // namespace lmstore

// ---- LMDatabase: reads

template <class... Ts>
void LMDatabase<Ts...>::build_query_for_where_clause(LMDBDataRowKey& key, std::string& query) {
    lmstore::appendWhereClause(key, query);
}

template <class... Ts>
unsigned long LMDatabase<Ts...>::LMDB_memscpy(void* destination, unsigned long destinationSize,
                                              const void* source, unsigned long sourceSize) {
    return lmstore::boundedCopy(destination, destinationSize, source, sourceSize);
}

template <class... Ts>
template <class T>
typename LMDBDataTable<T>::vecT LMDatabase<Ts...>::readAllocateDR(LMDBDataRowKey& key,
                                                                  unsigned long limit,
                                                                  lmdbOrderByCol orderBy,
                                                                  lmdbOrderByDir direction) {
    constexpr const char* FUNCTION = "readAllocateDR";
    typename LMDBDataTable<T>::vecT rows;
    if (dbHandle == nullptr) {
        return rows;
    }
    const std::string& table = LMDBDataTable<T>::tableName;
    const auto read = [&] {
        const std::string sql = lmstore::selectText("SELECT *, rowid", table, key) +
                                lmstore::orderByClause(orderBy, direction);
        lmstore::Statement statement;
        if (!statement.prepare(dbHandle, sql)) {
            lmstore::logSqlMessage(FUNCTION, 448, table, dbHandle);
            return;
        }
        const unsigned long most = std::min(limit, LMDB_MAX_READ_ROWS);
        while (rows.size() < most) {
            if (statement.step() != lmstore::Statement::ROW) {
                lmstore::expectCode(statement.reset(), 0, FUNCTION, 495, table);
                break;
            }
            std::unique_ptr<LMDBDataRow<T>> row(LMDBDataTable<T>::newRow(0));
            if (row == nullptr) {
                break;
            }
            // Appended when it is complete: half a row must not reach a caller, who may write it
            // back.
            lmstore::readRow(statement, *row);
            rows.push_back(row.get());
            static_cast<void>(row.release());
        }
        lmstore::expectCode(statement.finalize(), 0, FUNCTION, 500, table);
    };
    guarded(read,
            lmstore::OperationExceptionLog{FUNCTION, 503, 505, lmstore::UNKNOWN_STRING_EXCEPTION});
    return rows;
}

template <class... Ts>
template <class T>
int32_t LMDatabase<Ts...>::getCountDR(LMDBDataRowKey& key) {
    return dbHandle == nullptr ? 0 : lmstore::countRows(dbHandle, LMDBDataTable<T>::tableName, key);
}

// ---- LMDatabase: writes and deletes

template <class... Ts>
template <class T>
lmdbError LMDatabase<Ts...>::writeCachedDRToDisk() {
    constexpr const char* FUNCTION = "writeCachedDRToDisk";
    if (dbHandle == nullptr) {
        return LMDB_FAILURE;
    }
    const std::string& table = LMDBDataTable<T>::tableName;
    bool committed = false;
    const auto flush = [&] {
        lmstore::Statement insert;
        if (!insert.prepare(dbHandle, "INSERT INTO " + table +
                                          "(intcol1, appName, rsvdName, blob) VALUES (?,?,?,?)")) {
            lmstore::logMessage(FUNCTION, 263, table, dbHandle);
            return;
        }
        lmstore::Statement update;
        if (!update.prepare(dbHandle, "UPDATE " + table +
                                          " SET (intcol1, appName, rsvdName, blob) = (?,?,?,?) "
                                          "WHERE (rowid) = (?)")) {
            lmstore::logMessage(FUNCTION, 269, table, dbHandle);
            return;
        }
        lmstore::OwnedRows<T> taken;
        lmstore::Transaction transaction(dbHandle, FUNCTION, 271, table);
        while (true) {
            {
                const std::lock_guard<std::mutex> lock(LMDBDataTable<T>::clstMutex);
                auto& cached = LMDBDataTable<T>::clst;
                if (cached.empty()) {
                    break;
                }
                taken.rows.splice(taken.rows.end(), cached, cached.begin());
            }
            const LMDBDataRow<T>& row = *taken.rows.back();
            lmstore::Statement& statement = row.rowid != 0 ? update : insert;
            lmstore::bindRow(statement, row, FUNCTION, table);
            lmstore::expectCode(statement.step(), lmstore::Statement::DONE, FUNCTION, 321, table);
            lmstore::expectCode(statement.reset(), 0, FUNCTION, 322, table);
        }
        taken.free();
        committed = transaction.commit(326);
        lmstore::expectCode(insert.finalize(), 0, FUNCTION, 328, table);
        lmstore::expectCode(update.finalize(), 0, FUNCTION, 329, table);
    };
    guarded(flush, lmstore::OperationExceptionLog{FUNCTION, 335, 337, lmstore::UNKNOWN_EXCEPTION});
    return committed ? LMDB_SUCCESS : LMDB_FAILURE;
}

template <class... Ts>
template <class T>
int LMDatabase<Ts...>::writeDeallocateDR(typename LMDBDataTable<T>::vecT& rows) {
    if (rows.empty()) {
        return LMDB_SUCCESS;
    }
    for (LMDBDataRow<T>*& row : rows) {
        if (row == nullptr) {
            continue;
        }
        const std::lock_guard<std::mutex> lock(LMDBDataTable<T>::clstMutex);
        LMDBDataTable<T>::clst.push_back(row);
        row = nullptr;  // the cache's now: a caller whom an exception reaches must not free it
    }
    rows.clear();
    return writeCachedDRToDisk<T>();
}

template <class... Ts>
template <class T>
int LMDatabase<Ts...>::deleteDeallocateDR(typename LMDBDataTable<T>::vecT& rows) {
    constexpr const char* FUNCTION = "deleteDeallocateDR";
    const std::string& table = LMDBDataTable<T>::tableName;
    bool done = rows.empty();
    const auto erase = [&] {
        lmstore::Statement statement;
        if (!statement.prepare(dbHandle, "DELETE FROM " + table + " WHERE (rowid) = (?)")) {
            lmstore::logSqlMessage(FUNCTION, 554, table, dbHandle);
            return;
        }
        lmstore::Transaction transaction(dbHandle, FUNCTION, 559, table);
        for (const LMDBDataRow<T>* row : rows) {
            if (row == nullptr || row->rowid == 0) {
                continue;
            }
            statement.clearBindings();  // a rowid that is refused must not name the row before
            lmstore::expectCode(statement.bindRowid(1, row->rowid), 0, FUNCTION, 565, table);
            lmstore::expectCode(statement.step(), lmstore::Statement::DONE, FUNCTION, 566, table);
            lmstore::expectCode(statement.reset(), 0, FUNCTION, 567, table);
        }
        done = transaction.commit(570) || done;
        lmstore::expectCode(statement.finalize(), 0, FUNCTION, 572, table);
    };
    if (dbHandle != nullptr) {
        guarded(erase, lmstore::OperationExceptionLog{FUNCTION, 578, 580,
                                                      lmstore::UNKNOWN_STRING_EXCEPTION});
    }
    LMDBDataTable<T>::freeRow(rows);
    return done ? LMDB_SUCCESS : LMDB_FAILURE;
}

// Instantiates the store for one payload, in the source that owns it.
#define LMDB_INSTANTIATE(T) LMDB_FOR_TYPE(, T)
