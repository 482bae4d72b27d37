#include "tools/Import.h"

#include <iostream>
#include <stdexcept>

#include "tools/EventTrace.h"
#include "tools/Input.h"

void importLogs(const std::vector<std::string>& logs, const std::string& hostFile) {
    InputSequence inputs(logs, hostFile, InputKinds::logsOnly);
    while (const auto object = inputs.next()) {
        std::cout << toTraceLine(*object) << '\n';
        if (inputs.hasLiveInput()) {
            std::cout.flush();
        }
    }
    if (!std::cout.flush()) {
        throw std::runtime_error("cannot write to standard output");
    }
}
