#pragma once

#include <CLI/CLI.hpp>
#include <ostream>

namespace kestrel {

// Texts that are made from the definition of the command line, as --help is: what is documented,
// and what a shell completes, is what the program takes.

// The man page, for section 1.
void printManPage(std::ostream& out, const CLI::App& app);

// What `bash` and `zsh` load to complete subcommands, options and files.
void printBashCompletion(std::ostream& out, const CLI::App& app);
void printZshCompletion(std::ostream& out, const CLI::App& app);

// ---- What these have in common.

inline std::vector<const CLI::App*> subcommandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

// An option as it is typed: "-h", "--help"; positional arguments have none.
std::vector<std::string> namesOf(const CLI::Option& option);

// What stands for the option's value, "FILE"; empty for a flag.
std::string placeholderOf(const CLI::Option& option);

// What a value is completed with.
enum class ValueKind { other, files, folders };
ValueKind valueKindOf(const CLI::Option& option);

}  // namespace kestrel
