#pragma once

#include <memory>
#include <string>

#include "host/AppState.h"
#include "host/LmApi.h"

// The learning state of each app, kept across restarts.
// Threads: any; single reads and writes only.
// Errors:  the store logs them; a state that could not be read is APP_STATE_LEARNING.
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
