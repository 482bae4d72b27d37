#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// One event, filled by the host and passed by value to Feature::runAsync. The layout is a binary
// contract: 24-byte strings and vectors, as libc++ has them.
struct AsyncTriggerPayload {
    int32_t hintId = 0;
    int32_t hintType = 0;  // its highest byte tells a removal event to keep the app's data
    std::string appName;   // a package, or a package, "/" and a component
    int32_t hintArg = 0;
    int32_t reserved36[6] = {};
    int32_t launchType = 0;  // 2: a game
    int32_t launchArg = 0;
    int32_t reserved68 = 0;
    int16_t featureVersion = 0;  // at most the feature's mMajorVersion
    uint16_t dataVersion = 0;    // KS_DATA_VERSION
    int32_t reserved76 = 0;
    std::vector<int> hostData;  // the host's own
    int64_t reserved104[2] = {};
};

static_assert(offsetof(AsyncTriggerPayload, hintId) == 0);
static_assert(offsetof(AsyncTriggerPayload, hintType) == 4);
static_assert(offsetof(AsyncTriggerPayload, appName) == 8);
static_assert(offsetof(AsyncTriggerPayload, hintArg) == 32);
static_assert(offsetof(AsyncTriggerPayload, reserved36) == 36);
static_assert(offsetof(AsyncTriggerPayload, launchType) == 60);
static_assert(offsetof(AsyncTriggerPayload, launchArg) == 64);
static_assert(offsetof(AsyncTriggerPayload, reserved68) == 68);
static_assert(offsetof(AsyncTriggerPayload, featureVersion) == 72);
static_assert(offsetof(AsyncTriggerPayload, dataVersion) == 74);
static_assert(offsetof(AsyncTriggerPayload, reserved76) == 76);
static_assert(offsetof(AsyncTriggerPayload, hostData) == 80);
static_assert(offsetof(AsyncTriggerPayload, reserved104) == 104);
static_assert(sizeof(std::string) == 24 && sizeof(std::vector<int>) == 24);
static_assert(sizeof(AsyncTriggerPayload::reserved36) == 24);
static_assert(sizeof(AsyncTriggerPayload::reserved104) == 16);
static_assert(sizeof(AsyncTriggerPayload) == 120);
