#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/linux/HostRuntime.h"
#include "host/linux/PlatformServices.h"

// One input of a target. Its first form is libFuzzer's entry point.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

// A platform whose records nobody reads.
inline void playSilently(const kestrel::HostSetup& setup) {
    kestrel::connectPerformanceService(setup.absent);
    kestrel::HostRuntime::instance().configure(setup, [](const kestrel::HostRecord&) {});
}
