#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kestrel {

// `kestrelhost import`: what the command line asks for.
struct ImportOptions {
    std::vector<std::string> logs;
    std::optional<std::string> hostFile;  // none: what the inputs say
    std::optional<std::string> package;   // of benchmark results
    bool quiet = false;
};

// Prints the event trace that a replay of these Android logs would deliver, up to their end or an
// interruption. Throws InputError for wrong inputs.
void importLogs(const ImportOptions& options);

}  // namespace kestrel
