#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

// Statements, transactions and the error lines: the part of the store that does not depend on the
// payload. Only this part's sources know SQLite's header.
namespace lmstore {

// A prepared statement.
// Ownership: finalized by finalize() or, as the net, by the destructor; the connection refuses to
//            close while one is alive. Bound text and blobs are not copied: what they point to must
//            live until the statement's last step.
class Statement {
 public:
    static constexpr int ROW = 100;   // step(): there is a row
    static constexpr int DONE = 101;  // step(): finished

    Statement() = default;
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    [[nodiscard]] bool prepare(sqlite3* db, const std::string& sql);

    // Parameters count from 1; the results are SQLite's codes.
    void clearBindings();
    int bindInt(int parameter, int32_t value);
    // Refuses what does not fit 32 bits; the parameter then keeps what it was bound to.
    int bindRowid(int parameter, int64_t rowid);
    int bindText(int parameter, const std::string& text);
    int bindBlob(int parameter, const void* bytes, std::size_t size);

    int step();
    int reset();
    int finalize();

    // Columns of the current row count from 0. Throws std::bad_alloc where SQLite lacks memory.
    int32_t columnInt(int column, int32_t ifNull = 0);
    int64_t columnInt64(int column);
    void columnText(int column, std::string& text);  // empty for NULL
    const void* columnBlob(int column, std::size_t& size);

 private:
    sqlite3_stmt* mStatement = nullptr;
};

// An immediate transaction.
// Errors: a BEGIN or COMMIT that fails is logged and rolled back, and a failure of that is logged
//         too. Without a BEGIN, each statement commits by itself and the COMMIT fails as well.
class Transaction {
 public:
    // Borrows all, for its life.
    Transaction(sqlite3* db, const char* function, int beginLine, const std::string& table);
    ~Transaction();  // the net: rolls back what was not committed, and is silent
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool commit(int line);

 private:
    bool exec(const char* sql, int line);

    sqlite3* mDb;
    const char* mFunction;
    const std::string& mTable;
    bool mOpen;
};

// "sql:ERROR:Dbt=TABLE info=..." with SQLite's message, or with a code.
void logSqlMessage(const char* function, int line, const std::string& table, sqlite3* db);
void logSqlCode(const char* function, int line, const std::string& table, int code);

// "ERROR:Dbt=TABLE info=..." with SQLite's message.
void logMessage(const char* function, int line, const std::string& table, sqlite3* db);

// Logs `code` unless it is the expected one.
inline void expectCode(int code, int expected, const char* function, int line,
                       const std::string& table) {
    if (code != expected) {
        logSqlCode(function, line, table, code);
    }
}

// The lines of a row operation that caught an exception.
struct OperationExceptionLog {
    const char* function;
    int line;
    int unknownLine;
    const char* unknownText;  // goes before " in FUNCTION"

    void operator()(const char* what) const;
};

inline constexpr const char* UNKNOWN_EXCEPTION = "Caught Exception";
inline constexpr const char* UNKNOWN_STRING_EXCEPTION = "Error in std::string operations";

}  // namespace lmstore
