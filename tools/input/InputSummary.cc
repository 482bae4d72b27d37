#include "tools/input/InputSummary.h"

#include <variant>

namespace kestrel {

void countObject(const TraceObject& object, InputSummary& summary) {
    const auto* event = std::get_if<HintEvent>(&object.what);
    if (event == nullptr) {
        return;
    }
    switch (event->hintId) {
        case KS_LAUNCH_HINT:
            summary.launches += event->hintType == KS_HINT_TYPE_LAUNCH ? 1 : 0;
            break;
        case KS_HINT_METER_EVENT:
            ++summary.firstFrames;
            break;
        case KS_HINT_APP_SWITCH:
            ++summary.appSwitches;
            break;
        case KS_HINT_APP_REMOVED:
            ++(event->hintType == KS_HINT_TYPE_KEEPS_DATA ? summary.updates : summary.removals);
            break;
        default:
            break;
    }
}

}  // namespace kestrel
