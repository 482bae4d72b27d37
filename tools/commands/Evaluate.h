#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kestrel {

// `kestrelhost evaluate` and `kestrelhost report`: what the command line asks for.
struct EvaluateOptions {
    std::vector<std::string> inputs;
    std::optional<std::string> hostFile;  // none: what the inputs say
    bool json = false;                    // evaluate: one JSON object instead of tables
    std::optional<std::string> package;   // of benchmark results
    bool quiet = false;
    std::string out;  // report: the page
};

// Plays the inputs in one life of the host, on a root that is not kept, up to their end or an
// interruption, and tells what boosting was worth: on standard output, or as a page.
// Errors: as replay; a page that cannot be written is a std::runtime_error. Without a store nothing
//         is told: the numbers would be wrong.
void evaluate(const EvaluateOptions& options);
void writeReport(const EvaluateOptions& options);

}  // namespace kestrel
