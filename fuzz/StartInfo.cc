// Any text as a history of starts: time never goes back, and no event is without a record.

#include <string_view>

#include "fuzz/FuzzHost.h"
#include "tools/base/Lines.h"
#include "tools/input/exports/StartInfoReader.h"

using namespace kestrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    StartInfoReader reader;
    for (std::size_t number = 1; !text.empty(); ++number) {
        reader.readLine(takeLine(text), number);
    }
    const ImportedInput imported = reader.take();
    int64_t latest = 0;
    for (const TraceObject& object : imported.objects) {
        if (object.t < latest || object.line == 0) {
            __builtin_trap();
        }
        latest = object.t;
    }
    if (imported.summary.starts > imported.summary.units ||
        imported.objects.size() > 2 * imported.summary.starts) {
        __builtin_trap();
    }
    return 0;
}
