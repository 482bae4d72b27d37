// Any text as the configuration of the hardware profile.

#include <memory>

#include "action/KestrelStartsFeatureHw.h"
#include "feature/KestrelStartsFeature.h"
#include "fuzz/FuzzHost.h"

using namespace kestrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static KestrelStartsFeature& feature = [] {
        playSilently(HostSetup{.knobs = std::nullopt});
        return std::ref(*new KestrelStartsFeature(FeatureInfo{}));
    }();
    FuzzedDataProvider input(data, size);
    auto& config = feature.mFeatureInfo.configMap;
    config = {{"Cluster0", input.ConsumeRandomLengthString(20)}, {"Cluster-1", "x"}};
    config["Cluster"] = input.ConsumeRemainingBytesAsString();
    KestrelStartsFeatureHw profile(feature);
    std::string duration = "2000";
    profile.Start(duration);
    profile.Stop();
    return 0;
}
