#pragma once

#include <cstdint>

// The answer to a feature data query, as far as it is known: a device's record may be longer.
struct featureData {
    int32_t value = 0;
};
