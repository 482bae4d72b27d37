// Any text as an Android log, as a whole and line by line.

#include <string_view>

#include "fuzz/FuzzHost.h"
#include "tools/base/Lines.h"
#include "tools/input/logcat/AndroidLog.h"

using namespace kestrel;

namespace {

void expectOrder(const TraceObjects& events) {
    int64_t latest = 0;
    for (const TraceObject& event : events) {
        if (event.t < latest) {
            __builtin_trap();  // time never goes back
        }
        latest = event.t;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    AndroidLog log;
    AndroidLogReader reader;
    AndroidLogImporter live({});
    TraceObjects arrived;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = takeLine(text);
        log.addLine(line, number);
        live.play(reader.read(line), number, arrived);
    }
    InputSummary summary;
    expectOrder(log.import({}, summary));
    expectOrder(arrived);
    return 0;
}
