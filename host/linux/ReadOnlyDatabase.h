#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "host/LmApi.h"
#include "host/linux/ForwardingVfs.h"
#include "lmdb/LMDBDataRowKey.h"

struct sqlite3;

namespace kestrel {

// How a database file can be read without a change to any file, by what lies beside it.
enum class DatabaseAccess {
    alone,   // nothing waits to go into it
    shared,  // with its log and the log's index, which a host may have open
    locked,  // without a log, where the file system cannot have one: readers lock the file
    copied,  // with a log that has to be recovered first, which writes: only on a copy of all files
};

LM_API DatabaseAccess accessOf(const std::filesystem::path& file);

// Whether a journal lies beside the file: of a transaction that is under way or was cut off.
LM_API bool hasJournal(const std::filesystem::path& file);

// One of the device's databases, as it was when this was constructed. Changes no file, nor makes
// one; a host that runs on the database goes on meanwhile.
// Threads: one at a time.
// Errors:  everything throws std::runtime_error with SQLite's words.
class LM_API ReadOnlyDatabase {
 public:
    // With DatabaseAccess::copied, `file` is the copy.
    ReadOnlyDatabase(const std::filesystem::path& file, DatabaseAccess access);
    ~ReadOnlyDatabase();
    ReadOnlyDatabase(const ReadOnlyDatabase&) = delete;
    ReadOnlyDatabase& operator=(const ReadOnlyDatabase&) = delete;

    struct Row {
        int64_t rowid;
        std::string appName;
        std::string blob;  // bytes, as many as are stored
    };

    // Passes on the rows of a table that match `key`, however many, in the order of their rowids.
    // After an error in the middle, the rows before it have been passed on.
    void forEachRow(const std::string& table, const LMDBDataRowKey& key,
                    const std::function<void(const Row&)>& onRow);

    // Throws what a check of all pages finds first.
    void check();

 private:
    [[noreturn]] void fail() const;

    std::unique_ptr<ForwardingVfs> mVfs;  // outlives what is opened through it
    sqlite3* mDb = nullptr;
};

}  // namespace kestrel
