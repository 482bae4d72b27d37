#include "tools/launches/Launch.h"

#include "host/AppState.h"

namespace kestrel {

LaunchPhase phaseOfState(int32_t state) {
    if (state == APP_STATE_LEARNED) {
        return LaunchPhase::learned;
    }
    // The feature handles states that it does not know as it handles disabled apps.
    const bool isLearning = state >= APP_STATE_LEARNING && state <= APP_STATE_RELEARN;
    return isLearning ? LaunchPhase::learning : LaunchPhase::disabled;
}

}  // namespace kestrel
