#include "tools/commands/Import.h"

#include <iostream>

#include "tools/base/StandardOutput.h"
#include "tools/input/EventTrace.h"
#include "tools/input/InputSequence.h"

namespace kestrel {

void importLogs(const std::vector<std::string>& logs, const std::optional<std::string>& hostFile) {
    InputSequence inputs(logs, hostFile, {.takesTraces = false});
    while (const auto object = inputs.next()) {
        std::cout << toTraceLine(*object) << '\n';
        if (inputs.hasLiveInput()) {
            flushOutput();
        }
    }
    flushOutput();
}

}  // namespace kestrel
