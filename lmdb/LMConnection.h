#pragma once

#include <cstdint>
#include <string>

#include "lmdb/LMDBDataRowKey.h"

struct sqlite3;

// What a database does that does not depend on its payloads. All of these log what fails.
namespace lmstore {

// The path of a database; an empty file name stands for one in memory.
std::string databasePath(const std::string& directory, const std::string& file);

// Opens `path` for reading and writing, creating it when it is not there. After a failure `db` may
// hold a connection that has to be closed.
bool openConnection(const std::string& path, sqlite3*& db);

// Write-ahead logging; without it the database stays in the journal mode that it had.
void useWriteAheadLog(const std::string& path, sqlite3* db);

// `directory` and `file` name the database in the message. False: SQLite refused to close.
bool closeConnection(sqlite3* db, const std::string& directory, const std::string& file);

// Creates the table unless it is there. True also when an exception kept it from trying.
bool createTable(sqlite3* db, const std::string& table);

// How many rows match; 0 when they could not be counted.
int32_t countRows(sqlite3* db, const std::string& table, const LMDBDataRowKey& key);

}  // namespace lmstore
