#include "tools/Import.h"

#include <iostream>

#include "tools/EventTrace.h"
#include "tools/Input.h"
#include "tools/Interruption.h"

void importLogs(const std::vector<std::string>& logs, const std::optional<std::string>& hostFile) {
    InputSequence inputs(logs, hostFile, InputKinds::logsOnly);
    while (!wasInterrupted()) {
        const auto object = inputs.next();
        if (!object) {
            break;
        }
        std::cout << toTraceLine(*object) << '\n';
        if (inputs.hasLiveInput()) {
            flushOutput();
        }
    }
    flushOutput();
}
