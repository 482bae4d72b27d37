#include "tools/commands/Import.h"

#include <cstddef>
#include <iostream>

#include "tools/base/Interruption.h"
#include "tools/base/StandardOutput.h"
#include "tools/base/TerminalText.h"
#include "tools/commands/TellInputs.h"
#include "tools/input/EventTrace.h"
#include "tools/input/InputSequence.h"
#include "tools/session/ProgressLine.h"
#include "tools/session/Session.h"

namespace kestrel {

namespace {

// Returns how many events were printed.
std::size_t printEvents(InputSequence& inputs, ProgressLine& progress) {
    std::size_t printed = 0;
    while (!wasInterrupted()) {
        const auto object = inputs.next();
        if (!object) {
            break;
        }
        progress.makeWay();
        std::cout << toTraceLine(*object) << '\n';
        if (inputs.hasLiveInput() || !std::cout) {
            flushOutput();
        }
        progress.update(inputs, ++printed);
    }
    flushOutput();
    return printed;
}

}  // namespace

void importLogs(const ImportOptions& options) {
    ProgressLine progress(!options.quiet);
    InputSequence inputs(options.logs, options.hostFile,
                         {.takesTraces = false, .package = options.package}, &progress);
    catchInterruptions();  // so far there is nothing to put in order
    progress.clear();
    const std::size_t printed = printEvents(inputs, progress);
    progress.clear();
    if (const auto interrupted = interruptionOf(inputs, printed)) {
        tellInterruption(*interrupted);
    }
    if (!options.quiet) {
        tellInputs(inputs);
    }
}

}  // namespace kestrel
