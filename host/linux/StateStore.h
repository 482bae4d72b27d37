#pragma once

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

#include "host/AppState.h"
#include "lmdb/LMDBTypes.h"

namespace kestrel {

// Where and how the host keeps the apps' states, for FeatureState and for those who only read them.

inline constexpr const char* KS_STATE_TABLE = "app_state";

inline std::string stateDbFile(const std::string& featureName) {
    return featureName + "State.db";
}

// The folder of the databases below the root that the host plays on.
inline std::filesystem::path databaseFolder(const std::filesystem::path& root) {
    return root / std::filesystem::path(LMDB_DIRECTORY).relative_path().parent_path();
}

// An app's state is that of its newest row, the one with the largest id.

// The host takes an app that it finds in one of these back to APP_STATE_LEARNING.
inline constexpr std::array KS_UNFINISHED_STATES = {APP_STATE_EVALUATING, APP_STATE_DECIDING,
                                                    APP_STATE_RELEARN};

inline bool isUnfinished(AppState state) {
    return std::ranges::find(KS_UNFINISHED_STATES, state) != KS_UNFINISHED_STATES.end();
}

}  // namespace kestrel
