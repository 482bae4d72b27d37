#include "tools/store/DatabaseSnapshot.h"

#include <array>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>

#include "lmdb/KeyText.h"
#include "lmdb/LMStatement.h"
#include "tools/base/Interruption.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

fs::path beside(const fs::path& file, const char* suffix) {
    return file.string() + suffix;
}

bool hasContent(const fs::path& file) {
    std::error_code error;
    const auto size = fs::file_size(file, error);
    return !error && size > 0;
}

// Whether a journal lies beside the file: of a transaction that is under way or was cut off.
bool hasJournal(const fs::path& file) {
    std::error_code error;
    const fs::path found = fs::canonical(file, error);
    return !error && hasContent(beside(found, "-journal"));
}

// Whether the file says that it has a write-ahead log, or is none that says anything.
bool mayHaveLog(const fs::path& file) {
    constexpr std::size_t READ_VERSION = 19;
    constexpr char WITH_LOG = 2;
    std::array<char, READ_VERSION + 1> header{};
    std::ifstream content(file, std::ios::binary);
    return !content.read(header.data(), header.size()) || header[READ_VERSION] == WITH_LOG;
}

// Reads beside a host: makes no log where the host takes its own away meanwhile, and is not patient
// with an index that nobody has filled, which it could not fill itself.
class BesideHostVfs : public ForwardingVfs {
 public:
    BesideHostVfs() : ForwardingVfs("beside-host") {}

    int openFlags(int flags) noexcept override {
        return (flags & SQLITE_OPEN_WAL) == 0
                   ? flags
                   : (flags & ~(SQLITE_OPEN_CREATE | SQLITE_OPEN_READWRITE)) | SQLITE_OPEN_READONLY;
    }

    // SQLite tries a log a hundred times, and sleeps longer and longer in between: 10 s in all. A
    // host fills its index within the first tries. Nothing else sleeps through here.
    std::optional<int> intercept(VfsCall call, const char* /*file*/) noexcept override {
        constexpr int PATIENT_TRIES = 25;  // 0.1 s
        const bool isImpatient = call == VfsCall::sleep && ++mSleeps > PATIENT_TRIES;
        return isImpatient ? std::optional<int>(SQLITE_OK) : std::nullopt;
    }

 private:
    int mSleeps = 0;
};

// Waits for another's lock up to 2 s. SQLite's own way would sleep through the file system.
int waitForLock(void* /*context*/, int tries) {
    constexpr auto STEP = std::chrono::milliseconds(20);
    constexpr int MOST_TRIES = 100;
    if (tries >= MOST_TRIES) {
        return 0;
    }
    std::this_thread::sleep_for(STEP);
    return 1;
}

// A table of a file that was made to harm can be a view that never ends.
void endWhenInterrupted(sqlite3* db) {
    constexpr int OPERATIONS = 100'000;
    if (!wasInterrupted()) {  // else this is what is shown of an interrupted run
        sqlite3_progress_handler(
            db, OPERATIONS, [](void*) { return wasInterrupted() ? 1 : 0; }, nullptr);
    }
}

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

DatabaseSnapshot::DatabaseSnapshot(const fs::path& file) {
    constexpr int MOST_TRIES = 10;  // a host may begin or end again and again
    if (!fs::is_regular_file(file) && fs::exists(file)) {
        throw std::runtime_error("not a regular file");
    }
    Access access = accessOf(file);
    for (int tries = 1; mDb == nullptr; ++tries) {
        try {
            open(file, access);
        } catch (const std::runtime_error&) {
            const Access next = needsRecovery(file, access) ? Access::copied : accessOf(file);
            mDb.reset();
            if (next == access || tries == MOST_TRIES) {
                throw;
            }
            access = next;
        }
    }
}

DatabaseSnapshot::Access DatabaseSnapshot::accessOf(const fs::path& file) {
    std::error_code error;
    const fs::path found = fs::canonical(file, error);  // a log lies beside what a link leads to
    if (error) {
        return Access::alone;
    }
    const bool hasIndex = fs::exists(beside(found, "-shm"), error);
    if (hasIndex && fs::exists(beside(found, "-wal"), error)) {
        return Access::shared;
    }
    if (hasContent(beside(found, "-wal"))) {
        return Access::copied;
    }
    return mayHaveLog(found) ? Access::alone : Access::locked;
}

