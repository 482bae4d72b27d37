#include "tools/input/InputSummary.h"

#include <variant>

#include "host/KestrelStartsHints.h"
#include "host/linux/LaunchRun.h"

namespace kestrel {

void countObject(const TraceObject& object, InputSummary& summary) {
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
    } else if (event->hintId == KS_HINT_APP_REMOVED && summary.kind == SourceKind::eventTrace) {
        const bool keepsData = (static_cast<uint32_t>(event->hintType) >> 24) != 0;
        ++(keepsData ? summary.updates : summary.removals);
    }
}

}  // namespace kestrel
