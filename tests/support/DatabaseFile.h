#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kestrel {

// One of the device's databases as another program sees it. Each call opens and closes the file.
class DatabaseFile {
 public:
    explicit DatabaseFile(std::filesystem::path path) : mPath(std::move(path)) {}

    // The rows of a query or the nothing of a change, columns separated by "|".
    std::vector<std::string> run(const std::string& sql) const {
        std::vector<std::string> rows;
        const auto add = [](void* list, int count, char** columns, char**) {
            std::string row;
            for (int i = 0; i < count; ++i) {
                row += (i > 0 ? "|" : "");
                row += columns[i] != nullptr ? columns[i] : "NULL";
            }
            static_cast<std::vector<std::string>*>(list)->push_back(row);
            return 0;
        };
        sqlite3* db = nullptr;
        EXPECT_EQ(sqlite3_open_v2(mPath.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK)
            << mPath;
        sqlite3_exec(db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), add, &rows, nullptr), SQLITE_OK)
            << mPath << ": " << sqlite3_errmsg(db);
        sqlite3_close(db);
        return rows;
    }

    std::vector<std::string> dump(const std::string& table) const {
        return run("SELECT rowid, intcol1, appName, hex(blob) FROM " + table + " ORDER BY rowid");
    }

 private:
    std::filesystem::path mPath;
};

// Reads a database for as long as it lives, so that what is written meanwhile stays in its log, and
// does so afterwards.
class LogKeeper {
 public:
    explicit LogKeeper(const std::filesystem::path& path) {
        EXPECT_EQ(sqlite3_open_v2(path.c_str(), &mDb, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
        sqlite3_db_config(mDb, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        EXPECT_EQ(
            sqlite3_exec(mDb, "BEGIN; SELECT * FROM sqlite_schema", nullptr, nullptr, nullptr),
            SQLITE_OK)
            << path;
    }
    ~LogKeeper() { sqlite3_close(mDb); }
    LogKeeper(const LogKeeper&) = delete;
    LogKeeper& operator=(const LogKeeper&) = delete;

 private:
    sqlite3* mDb = nullptr;
};

}  // namespace kestrel
