#include "tools/views/ReportText.h"

#include <algorithm>

#include "host/AppState.h"
#include "tools/base/TerminalText.h"

namespace kestrel {

std::string stateText(int32_t state) {
    switch (state) {
        case APP_STATE_LEARNING:
            return "learning";
        case APP_STATE_LEARNED:
            return "learned";
        case APP_STATE_DISABLED:
            return "disabled";
        default:
            return "state " + std::to_string(state);
    }
}

std::string right(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string appText(const std::string& app) {
    return padded(endWithin(printable(app), APP_WIDTH), APP_WIDTH);
}

std::string numberText(std::optional<int32_t> number) {
    return number ? std::to_string(*number) : "-";
}

}  // namespace kestrel
