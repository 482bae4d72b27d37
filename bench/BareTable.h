#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// The store's operations written by hand on SQLite's C interface: the measure of what they cost.
// The statement texts, their order and the transactions are the store's, and statements are
// prepared for every call, as the store must. What is left out is what SQL does not need: rows that
// change hands, locks, log lines. Compiled by both programs of the store's benchmarks.

inline constexpr int32_t BARE_UNSET_INT = 2147483647;

template <class Payload>
struct BareRow {
    int64_t rowid = 0;  // 0: not stored
    int32_t intcol1 = BARE_UNSET_INT;
    std::string appName;
    std::string rsvdName;
    Payload blob{};
};

struct BareKey {
    const char* appName = nullptr;     // null: not part of the key
    int32_t intcol1 = BARE_UNSET_INT;  // only with a name
};

// Ends the program: figures of calls that fail are worth nothing.
inline void expectSql(sqlite3* db, int code, int expected = SQLITE_OK) {
    if (code != expected) {
        std::fprintf(stderr, "SQLite answered %d: %s\n", code, sqlite3_errmsg(db));
        std::exit(1);
    }
}

inline void runSql(sqlite3* db, const char* sql) {
    expectSql(db, sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

// The pragmas and the table of the store; an empty path stands for a database in memory.
inline sqlite3* openBare(const std::string& path, const char* table) {
    sqlite3* db = nullptr;
    expectSql(db, sqlite3_open_v2(path.empty() ? ":memory:" : path.c_str(), &db,
                                  SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr));
    if (!path.empty()) {
        runSql(db, "PRAGMA journal_mode=WAL");
    }
    const std::string create = std::string("CREATE TABLE IF NOT EXISTS ") + table +
                               "(intcol1 INTEGER, appName TEXT NOT null, rsvdName TEXT, blob BLOB)";
    runSql(db, create.c_str());
    return db;
}

// One table of a connection.
// Ownership: borrows the connection and the name.
template <class Payload>
class BareTable {
 public:
    using Row = BareRow<Payload>;

    BareTable(sqlite3* db, const char* table) : mDb(db), mTable(table) {}

    void write(const std::vector<Row>& rows) {
        auto row = rows.begin();
        writeEach([&] { return row != rows.end() ? &*row++ : nullptr; }, [] {});
    }

    // Inserts the rows that `next` gives, up to a null, or updates those with a rowid. `end` is
    // called between the last of them and the commit.
    template <class Next, class End>
    void writeEach(Next next, End end) {
        sqlite3_stmt* insert =
            prepare("INSERT INTO %s(intcol1, appName, rsvdName, blob) VALUES (?,?,?,?)");
        sqlite3_stmt* update = prepare(
            "UPDATE %s SET (intcol1, appName, rsvdName, blob) = (?,?,?,?) WHERE (rowid) = (?)");
        runSql(mDb, "BEGIN IMMEDIATE TRANSACTION;");
        while (const Row* row = next()) {
            sqlite3_stmt* statement = row->rowid != 0 ? update : insert;
            bind(statement, *row);
            expectSql(mDb, sqlite3_step(statement), SQLITE_DONE);
            expectSql(mDb, sqlite3_reset(statement));
        }
        end();
        runSql(mDb, "COMMIT TRANSACTION;");
        sqlite3_finalize(insert);
        sqlite3_finalize(update);
    }

    // Calls `each` for every row that matches, after `row` was filled with it.
    template <class Each>
    void read(const BareKey& key, Row& row, Each each) {
        readInto(key, [&]() -> Row& { return row; }, each);
    }

    // The newest row first, which is the one that counts.
    void readNewest(const BareKey& key, Row& row) {
        readInto(
            key, [&]() -> Row& { return row; }, [](const Row&) {},
            "SELECT *, rowid FROM %s %sORDER BY rowid DESC");
    }

    // As read, into the row that `next` makes for each.
    template <class Next, class Each>
    void readInto(const BareKey& key, Next next, Each each,
                  const char* format = "SELECT *, rowid FROM %s %s") {
        sqlite3_stmt* statement = prepare(format, key);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            Row& row = next();
            fill(statement, row);
            each(row);
        }
        expectSql(mDb, sqlite3_reset(statement));
        sqlite3_finalize(statement);
    }

    int count(const BareKey& key) {
        sqlite3_stmt* statement = prepare("SELECT COUNT(*) FROM %s %s", key);
        expectSql(mDb, sqlite3_step(statement), SQLITE_ROW);
        const int count = sqlite3_column_int(statement, 0);
        sqlite3_finalize(statement);
        return count;
    }

    void erase(const std::vector<Row>& rows) {
        auto row = rows.begin();
        eraseEach([&] { return row != rows.end() ? &*row++ : nullptr; });
    }

    template <class Next>
    void eraseEach(Next next) {
        sqlite3_stmt* statement = prepare("DELETE FROM %s WHERE (rowid) = (?)");
        runSql(mDb, "BEGIN IMMEDIATE TRANSACTION;");
        while (const Row* row = next()) {
            expectSql(mDb, sqlite3_bind_int(statement, 1, static_cast<int>(row->rowid)));
            expectSql(mDb, sqlite3_step(statement), SQLITE_DONE);
            expectSql(mDb, sqlite3_reset(statement));
        }
        runSql(mDb, "COMMIT TRANSACTION;");
        sqlite3_finalize(statement);
    }

 private:
    sqlite3_stmt* prepare(const char* format, const BareKey& key = {}) {
        char where[256] = "";
        if (key.appName != nullptr && key.intcol1 != BARE_UNSET_INT) {
            std::snprintf(where, sizeof(where), "WHERE (appName,intcol1) = ('%s',%d) ", key.appName,
                          key.intcol1);
        } else if (key.appName != nullptr) {
            std::snprintf(where, sizeof(where), "WHERE (appName) = ('%s') ", key.appName);
        }
        char sql[512];
        const int size = std::snprintf(sql, sizeof(sql), format, mTable, where);
        sqlite3_stmt* statement = nullptr;
        expectSql(mDb, sqlite3_prepare_v2(mDb, sql, size, &statement, nullptr));
        return statement;
    }

    void bind(sqlite3_stmt* statement, const Row& row) {
        if (row.intcol1 != BARE_UNSET_INT) {
            sqlite3_bind_int(statement, 1, row.intcol1);
        } else {
            sqlite3_bind_null(statement, 1);
        }
        sqlite3_bind_text(statement, 2, row.appName.data(), static_cast<int>(row.appName.size()),
                          SQLITE_STATIC);
        if (row.rsvdName.empty()) {
            sqlite3_bind_null(statement, 3);
        } else {
            sqlite3_bind_text(statement, 3, row.rsvdName.data(),
                              static_cast<int>(row.rsvdName.size()), SQLITE_STATIC);
        }
        sqlite3_bind_blob(statement, 4, &row.blob, sizeof(Payload), SQLITE_STATIC);
        if (row.rowid != 0) {
            sqlite3_bind_int(statement, 5, static_cast<int>(row.rowid));
        }
    }

    static void fill(sqlite3_stmt* statement, Row& row) {
        row.intcol1 = sqlite3_column_type(statement, 0) != SQLITE_NULL
                          ? sqlite3_column_int(statement, 0)
                          : BARE_UNSET_INT;
        fillText(statement, 1, row.appName);
        fillText(statement, 2, row.rsvdName);
        const void* blob = sqlite3_column_blob(statement, 3);
        if (static_cast<std::size_t>(sqlite3_column_bytes(statement, 3)) == sizeof(Payload)) {
            std::memcpy(&row.blob, blob, sizeof(Payload));
        }
        row.rowid = sqlite3_column_int64(statement, 4);
    }

    static void fillText(sqlite3_stmt* statement, int column, std::string& text) {
        const unsigned char* bytes = sqlite3_column_text(statement, column);
        if (bytes == nullptr) {
            text.clear();
            return;
        }
        text.assign(reinterpret_cast<const char*>(bytes),
                    static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }

    sqlite3* mDb;
    const char* mTable;
};
