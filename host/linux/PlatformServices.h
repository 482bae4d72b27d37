#pragma once

#include <set>
#include <string>

#include "host/LmApi.h"

namespace kestrel {

// Points the loader's entry points at the host's performance service; those in `absent` stay null.
LM_API void connectPerformanceService(const std::set<std::string>& absent);

// What the knob library answers.
LM_API bool isKnobEnabled(int feature);

}  // namespace kestrel
