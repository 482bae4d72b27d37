#include "host/linux/ReadOnlyDatabase.h"

#include <sqlite3.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "lmdb/KeyText.h"
#include "lmdb/LMStatement.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

constexpr int BUSY_TIMEOUT_MS = 2000;

fs::path beside(const fs::path& file, const char* suffix) {
    return file.string() + suffix;
}

bool hasContent(const fs::path& file) {
    std::error_code error;
    const auto size = fs::file_size(file, error);
    return !error && size > 0;
}

// Whether the file says that it has a write-ahead log, or is none that says anything.
bool mayHaveLog(const fs::path& file) {
    constexpr std::size_t READ_VERSION = 19;
    constexpr char WITH_LOG = 2;
    std::array<char, READ_VERSION + 1> header{};
    std::ifstream content(file, std::ios::binary);
    return !content.read(header.data(), header.size()) || header[READ_VERSION] == WITH_LOG;
}

// Makes no log where the host takes its own away meanwhile.
class NoNewLogVfs : public ForwardingVfs {
 public:
    NoNewLogVfs() : ForwardingVfs("no-new-log") {}

    int openFlags(int flags) noexcept override {
        return (flags & SQLITE_OPEN_WAL) == 0
                   ? flags
                   : (flags & ~(SQLITE_OPEN_CREATE | SQLITE_OPEN_READWRITE)) | SQLITE_OPEN_READONLY;
    }
};

// The file's name for an open with options, which must not find any in the name.
std::string uriOf(const fs::path& file) {
    constexpr std::string_view PLAIN = "/._-~";
    std::string uri = "file://";
    for (const char c : fs::absolute(file).string()) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 ||
            PLAIN.find(c) != std::string_view::npos) {
            uri += c;
        } else {
            std::array<char, 4> escaped;
            std::snprintf(escaped.data(), escaped.size(), "%%%02X", static_cast<unsigned char>(c));
            uri += escaped.data();
        }
    }
    return uri;
}

}  // namespace

DatabaseAccess accessOf(const fs::path& file) {
    std::error_code error;
    const fs::path found = fs::canonical(file, error);  // a log lies beside what a link leads to
    if (error) {
        return DatabaseAccess::alone;
    }
    const bool hasIndex = fs::exists(beside(found, "-shm"), error);
    if (hasIndex && fs::exists(beside(found, "-wal"), error)) {
        return DatabaseAccess::shared;
    }
    if (hasContent(beside(found, "-wal"))) {
        return DatabaseAccess::copied;
    }
    return mayHaveLog(found) ? DatabaseAccess::alone : DatabaseAccess::locked;
}

bool hasJournal(const fs::path& file) {
    std::error_code error;
    const fs::path found = fs::canonical(file, error);
    return !error && hasContent(beside(found, "-journal"));
}

ReadOnlyDatabase::ReadOnlyDatabase(const fs::path& file, DatabaseAccess access) {
    std::string uri = uriOf(file);
    int flags = SQLITE_OPEN_URI | SQLITE_OPEN_READONLY;
    switch (access) {
        case DatabaseAccess::alone:
            uri += "?immutable=1";
            break;
        case DatabaseAccess::shared:
            // Opened for writing, an index that a host has left behind would be made anew.
            uri += "?readonly_shm=1";
            mVfs = std::make_unique<NoNewLogVfs>();
            break;
        case DatabaseAccess::locked:
            break;
        case DatabaseAccess::copied:
            flags = SQLITE_OPEN_URI | SQLITE_OPEN_READWRITE;
            break;
    }
    try {
        if (sqlite3_open_v2(uri.c_str(), &mDb, flags, nullptr) != SQLITE_OK) {
            fail();
        }
        sqlite3_busy_timeout(mDb, BUSY_TIMEOUT_MS);
        sqlite3_db_config(mDb, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        // One transaction: what is read belongs together. The first read begins it.
        if (sqlite3_exec(mDb, "BEGIN; SELECT COUNT(*) FROM sqlite_schema", nullptr, nullptr,
                         nullptr) != SQLITE_OK) {
            fail();
        }
    } catch (...) {
        sqlite3_close(mDb);
        throw;
    }
}

ReadOnlyDatabase::~ReadOnlyDatabase() {
    sqlite3_close(mDb);
}

void ReadOnlyDatabase::forEachRow(const std::string& table, const LMDBDataRowKey& key,
                                  const std::function<void(const Row&)>& onRow) {
    lmstore::Statement statement;
    if (!statement.prepare(
            mDb, lmstore::selectText("SELECT rowid, appName, blob", table, key) +
                     lmstore::orderByClause(lmdbOrderByCol::rowid, lmdbOrderByDir::ascending))) {
        fail();
    }
    int code = 0;
    while ((code = statement.step()) == lmstore::Statement::ROW) {
        Row row;
        row.rowid = statement.columnInt64(0);
        statement.columnText(1, row.appName);
        std::size_t size = 0;
        const void* blob = statement.columnBlob(2, size);
        row.blob.assign(static_cast<const char*>(blob), size);
        onRow(row);
    }
    if (code != lmstore::Statement::DONE) {
        fail();
    }
}

void ReadOnlyDatabase::check() {
    lmstore::Statement statement;
    if (!statement.prepare(mDb, "PRAGMA quick_check(1)") ||
        statement.step() != lmstore::Statement::ROW) {
        fail();
    }
    std::string found;
    statement.columnText(0, found);
    if (found != "ok") {
        throw std::runtime_error(found.substr(found.find('\n') + 1));  // without the heading
    }
}

void ReadOnlyDatabase::fail() const {
    std::string what = sqlite3_errmsg(mDb);
    const int error = sqlite3_system_errno(mDb);
    const int code = sqlite3_errcode(mDb);
    if ((code == SQLITE_CANTOPEN || code == SQLITE_IOERR) && error != 0) {
        what += std::string(": ") + std::strerror(error);
    }
    throw std::runtime_error(what);
}

}  // namespace kestrel
