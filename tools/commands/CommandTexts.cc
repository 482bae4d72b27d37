#include "tools/commands/CommandTexts.h"

#include <set>

namespace kestrel {

std::vector<std::string> namesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::string placeholderOf(const CLI::Option& option) {
    return option.get_positional() ? option.get_name(true) : option.get_type_name();
}

ValueKind valueKindOf(const CLI::Option& option) {
    static const std::set<std::string> FILES = {"FILE", "INPUT", "LOG"};
    const std::string placeholder = placeholderOf(option);
    if (placeholder == "DIR") {
        return ValueKind::folders;
    }
    return FILES.contains(placeholder) ? ValueKind::files : ValueKind::other;
}

}  // namespace kestrel
