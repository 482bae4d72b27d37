#include "lmdb/LMStatement.h"

#include <sqlite3.h>

#include <memory>
#include <new>
#include <utility>

#include "lmdb/LMLog.h"

namespace lmstore {

namespace {

struct SqliteFree {
    void operator()(char* text) const { sqlite3_free(text); }
};
using SqliteText = std::unique_ptr<char, SqliteFree>;

// SQLite's message of the connection's latest failure; null when there is no memory for it. The
// text belongs to the connection, so another thread's call may replace it while it is read: it is
// copied under the connection's own mutex. It may then still be that of the other call.
SqliteText copyErrorMessage(sqlite3* db) {
    sqlite3_mutex* mutex = sqlite3_db_mutex(db);
    sqlite3_mutex_enter(mutex);
    SqliteText copy(sqlite3_mprintf("%s", sqlite3_errmsg(db)));
    sqlite3_mutex_leave(mutex);
    return copy;
}

const char* orOutOfMemory(const SqliteText& message) {
    return message != nullptr ? message.get() : sqlite3_errstr(SQLITE_NOMEM);
}

}  // namespace

static_assert(Statement::ROW == SQLITE_ROW && Statement::DONE == SQLITE_DONE);

Statement::~Statement() {
    finalize();
}

bool Statement::prepare(sqlite3* db, const std::string& sql) {
    return sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &mStatement,
                              nullptr) == SQLITE_OK;
}

void Statement::clearBindings() {
    sqlite3_clear_bindings(mStatement);
}

int Statement::bindInt(int parameter, int32_t value) {
    return sqlite3_bind_int(mStatement, parameter, value);
}

int Statement::bindRowid(int parameter, int64_t rowid) {
    // Rows are named by 32 bits. Cut to them, a larger identity would name another row.
    if (!std::in_range<int32_t>(rowid)) {
        return SQLITE_RANGE;
    }
    return sqlite3_bind_int(mStatement, parameter, static_cast<int32_t>(rowid));
}

int Statement::bindText(int parameter, const std::string& text) {
    return sqlite3_bind_text(mStatement, parameter, text.data(), static_cast<int>(text.size()),
                             SQLITE_STATIC);
}

int Statement::bindBlob(int parameter, const void* bytes, std::size_t size) {
    return sqlite3_bind_blob(mStatement, parameter, bytes, static_cast<int>(size), SQLITE_STATIC);
}

int Statement::step() {
    return sqlite3_step(mStatement);
}

int Statement::reset() {
    return sqlite3_reset(mStatement);
}

int Statement::finalize() {
    const int code = sqlite3_finalize(mStatement);
    mStatement = nullptr;
    return code;
}

int32_t Statement::columnInt(int column, int32_t ifNull) {
    // The type first: a conversion leaves it undefined.
    return sqlite3_column_type(mStatement, column) == SQLITE_NULL
               ? ifNull
               : sqlite3_column_int(mStatement, column);
}

int64_t Statement::columnInt64(int column) {
    return sqlite3_column_int64(mStatement, column);
}

void Statement::columnText(int column, std::string& text) {
    if (sqlite3_column_type(mStatement, column) == SQLITE_NULL) {
        text.clear();
        return;
    }
    // The text first: asking for it may convert the value, and the length is that of the result.
    const unsigned char* bytes = sqlite3_column_text(mStatement, column);
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    text.assign(reinterpret_cast<const char*>(bytes),
                static_cast<std::size_t>(sqlite3_column_bytes(mStatement, column)));
}

const void* Statement::columnBlob(int column, std::size_t& size) {
    const void* bytes = sqlite3_column_blob(mStatement, column);
    size = static_cast<std::size_t>(sqlite3_column_bytes(mStatement, column));
    if (bytes == nullptr && size > 0) {
        throw std::bad_alloc();
    }
    return bytes;
}

Transaction::Transaction(sqlite3* db, const char* function, int beginLine, const std::string& table)
    : mDb(db),
      mFunction(function),
      mTable(table),
      mOpen(exec("BEGIN IMMEDIATE TRANSACTION;", beginLine)) {}

Transaction::~Transaction() {
    if (mOpen) {
        sqlite3_exec(mDb, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
    }
}

bool Transaction::commit(int line) {
    mOpen = false;
    return exec("COMMIT TRANSACTION;", line);
}

bool Transaction::exec(const char* sql, int line) {
    if (sqlite3_exec(mDb, sql, nullptr, nullptr, nullptr) == SQLITE_OK) {
        return true;
    }
    logSqlMessage(mFunction, line, mTable, mDb);
    if (sqlite3_exec(mDb, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr) != SQLITE_OK) {
        logSqlMessage(mFunction, line, mTable, mDb);
    }
    return false;
}

void logSqlMessage(const char* function, int line, const std::string& table, sqlite3* db) {
    LM_LOG_SQL(function, line, "sql:ERROR:Dbt=%s info=%s\n", table.c_str(),
               orOutOfMemory(copyErrorMessage(db)));
}

void logSqlCode(const char* function, int line, const std::string& table, int code) {
    LM_LOG_SQL(function, line, "sql:ERROR:Dbt=%s info=%d\n", table.c_str(), code);
}

void logMessage(const char* function, int line, const std::string& table, sqlite3* db) {
    LM_LOG_SQL(function, line, "ERROR:Dbt=%s info=%s\n", table.c_str(),
               orOutOfMemory(copyErrorMessage(db)));
}

void OperationExceptionLog::operator()(const char* what) const {
    if (what != nullptr) {
        LM_LOG("LMDB", function, line, "Caught exception: %s in %s", what, function);
    } else {
        LM_LOG("LMDB", function, unknownLine, "%s in %s", unknownText, function);
    }
}

}  // namespace lmstore
