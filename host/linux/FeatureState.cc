#include "host/FeatureState.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/linux/HostRuntime.h"
#include "host/linux/StateStore.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMDatabaseImpl.h"

using namespace kestrel;

LMDB_INSTANTIATE(AppState);

namespace {

// The app's rows. An app without a name has none: as a key, it would select those of all others.
LMDBDataTable<AppState>::vecT readRows(LMDatabase<AppState>& db, std::string const& app) {
    if (app.empty()) {
        return {};
    }
    LMDBDataRowKey key;
    key.appName = app;
    return db.readAllocateDR<AppState>(key);
}

// The newest of an app's rows that the store can write; rows.end() when there is none.
auto findNewest(LMDBDataTable<AppState>::vecT& rows) {
    const auto newest = std::find_if(rows.rbegin(), rows.rend(),
                                     [](const auto* row) { return isWritableRow(row->rowid); });
    return newest != rows.rend() ? std::prev(newest.base()) : rows.end();
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
    lmstore::Statement statement;
    if (!statement.prepare(db.dbHandle,
                           std::string("UPDATE ") + KS_STATE_TABLE +
                               " SET blob = x'00000000' WHERE"
                               // As the store reads it: cut or filled up to its size.
                               " substr(CAST(blob || zeroblob(4) AS BLOB), 1, 4) IN (" +
                               blobs + ")") ||
        statement.step() != lmstore::Statement::DONE) {
        lmstore::logSqlMessage("FeatureState", 43, KS_STATE_TABLE, db.dbHandle);
    }
}

}  // namespace

FeatureState::FeatureState(const std::string& featureName) {
    auto db = std::make_unique<LMDatabase<AppState>>(0, stateDbFile(featureName), KS_STATE_TABLE);
    if (db->openLMdb() == LMDB_SUCCESS) {
        abandonUnfinishedSteps(*db);
        mDb = std::move(db);
    }
}

FeatureState::~FeatureState() = default;

AppState FeatureState::readState(std::string const& app) {
    if (mDb == nullptr) {
        return APP_STATE_LEARNING;
    }
    LMDBRows<AppState> found(*mDb, readRows(*mDb, app));
    const auto newest = findNewest(found.rows);
    return newest == found.rows.end() ? APP_STATE_LEARNING : (*newest)->blob;
}

void FeatureState::writeState(std::string const& app, AppState state) {
    HostRuntime::instance().record(record::State{app, state});
    if (mDb == nullptr) {
        return;
    }
    // An app has one row. Others, which a write after a failed read leaves, go.
    LMDBRows<AppState> surplus(*mDb, readRows(*mDb, app));
    LMDBRows<AppState> own(*mDb, mDb->getRow(1));
    if (own.rows.empty()) {
        return;
    }
    if (const auto newest = findNewest(surplus.rows); newest != surplus.rows.end()) {
        std::swap(own.rows.front(), *newest);  // the new row is not stored, and only freed
    }
    own.rows.front()->appName = app;
    own.rows.front()->blob = state;
    mDb->writeDeallocateDR<AppState>(own.rows);
    if (surplus.rows.size() > 1) {
        mDb->deleteDeallocateDR<AppState>(surplus.rows);
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
