// Any sequence of events, queries and feedback calls, through the real dispatch, on stores in
// memory.

#include <sqlite3.h>

#include <memory>

#include "action/KestrelStartsAction.h"
#include "feature/KestrelStartsFeature.h"
#include "fuzz/FuzzHost.h"

using namespace kestrel;

namespace {

// A name that comes again, or any bytes.
std::string anyName(FuzzedDataProvider& input) {
    static const std::string NAMES[] = {
        "com.a/.Main",        "com.a", "com.b", "android", "", "com.android.launcher",
        std::string(200, 'x')};
    return input.ConsumeBool() ? input.PickValueInArray(NAMES)
                               : input.ConsumeRandomLengthString(40);
}

AsyncTriggerPayload anyEvent(FuzzedDataProvider& input) {
    AsyncTriggerPayload event;
    event.hintId = input.ConsumeBool()
                       ? input.PickValueInArray({4097, 4098, 4099, 4103, 4160, 4164, 4225})
                       : input.ConsumeIntegral<int32_t>();
    event.hintType = input.ConsumeBool() ? input.PickValueInArray({0, 1, 103})
                                         : input.ConsumeIntegral<int32_t>();
    event.appName = anyName(input);
    event.hintArg = input.ConsumeIntegral<int32_t>();
    event.launchType = input.ConsumeBool() ? 2 : input.ConsumeIntegral<int32_t>();
    event.launchArg = input.ConsumeIntegral<int32_t>();
    event.featureVersion = input.ConsumeBool() ? int16_t{1} : input.ConsumeIntegral<int16_t>();
    event.dataVersion = input.ConsumeBool() ? uint16_t{112} : input.ConsumeIntegral<uint16_t>();
    return event;
}

void play(FuzzedDataProvider& input, Feature& feature) {
    int64_t now = 0;
    for (int i = 0; i < 200 && input.remaining_bytes() > 0; ++i) {
        switch (input.ConsumeIntegralInRange(0, 9)) {
            case 0: {
                std::string app = anyName(input);
                featureData data;
                feature.getData(app, data, input.ConsumeIntegral<int>());
                break;
            }
            case 1: {
                mpctl_msg_t message{};
                message.hintId = input.ConsumeBool() ? 4225 : input.ConsumeIntegral<uint32_t>();
                const std::string app = anyName(input);
                // As a service may that knows nothing of terminators.
                app.copy(message.appName, sizeof(message.appName));
                KestrelStartsAction::FeedbackCB(&message);
                break;
            }
            default:
                now += input.ConsumeIntegralInRange(0, 5000);
                HostRuntime::instance().setTime(now);
                feature.runAsync(anyEvent(input));
                if (feature.mMetaMeter != nullptr) {
                    feature.mMetaMeter->handOverFinishedRuns();
                }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    sqlite3_vfs_register(sqlite3_vfs_find("memdb"), 1);
    FuzzedDataProvider input(data, size);
    HostSetup setup{.knobs = std::nullopt};
    setup.appClasses = {{"com.a/.Main", input.ConsumeIntegral<int32_t>()}};
    playSilently(setup);
    FeatureInfo info{.featureName = "F"};
    info.ignoredApps = {anyName(input)};
    info.disabledApps = {anyName(input)};
    KestrelStartsFeature feature(info);
    feature.mKapStatus = input.ConsumeBool() ? 1 : 0;
    feature.mKgmStatus = input.ConsumeBool() ? 1 : 0;
    feature.mAttachHintEnabled = input.ConsumeBool();
    play(input, feature);
    // Each input is a life of its own.
    delete std::exchange(KestrelStartsAction::mKSFbInstance, nullptr);
    return 0;
}
