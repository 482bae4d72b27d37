// Any text as each of the JSON documents of other programs: it is read or refused.

#include <string_view>

#include "fuzz/FuzzHost.h"
#include "tools/base/InputError.h"
#include "tools/base/MemorySource.h"
#include "tools/input/JsonKind.h"
#include "tools/input/exports/BenchmarkResults.h"
#include "tools/input/exports/LogExport.h"

using namespace kestrel;

static void readMessages(std::string_view text) {
    MemorySource source("fuzz.logcat", text);
    std::size_t number = 0;
    try {
        readLogExport(source, [&](const ExportedMessage& message) {
            if (message.us < 0 || message.number <= number) {
                __builtin_trap();
            }
            number = message.number;
        });
    } catch (const InputError&) {
        return;
    }
}

static void readRuns(std::string_view text) {
    MemorySource source("fuzz.json", text);
    try {
        int64_t latest = 0;
        for (const TraceObject& object : readBenchmarkResults(source, "com.a").objects) {
            if (object.t < latest) {
                __builtin_trap();
            }
            latest = object.t;
        }
    } catch (const InputError&) {
        return;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    jsonKindOf(text);
    readMessages(text);
    readRuns(text);
    return 0;
}
