#include "tools/commands/TellInputs.h"

#include <iostream>

#include "tools/base/Interruption.h"
#include "tools/views/InputSummaryText.h"

namespace kestrel {

void tellInputs(const InputSequence& inputs) {
    if (!hasReaderGone()) {
        printSummaries(inputs.summaries(), inputs.setup().removals, std::cerr);
    }
}

}  // namespace kestrel
