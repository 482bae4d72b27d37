#include "host/linux/Checkpoint.h"

#include <sqlite3.h>

#include <filesystem>
#include <vector>

#include "lmdb/LMDBTypes.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

constexpr int BUSY_TIMEOUT_MS = 200;

// What is behind a link is not the root's.
bool isRegularFile(const fs::path& file) {
    std::error_code error;
    return fs::symlink_status(file, error).type() == fs::file_type::regular;
}

bool hasLog(const fs::path& database) {
    const fs::path log = database.string() + "-wal";
    std::error_code error;
    return isRegularFile(database) && isRegularFile(log) && fs::file_size(log, error) > 0 && !error;
}

// The databases' names.
std::vector<std::string> databasesWithLogs(const fs::path& directory) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".db" && hasLog(entry->path())) {
            names.push_back(entry->path().filename());
        }
    }
    return names;
}

// By its name on the device, so that it is opened and flushed as the plug-in's own.
void checkpoint(const std::string& name) {
    const std::string database = LMDB_DIRECTORY + name;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(database.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
        sqlite3_busy_timeout(db, BUSY_TIMEOUT_MS);
        sqlite3_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr);
    }
    sqlite3_close(db);
}

}  // namespace

void checkpointDatabases(const fs::path& directory) {
    for (const std::string& name : databasesWithLogs(directory)) {
        checkpoint(name);
    }
}

}  // namespace kestrel
