#pragma once

#include <cstddef>

#include "host/LmApi.h"

// The entry points of the platform's performance service. Each may be null: the service does not
// offer it. The order of the members is a binary contract; what is named reserved belongs to other
// features.
// Threads: the pointers are set before a feature is constructed and then only read.
class LM_API DynamicLoader {
 public:
    static DynamicLoader& getInstance();

    void* mReserved1 = nullptr;
    void* mReserved2 = nullptr;
    void* mReserved3 = nullptr;
    void* mReserved4 = nullptr;
    void* mReserved5 = nullptr;

    // Releases a handle.
    int (*mPerfLockRel)(int handle) = nullptr;

    void* mReserved7 = nullptr;

    // Copies the property's value, or the default when it is not set, into the buffer of `size`
    // bytes, with its terminating zero. REQUIRES: size is at least 1.
    void (*mPerfGetPropExtn)(const char* name, char* buffer, size_t size,
                             const char* defaultText) = nullptr;

    // Requests a boost of `duration` ms and returns its handle; 0 or less on failure.
    int (*mPerfHint)(int hintId, const char* package, int duration, int hintType) = nullptr;

    void* mReserved10 = nullptr;

    // As mPerfHint, with arguments, and replaces the boost held under `handle`.
    int (*mPerfHintAcqRel)(int handle, int hintId, const char* package, int duration, int hintType,
                           int numArgs, int* args) = nullptr;
};

static_assert(offsetof(DynamicLoader, mPerfLockRel) == 5 * sizeof(void*));
static_assert(offsetof(DynamicLoader, mPerfGetPropExtn) == 7 * sizeof(void*));
static_assert(offsetof(DynamicLoader, mPerfHint) == 8 * sizeof(void*));
static_assert(offsetof(DynamicLoader, mPerfHintAcqRel) == 10 * sizeof(void*));
