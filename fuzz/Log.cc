// Any text as an Android log, as a whole and line by line.

#include <string_view>

#include "fuzz/FuzzHost.h"
#include "tools/base/Lines.h"
#include "tools/input/logcat/AndroidLogImporter.h"

using namespace kestrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    TraceObjects events;
    AndroidLogImporter::importFile(text, {}, events);
    int64_t latest = 0;
    AndroidLogImporter live({});
    events.clear();
    for (std::size_t number = 1; !text.empty(); ++number) {
        live.importLine(takeLine(text), number, events);
    }
    for (const TraceObject& event : events) {
        if (event.t < latest) {
            __builtin_trap();  // time never goes back
        }
        latest = event.t;
    }
    return 0;
}
