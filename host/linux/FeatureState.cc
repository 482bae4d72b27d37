#include "host/FeatureState.h"

#include <utility>

#include "host/linux/HostRuntime.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMDatabaseImpl.h"

LMDB_INSTANTIATE(AppState);

namespace {

// The app's rows, of which the last is the newest. An app without a name has none: as a key, it
// would select those of all others.
LMDBDataTable<AppState>::vecT readRows(LMDatabase<AppState>& db, std::string const& app) {
    if (app.empty()) {
        return {};
    }
    LMDBDataRowKey key;
    key.appName = app;
    return db.readAllocateDR<AppState>(key);
}

constexpr const char* TABLE = "app_state";

// Takes apps that were left on the way between two states back to the beginning. The plug-in passes
// through 1, 3 and 5 within one event and does not go on from them, so an app that a crash left
// there would never be learned again. State 2 it does go on from.
void abandonUnfinishedSteps(LMDatabase<AppState>& db) {
    static_assert(sizeof(AppState) == 4);
    lmstore::Statement statement;
    if (!statement.prepare(db.dbHandle, std::string("UPDATE ") + TABLE +
                                            " SET blob = x'00000000' WHERE blob IN "
                                            "(x'01000000', x'03000000', x'05000000')") ||
        statement.step() != lmstore::Statement::DONE) {
        lmstore::logSqlMessage("FeatureState", 43, TABLE, db.dbHandle);
    }
}

}  // namespace

FeatureState::FeatureState(const std::string& featureName) {
    auto db = std::make_unique<LMDatabase<AppState>>(0, featureName + "State.db", TABLE);
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
    const LMDBRows<AppState> found(*mDb, readRows(*mDb, app));
    return found.rows.empty() ? APP_STATE_LEARNING : found.rows.back()->blob;
}

void FeatureState::writeState(std::string const& app, AppState state) {
    HostRuntime::instance().record(record::State{app, state});
    if (mDb == nullptr) {
        return;
    }
    LMDBRows<AppState> found(*mDb, readRows(*mDb, app));
    if (found.rows.empty()) {
        found.rows = mDb->getRow(1);
    }
    if (found.rows.empty()) {
        return;
    }
    // The last row is the app's. Others, which a write after a failed read leaves, go.
    LMDBRows<AppState> surplus(*mDb, {found.rows.begin(), found.rows.end() - 1});
    found.rows.erase(found.rows.begin(), found.rows.end() - 1);
    found.rows.front()->appName = app;
    found.rows.front()->blob = state;
    mDb->writeDeallocateDR<AppState>(found.rows);
    if (!surplus.rows.empty()) {
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
