#include "tools/input/CountObject.h"

#include "host/KestrelStartsHints.h"
#include "host/linux/LaunchRun.h"

namespace kestrel {

void countObject(const TraceObject& object, InputSummary& summary) {
    summary.firstT = summary.firstT.value_or(object.t);
    summary.lastT = object.t;
    const auto* event = std::get_if<HintEvent>(&object.what);
    if (event == nullptr) {
        return;
    }
    if (LaunchRun::begins(event->hintId, event->hintType)) {
        ++summary.launches;
    } else if (event->hintId == KS_HINT_METER_EVENT) {
        ++summary.firstFrames;
    } else if (event->hintId == KS_HINT_APP_SWITCH) {
        ++summary.appSwitches;
    } else if (event->hintId == KS_HINT_APP_REMOVED) {
        ++(event->hintType == 0 ? summary.removals : summary.updates);
    }
}

}  // namespace kestrel
