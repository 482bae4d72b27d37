#include "host/Feature.h"

#include <utility>

#include "host/Registry.h"
#include "host/linux/HostRuntime.h"

using namespace kestrel;

template <class Base, class Info>
typename RegistryBase<Base, Info>::ClassList* RegistryBase<Base, Info>::classList = nullptr;
template <class Base, class Info>
std::mutex RegistryBase<Base, Info>::mMutex;
template class LM_API RegistryBase<Feature, FeatureInfo>;

Feature::Feature(FeatureInfo info)
    : mFeatureInfo(std::move(info)),
      mFeatureState(mFeatureInfo.featureName),
      mFeatureLocator(HostRuntime::instance().locator()) {}

Feature::~Feature() = default;

void Feature::runAsync(AsyncTriggerPayload /*payload*/) {}

void Feature::runAsyncIdle(std::atomic<bool> const& /*stop*/) {}

void Feature::runAsyncPeriodic(std::atomic<bool> const& /*stop*/) {}

int Feature::getData(int /*count*/, char** /*texts*/) {
    return 0;
}

int Feature::getData(std::string& /*app*/, featureData& /*data*/, int /*type*/) {
    return 0;
}

int Feature::getData(std::string& /*app*/, featureData& data, int /*type*/, int /*arg*/) {
    data.value = -1;
    return 0;
}

int Feature::setData(std::string& /*app*/, std::vector<int> /*values*/) {
    return 0;
}

int Feature::setData(int /*type*/, std::vector<int>& /*values*/) {
    return 0;
}
