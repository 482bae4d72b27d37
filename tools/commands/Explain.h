#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kestrel {

// `kestrelhost explain`: what the command line asks for.
struct ExplainOptions {
    std::string root;
    std::optional<std::string> hostFile;  // its platform; none: the default
    std::string app;
    std::optional<int32_t> appClass;  // none: what the platform's classifier says, else 0
    bool game = false;                // also when it is one of the platform's games
    bool json = false;
};

// Prints, step by step, how the app's next launch will be decided on. Throws InputError when
// nothing is stored of the app, and std::runtime_error once all is printed when a file is damaged.
void explain(const ExplainOptions& options);

}  // namespace kestrel
