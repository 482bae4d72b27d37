#pragma once

#include <cstdint>

// The answer to a feature data query.
struct featureData {
    int32_t value = 0;
};
