#pragma once

#include <cstddef>
#include <cstdint>

// The performance service's request message. What is named reserved is the service's own, and zero
// in messages built here. Needs nothing of the plug-in, so that a host can build one too.
struct mpctl_msg_t {
    uint8_t reserved0[8];
    uint8_t requestKind;
    uint8_t reserved9[3];
    int32_t duration;  // ms
    uint8_t reserved16[1168];
    uint32_t hintId;
    int32_t hintType;
    uint8_t reserved1192[8];
    char appName[128];  // zero-terminated
    uint8_t reserved1328[112];
};

static_assert(offsetof(mpctl_msg_t, requestKind) == 8);
static_assert(offsetof(mpctl_msg_t, duration) == 12);
static_assert(offsetof(mpctl_msg_t, hintId) == 1184);
static_assert(offsetof(mpctl_msg_t, hintType) == 1188);
static_assert(offsetof(mpctl_msg_t, appName) == 1200);
static_assert(sizeof(mpctl_msg_t::appName) == 128);
static_assert(sizeof(mpctl_msg_t) == 1440);