// Whether what was refused can be read once its journal has been rolled back, or the index of its
// log been filled: a host that was killed as it began left it so.
bool DatabaseSnapshot::needsRecovery(const fs::path& file, Access access) const {
    if (access == Access::locked) {
        return hasJournal(file);
    }
    const int code = mDb != nullptr ? sqlite3_extended_errcode(mDb.get()) : SQLITE_OK;
    return access == Access::shared && accessOf(file) == Access::shared &&
           (code == SQLITE_PROTOCOL || code == SQLITE_READONLY_CANTINIT ||
            code == SQLITE_READONLY_RECOVERY);
}

void DatabaseSnapshot::open(const fs::path& file, Access access) {
    mVfs.reset();
    switch (access) {
        case Access::alone:
            return connect(uriOf(file) + "?immutable=1", SQLITE_OPEN_READONLY);
        case Access::shared:
            // Opened for writing, an index that a host has left behind would be made anew.
            mVfs = std::make_unique<BesideHostVfs>();
            return connect(uriOf(file) + "?readonly_shm=1", SQLITE_OPEN_READONLY);
        case Access::locked:
            return connect(uriOf(file), SQLITE_OPEN_READONLY);
        case Access::copied:
            return connect(uriOf(copyOf(file)), SQLITE_OPEN_READWRITE);
    }
}

void DatabaseSnapshot::connect(const std::string& uri, int flags) {
    sqlite3* db = nullptr;
    const int code = sqlite3_open_v2(uri.c_str(), &db, flags | SQLITE_OPEN_URI, nullptr);
    mDb.reset(db);
    if (code != SQLITE_OK) {
        fail();
    }
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_handler(db, waitForLock, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    endWhenInterrupted(db);
    // One transaction: what is read belongs together. The first read begins it.
    if (sqlite3_exec(db, "BEGIN; SELECT COUNT(*) FROM sqlite_schema", nullptr, nullptr, nullptr) !=
        SQLITE_OK) {
        fail();
    }
}

// A copy of the file and what lies beside it, which can be recovered.
fs::path DatabaseSnapshot::copyOf(const fs::path& file) {
    const fs::path copy = mCopies.emplace().path() / "copy.db";
    const std::string original = fs::canonical(file).string();
    for (const char* suffix : {"", "-wal", "-journal"}) {
        std::error_code error;
        if (fs::exists(original + suffix, error)) {
            fs::copy_file(original + suffix, copy.string() + suffix, error);
        }
        if (error && error != std::errc::no_such_file_or_directory) {
            throw std::runtime_error("cannot copy " + original + suffix + ": " + error.message());
        }
    }
    return copy;
}

bool DatabaseSnapshot::hasTable(const std::string& table) {
    lmstore::Statement statement;
    const std::string sql = "SELECT 1 FROM sqlite_schema WHERE name = ?";
    if (!statement.prepare(mDb.get(), sql) || statement.bindText(1, table) != SQLITE_OK) {
        fail();
    }
    const int code = statement.step();
    if (code != lmstore::Statement::ROW && code != lmstore::Statement::DONE) {
        fail();
    }
    return code == lmstore::Statement::ROW;
}

void DatabaseSnapshot::forEachRow(const std::string& table, const LMDBDataRowKey& key,
                                  const std::function<void(const Row&)>& onRow) {
    lmstore::Statement statement;
    if (!statement.prepare(
            mDb.get(),
            lmstore::selectText("SELECT rowid, appName, blob", table, key) +
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

void DatabaseSnapshot::check() {
    lmstore::Statement statement;
    if (!statement.prepare(mDb.get(), "PRAGMA quick_check(1)") ||
        statement.step() != lmstore::Statement::ROW) {
        fail();
    }
    std::string found;
    statement.columnText(0, found);
    if (found != "ok") {
        throw std::runtime_error(found.substr(found.find('\n') + 1));  // without the heading
    }
}

void DatabaseSnapshot::fail() const {
    std::string what = sqlite3_errmsg(mDb.get());
    const int error = sqlite3_system_errno(mDb.get());
    const int kind = sqlite3_extended_errcode(mDb.get()) & 0xff;
    if ((kind == SQLITE_CANTOPEN || kind == SQLITE_IOERR) && error != 0) {
        what += std::string(": ") + std::strerror(error);
    }
    throw std::runtime_error(what);
}

}  // namespace kestrel
