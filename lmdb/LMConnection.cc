#include "lmdb/LMConnection.h"

#include <sqlite3.h>

#include "lmdb/KeyText.h"
#include "lmdb/LMLog.h"
#include "lmdb/LMStatement.h"

namespace lmstore {

std::string databasePath(const std::string& directory, const std::string& file) {
    return file.empty() ? ":memory:" : directory + file;
}

bool openConnection(const std::string& path, sqlite3*& db) {
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    if (sqlite3_threadsafe() != 1) {
        // Several threads use one connection, which only serialized mode allows.
        flags |= SQLITE_OPEN_FULLMUTEX;
    }
    const int code = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    if (code != SQLITE_OK) {
        LM_LOG("LMDB", "openLMdb", 172, "ERROR:Db=%s sql open failed, err=%d\n", path.c_str(),
               code);
    }
    return code == SQLITE_OK;
}

void useWriteAheadLog(const std::string& path, sqlite3* db) {
    if (sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr) != SQLITE_OK) {
        logSqlMessage("openLMdb", 179, path, db);
    }
}

bool closeConnection(sqlite3* db, const std::string& directory, const std::string& file) {
    const int code = sqlite3_close(db);
    if (code != SQLITE_OK) {
        LM_LOG("LMDB", "closeLMdb", 223, "ERROR:Db=%s sql close failed, err=%d\n",
               databasePath(directory, file).c_str(), code);
    }
    return code == SQLITE_OK;
}

bool createTable(sqlite3* db, const std::string& table) {
    constexpr const char* FUNCTION = "createLMdbTables";
    bool created = true;
    const auto create = [&] {
        const std::string sql =
            "CREATE TABLE IF NOT EXISTS " + table +
            "(intcol1 INTEGER, appName TEXT NOT null, rsvdName TEXT, blob BLOB)";
        created = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
        if (!created) {
            logMessage(FUNCTION, 203, table, db);
        }
    };
    guarded(create, OperationExceptionLog{FUNCTION, 206, 208, UNKNOWN_EXCEPTION});
    return created;
}

int32_t countRows(sqlite3* db, const std::string& table, const LMDBDataRowKey& key) {
    constexpr const char* FUNCTION = "getCountDR";
    int32_t count = 0;
    const auto query = [&] {
        Statement statement;
        if (!statement.prepare(db, selectText("SELECT COUNT(*)", table, key))) {
            logSqlMessage(FUNCTION, 390, table, db);
            return;
        }
        if (statement.step() == Statement::ROW) {
            count = statement.columnInt(0);
        }
        expectCode(statement.finalize(), 0, FUNCTION, 405, table);
    };
    guarded(query, OperationExceptionLog{FUNCTION, 408, 410, UNKNOWN_EXCEPTION});
    return count;
}

}  // namespace lmstore
