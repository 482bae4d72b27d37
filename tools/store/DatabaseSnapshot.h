#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/linux/ForwardingVfs.h"
#include "lmdb/LMDBDataRowKey.h"
#include "tools/base/TemporaryDirectory.h"

namespace kestrel {

// One of the device's databases as it was at one moment, read without a change to any file: where
// reading would change one, a copy of the files is read. A host that runs on the database goes on
// meanwhile.
// Threads: one at a time.
// Errors:  everything throws std::runtime_error, with SQLite's words where it refuses; a read that
//          the user interrupts ends so too.
class DatabaseSnapshot {
 public:
    explicit DatabaseSnapshot(const std::filesystem::path& file);

    struct Row {
        int64_t rowid;
        std::string appName;
        std::string blob;  // bytes, as many as are stored
    };

    // Whether anything of this name is in the schema.
    bool hasTable(const std::string& table);

    // Passes on the rows of a table that match `key`, however many, in the order of their rowids.
    // After an error in the middle, the rows before it have been passed on.
    void forEachRow(const std::string& table, const LMDBDataRowKey& key,
                    const std::function<void(const Row&)>& onRow);

    // Throws what a check of all pages finds first.
    void check();

 private:
    // How the file can be read, by what lies beside it.
    enum class Access {
        alone,   // nothing waits to go into it
        shared,  // with its log and the log's index, which a host may have open
        locked,  // without a log, where the file system cannot have one: readers lock the file
        copied,  // with what has to be recovered first, which writes: on a copy of all files
    };

    struct Close {
        void operator()(sqlite3* db) const { sqlite3_close(db); }
    };

    static Access accessOf(const std::filesystem::path& file);
    bool needsRecovery(const std::filesystem::path& file, Access access) const;
    void open(const std::filesystem::path& file, Access access);
    void connect(const std::string& uri, int flags);
    std::filesystem::path copyOf(const std::filesystem::path& file);
    [[noreturn]] void fail() const;

    std::optional<TemporaryDirectory> mCopies;
    std::unique_ptr<ForwardingVfs> mVfs;  // outlives what is opened through it
    std::unique_ptr<sqlite3, Close> mDb;
};

}  // namespace kestrel
