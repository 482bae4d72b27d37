#include "host/FeatureState.h"

#include <utility>

#include "host/linux/HostRuntime.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMDatabaseImpl.h"

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

}  // namespace

FeatureState::FeatureState(const std::string& featureName) {
    auto db = std::make_unique<LMDatabase<AppState>>(0, featureName + "State.db", "app_state");
    if (db->openLMdb() == LMDB_SUCCESS) {
        mDb = std::move(db);
    }
}

FeatureState::~FeatureState() = default;

AppState FeatureState::readState(std::string const& app) {
    if (mDb == nullptr) {
        return APP_STATE_LEARNING;
    }
    const LMDBRows<AppState> found(*mDb, readRows(*mDb, app));
    return found.rows.empty() ? APP_STATE_LEARNING : found.rows.front()->blob;
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
    // An app has one row. Others, which a write after a failed read leaves, go.
    LMDBRows<AppState> surplus(*mDb, {found.rows.begin() + 1, found.rows.end()});
    found.rows.resize(1);
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
