#include "tools/input/InputKind.h"

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

std::string_view withoutLeadingBlanks(std::string_view line) {
    const auto begin = line.find_first_not_of(" \t\r\n");
    return begin == std::string_view::npos ? std::string_view() : line.substr(begin);
}

}  // namespace

bool isSkippedTraceLine(std::string_view line) {
    return withoutLeadingBlanks(line).empty() || line.starts_with('#');
}

bool isTrace(InputKinds kinds, std::string_view line, const std::string& inputName,
             std::size_t lineNumber) {
    const bool looksLikeTrace = withoutLeadingBlanks(line).starts_with('{');
    if (kinds == InputKinds::tracesAndLogs) {
        return line.empty() || looksLikeTrace;
    }
    if (looksLikeTrace) {
        throw InputError(inputName, lineNumber,
                         "an event trace, where only Android logs are taken");
    }
    return false;
}

}  // namespace kestrel
