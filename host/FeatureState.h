#pragma once

#include <memory>
#include <string>

#include "host/AppState.h"
#include "host/LmApi.h"

// The learning state of each app, kept across restarts.
// Ownership: owns its database.
// Threads:   readState from any. Writing reads first, so only one thread may write.
// Errors:    logged by the store; a state that could not be read is APP_STATE_LEARNING, one that
//            could not be stored is lost. That of an app without a name never can.
class LM_API FeatureState {
 public:
    // Opens the store of the feature of that name.
    explicit FeatureState(const std::string& featureName);
    ~FeatureState();

    // APP_STATE_LEARNING for an app that nothing is stored of.
    AppState readState(std::string const& app);
    void writeState(std::string const& app, AppState state);
    void deleteRow(std::string const& app);

 private:
    std::unique_ptr<LMDatabase<AppState>> mDb;  // null when it could not be opened
};
