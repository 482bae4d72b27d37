#pragma once

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

// The part of the store that does not depend on the payload: statements, transactions, key text
// and the error lines. Only this part's source knows SQLite's header.
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
    int bindText(int parameter, const std::string& text);
    int bindBlob(int parameter, const void* bytes, std::size_t size);

    int step();
    int reset();
    int finalize();

    // Columns of the current row count from 0.
    int32_t columnInt(int column);
    int64_t columnInt64(int column);
    bool columnIsNull(int column);
    void columnText(int column, std::string& text);  // empty for NULL
    const void* columnBlob(int column, std::size_t& size);

 private:
    sqlite3_stmt* mStatement = nullptr;
};

// Opens `path` for reading and writing, creating it when it is not there; `db` is set even after
// most failures and must be closed. The results are SQLite's codes.
int open(const std::string& path, sqlite3*& db);
int close(sqlite3* db);
int exec(sqlite3* db, const char* sql);
const char* errorMessage(sqlite3* db);

// Runs a BEGIN or COMMIT. A failure is logged and rolled back, and the failure of that is logged
// too. Returns whether `sql` itself succeeded.
bool execInTransaction(sqlite3* db, const char* sql, const char* function, int line,
                       const std::string& table);

// "sql:ERROR:Dbt=TABLE info=..." with SQLite's message, or with a code.
void logSqlMessage(const char* function, int line, const std::string& table, sqlite3* db);
void logSqlCode(const char* function, int line, const std::string& table, int code);

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
