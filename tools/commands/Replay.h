#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kestrel {

// `kestrelhost replay`: what the command line asks for.
struct ReplayOptions {
    std::vector<std::string> inputs;
    std::optional<std::string> root;      // none: a temporary one
    std::optional<std::string> hostFile;  // none: what the inputs say
    bool json = false;                    // the record stream instead of text for people
    bool sync = true;
    bool showLog = false;
    std::optional<std::string> package;  // of benchmark results
    bool quiet = false;
    std::optional<std::string> traceOut;  // a file for the Trace Event Format
};

// Plays the inputs in one life of the host, up to their end or an interruption. Throws InputError
// for wrong inputs, and std::runtime_error for what fails while running.
void replay(const ReplayOptions& options);

}  // namespace kestrel
