#include "host/FeatureState.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "host/linux/HostRuntime.h"
#include "host/linux/StateStore.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMDatabaseImpl.h"

using namespace kestrel;

LMDB_INSTANTIATE(AppState);

namespace {

// The app's rows, the newest first. An app without a name has none: as a key, it would select those
// of all others.
LMDBDataTable<AppState>::vecT readRows(LMDatabase<AppState>& db, std::string const& app,
                                       unsigned long limit = LMDB_MAX_READ_ROWS) {
    if (app.empty()) {
        return {};
    }
    LMDBDataRowKey key;
    key.appName = app;
    return db.readAllocateDR<AppState>(key, limit, lmdbOrderByCol::rowid,
                                       lmdbOrderByDir::descending);
}

void logFailure(LMDatabase<AppState>& db) {
    lmstore::logSqlMessage("FeatureState", 43, KS_STATE_TABLE, db.dbHandle);
}

// False: it failed, and is logged.
bool change(LMDatabase<AppState>& db, const std::string& sql) {
    lmstore::Statement statement;
    const bool done =
        statement.prepare(db.dbHandle, sql) && statement.step() == lmstore::Statement::DONE;
    if (!done) {
        logFailure(db);
    }
    return done;
}

// Whether a row has an id that the store cannot name it by, or so large a one that a new row, which
// SQLite numbers above it, could get one. The store names rows by 32 bits, and a new row by 0.
bool hasOddIds(LMDatabase<AppState>& db) {
    using Limits = std::numeric_limits<int32_t>;
    lmstore::Statement statement;
    if (!statement.prepare(db.dbHandle, std::string("SELECT EXISTS (SELECT 1 FROM ") +
                                            KS_STATE_TABLE +
                                            " WHERE rowid = 0 OR rowid NOT BETWEEN " +
                                            std::to_string(Limits::min()) + " AND " +
                                            std::to_string(Limits::max() / 2) + ")") ||
        statement.step() != lmstore::Statement::ROW) {
        logFailure(db);
        return false;
    }
    return statement.columnInt(0) != 0;
}

// Numbers all rows anew, from 1 on in their order.
void renumberRows(LMDatabase<AppState>& db) {
    const std::string table = KS_STATE_TABLE;
    const std::string columns = "intcol1, appName, rsvdName, blob";
    const std::string steps[] = {
        "BEGIN IMMEDIATE",
        "CREATE TEMP TABLE ordered AS SELECT " + columns + " FROM " + table + " ORDER BY rowid",
        "DELETE FROM " + table,
        "INSERT INTO " + table + "(rowid, " + columns + ") SELECT rowid, " + columns +
            " FROM ordered",
        "DROP TABLE ordered",
        "COMMIT"};
    if (!std::ranges::all_of(steps, [&](const std::string& step) { return change(db, step); })) {
        change(db, "ROLLBACK");
    }
}

// Takes apps that were left on the way between two states back to the beginning. The plug-in passes
// through these within one event and does not go on from them, so an app that a crash left there
// would never be learned again. State 2 it does go on from.
void abandonUnfinishedSteps(LMDatabase<AppState>& db) {
    static_assert(sizeof(AppState) == 4);
    std::string blobs;
    for (const AppState state : KS_UNFINISHED_STATES) {
        blobs += (blobs.empty() ? "x'0" : ",x'0") + std::to_string(state) + "000000'";
    }
    change(db, std::string("UPDATE ") + KS_STATE_TABLE +
                   " SET blob = x'00000000' WHERE"
                   // As the store reads it: cut or filled up to its size.
                   " substr(CAST(blob || zeroblob(4) AS BLOB), 1, 4) IN (" +
                   blobs + ")");
}

}  // namespace

FeatureState::FeatureState(const std::string& featureName) {
    auto db = std::make_unique<LMDatabase<AppState>>(0, stateDbFile(featureName), KS_STATE_TABLE);
    if (db->openLMdb() == LMDB_SUCCESS) {
        if (hasOddIds(*db)) {
            renumberRows(*db);
        }
        abandonUnfinishedSteps(*db);
        mDb = std::move(db);
    }
}

FeatureState::~FeatureState() = default;

AppState FeatureState::readState(std::string const& app) {
    if (mDb == nullptr) {
        return APP_STATE_LEARNING;
    }
    LMDBRows<AppState> newest(*mDb, readRows(*mDb, app, 1));
    return newest.rows.empty() ? APP_STATE_LEARNING : newest.rows.front()->blob;
}

void FeatureState::writeState(std::string const& app, AppState state) {
    HostRuntime::instance().record(record::State{app, state});
    if (mDb == nullptr) {
        return;
    }
    // An app has one row. Others, which a write after a failed read leaves, go.
    LMDBRows<AppState> found(*mDb, readRows(*mDb, app));
    LMDBRows<AppState> own(*mDb, mDb->getRow(1));
    if (own.rows.empty()) {
        return;
    }
    if (!found.rows.empty()) {
        std::swap(own.rows.front(), found.rows.front());  // the new row is not stored, only freed
    }
    own.rows.front()->appName = app;
    own.rows.front()->blob = state;
    mDb->writeDeallocateDR<AppState>(own.rows);
    if (found.rows.size() > 1) {
        mDb->deleteDeallocateDR<AppState>(found.rows);
    }
}

void FeatureState::deleteRow(std::string const& app) {
    HostRuntime::instance().record(record::Forget{app});
    if (mDb == nullptr) {
        return;
    }
    LMDBRows<AppState> found(*mDb, readRows(*mDb, app));
    if (!found.rows.empty()) {
        mDb->deleteDeallocateDR<AppState>(found.rows);
    }
}
