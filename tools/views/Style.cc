#include "tools/views/Style.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "host/AppState.h"

namespace kestrel {

namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool wantsColours() {
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && !isSet("NO_COLOR") && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

const char* codeOf(Emphasis emphasis) {
    switch (emphasis) {
        case Emphasis::heading:
            return "\033[1m";
        case Emphasis::good:
            return "\033[32m";
        case Emphasis::warning:
            return "\033[31m";
    }
    return "";
}

}  // namespace

std::string styled(const std::string& text, Emphasis emphasis) {
    static const bool WANTED = wantsColours();
    return WANTED ? codeOf(emphasis) + text + "\033[0m" : text;
}

std::optional<Emphasis> emphasisOfState(std::optional<int32_t> state) {
    switch (state.value_or(APP_STATE_LEARNING)) {
        case APP_STATE_LEARNED:
            return Emphasis::good;
        case APP_STATE_DISABLED:
            return Emphasis::warning;
        default:
            return std::nullopt;
    }
}

std::string styledState(const std::string& text, std::optional<int32_t> state) {
    const auto emphasis = emphasisOfState(state);
    return emphasis ? styled(text, *emphasis) : text;
}

}  // namespace kestrel
