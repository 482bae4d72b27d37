#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/LmApi.h"

// The host's controller of the hardware profile.
// Ownership: the feature's, which allocates it: a device's controller must be declared here with
//            its real members. Copies what it is given.
// Threads:   used from one thread at a time.
class LM_API CpPLHController {
 public:
    // The first pair of `init` carries the initialisation text.
    CpPLHController(std::vector<std::pair<int, std::string>>& init,
                    std::pair<int, std::string>& start, std::pair<int, std::string>& stop,
                    std::string name, void* (*callback)());
    ~CpPLHController();
    CpPLHController(const CpPLHController&) = delete;
    CpPLHController& operator=(const CpPLHController&) = delete;

    int commandCp(int command, std::string text, int flag);
};
