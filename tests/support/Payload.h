#pragma once

#include <string>

#include "host/AsyncTriggerPayload.h"

namespace kestrel {

// An event as the host delivers it, in the versions that the plug-in takes.
inline AsyncTriggerPayload eventOf(const std::string& app, int32_t hintId, int32_t hintType) {
    AsyncTriggerPayload payload;
    payload.hintId = hintId;
    payload.hintType = hintType;
    payload.appName = app;
    payload.featureVersion = 1;
    payload.dataVersion = 112;
    return payload;
}

inline AsyncTriggerPayload launchOf(const std::string& app) {
    return eventOf(app, 4225, 1);
}

}  // namespace kestrel
