#pragma once

#include <optional>
#include <string>
#include <vector>

// `kestrelhost evaluate`: what the command line asks for.
struct EvaluateOptions {
    std::vector<std::string> inputs;
    std::optional<std::string> hostFile;  // none: what the inputs say
    bool json = false;                    // one JSON object instead of tables
};

// Plays the inputs in one life of the host, on a root that is not kept, up to their end or an
// interruption, and tells what boosting was worth.
// Errors: as replay.
void evaluate(const EvaluateOptions& options);
