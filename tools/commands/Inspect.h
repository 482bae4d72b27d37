#pragma once

#include <optional>
#include <string>

namespace kestrel {

// `kestrelhost inspect`: what the command line asks for.
struct InspectOptions {
    std::string root;
    std::optional<std::string> hostFile;  // names the feature; none: the default
    std::optional<std::string> app;       // none: all apps in a table
    bool json = false;
};

// Prints what the databases say of the apps. Throws InputError where there are none or the app is
// not among them, and std::runtime_error once all is printed when a file is damaged.
void inspect(const InspectOptions& options);

}  // namespace kestrel
