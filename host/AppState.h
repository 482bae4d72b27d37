#pragma once

#include <cstdint>

#include "lmdb/LMDatabase.h"

// How far the learning of one app has come; the host stores it per app.
enum AppState : int32_t {
    APP_STATE_LEARNING = 0,  // durations are being collected; also what an unknown app has
    APP_STATE_EVALUATING = 1,
    APP_STATE_EVALUATED = 2,
    APP_STATE_DECIDING = 3,
    APP_STATE_LEARNED = 4,   // a decision is stored
    APP_STATE_RELEARN = 5,   // written just before the app goes back to learning
    APP_STATE_DISABLED = 99  // by configuration, or because no duration could be learned
};

static_assert(sizeof(AppState) == 4);  // as it is stored

LMDB_DECLARE(AppState);
