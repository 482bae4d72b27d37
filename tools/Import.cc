#include "tools/Import.h"

#include <iostream>

#include "tools/EventTrace.h"
#include "tools/Input.h"
#include "tools/Interruption.h"

void importLogs(const std::vector<std::string>& logs, const std::optional<std::string>& hostFile) {
    InputSequence inputs(logs, hostFile, InputKinds::logsOnly);
    while (const auto object = inputs.next()) {
        std::cout << toTraceLine(*object) << '\n';
        if (inputs.hasLiveInput()) {
            flushOutput();
        }
    }
    flushOutput();
}
