#pragma once

#include <string>

#include "host/LmApi.h"

// What the host knows of running apps.
// Threads: any.
class LM_API AsyncEvent {
 public:
    // The process id recorded for a package; 0 when none is.
    static int getPidFromMap(std::string& app);
};
