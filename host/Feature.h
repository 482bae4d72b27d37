#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "host/AsyncTriggerPayload.h"
#include "host/FeatureData.h"
#include "host/FeatureInfo.h"
#include "host/FeatureLocator.h"
#include "host/FeatureState.h"
#include "host/LmApi.h"
#include "host/MetaMeter.h"

// Base of every feature. The order of the virtual operations is a binary contract: the destructor's
// two slots, then the operations as declared.
// Ownership: the host owns a feature and deletes it; a feature owns its mMetaMeter.
// Threads:   runAsync on the host's event worker, one event at a time; getData on anyone's, also
//            while an event is handled. Nothing is called outside the feature's life.
class LM_API Feature {
 public:
    explicit Feature(FeatureInfo info);
    virtual ~Feature();
    Feature(const Feature&) = delete;
    Feature& operator=(const Feature&) = delete;

    // Here, these do nothing and answer 0; getData with four arguments sets the value to -1.
    virtual void runAsync(AsyncTriggerPayload payload);
    virtual void runAsyncIdle(std::atomic<bool> const& stop);
    virtual void runAsyncPeriodic(std::atomic<bool> const& stop);
    virtual int getData(int count, char** texts);
    virtual int getData(std::string& app, featureData& data, int type);
    virtual int getData(std::string& app, featureData& data, int type, int arg);
    virtual int setData(std::string& app, std::vector<int> values);
    virtual int setData(int type, std::vector<int>& values);

    FeatureInfo mFeatureInfo;
    FeatureState mFeatureState;
    MetaMeter* mMetaMeter = nullptr;            // the feature's; null when it measures nothing
    FeatureLocator* mFeatureLocator = nullptr;  // the host's; may be null
    int32_t mMajorVersion = 0;
    int32_t mMinorVersion = 0;
};
