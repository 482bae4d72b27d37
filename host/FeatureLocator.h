#pragma once

#include <string>

#include "host/FeatureData.h"
#include "host/LmApi.h"

// Routes a data query to the feature of that name, on the caller's thread.
// Threads: any, while the features live.
class LM_API FeatureLocator {
 public:
    // What the feature's getData answered, its answer being in `data`; -1 when there is no such
    // feature, or it has no answer, with `data` unchanged.
    int getData(std::string& featureName, std::string& app, featureData& data, int type);
};
