// Any text as an event trace: it is read or refused by its line.

#include <string_view>

#include "fuzz/FuzzHost.h"
#include "tools/base/InputError.h"
#include "tools/base/Lines.h"
#include "tools/input/EventTrace.h"

using namespace kestrel;

// What is written can be read.
static void expectReadable(const std::string& line) noexcept {
    if (!EventTraceReader("again.jsonl").readLine(line, 1)) {
        __builtin_trap();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    EventTraceReader reader("fuzz.jsonl");
    try {
        for (std::size_t number = 1; !text.empty(); ++number) {
            const auto object = reader.readLine(takeLine(text), number);
            if (object && std::holds_alternative<HintEvent>(object->what)) {
                expectReadable(toTraceLine(*object));
            }
        }
    } catch (const InputError&) {
        return 0;
    }
    return 0;
}
