#include <algorithm>
#include <map>

#include "tools/commands/CommandTexts.h"

namespace kestrel {

namespace {

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : subcommandsOf(app)) {
        names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        std::ranges::copy(namesOf(*option), std::back_inserter(names));
    }
    return names;
}

const CLI::Option* positionalOf(const CLI::App& command) {
    const auto found =
        command.get_options([](const CLI::Option* o) { return o->get_positional(); });
    return found.empty() ? nullptr : found.front();
}

// ---- bash

const char* bashAction(ValueKind kind) {
    switch (kind) {
        case ValueKind::files:
            return "_kestrelhost_paths -f";
        case ValueKind::folders:
            return "_kestrelhost_paths -d";
        case ValueKind::other:
            break;
    }
    return ":";
}

// Options that take a value, and what completes it. Those of one name mean the same everywhere.
std::map<std::string, ValueKind> valueOptions(const CLI::App& app) {
    std::map<std::string, ValueKind> options;
    for (const CLI::App* command : subcommandsOf(app)) {
        for (const CLI::Option* option : command->get_options()) {
            for (const std::string& name : namesOf(*option)) {
                if (option->get_items_expected_max() > 0) {
                    options[name] = valueKindOf(*option);
                }
            }
        }
    }
    return options;
}

// ---- zsh

// Text in a pair of single quotes, as a part of what _arguments reads.
std::string zshText(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
            continue;
        }
        if (c == '[' || c == ']' || c == ':' || c == '\\') {
            result += '\\';
        }
        result += c;
    }
    return result;
}

std::string zshAction(const CLI::Option& option) {
    switch (valueKindOf(option)) {
        case ValueKind::files:
            return "_files";
        case ValueKind::folders:
            return "_files -/";
        case ValueKind::other:
            break;
    }
    return "( )";  // nothing: a message would keep options from being inserted
}

// What zsh is told of a command's options and arguments, one a line.
void printZshArguments(std::ostream& out, const CLI::App& command, const char* indent) {
    for (const CLI::Option* option : command.get_options()) {
        const std::string value = zshText(placeholderOf(*option)) + ":" + zshAction(*option);
        const std::string description = "[" + zshText(option->get_description()) + "]";
        if (option->get_positional()) {
            out << indent << "'" << (option->get_items_expected_max() > 1 ? "*" : "") << ":"
                << value << "' \\\n";
        }
        for (const std::string& name : namesOf(*option)) {
            const bool takesValue = option->get_items_expected_max() > 0;
            out << indent << "'" << name << (takesValue && name.starts_with("--") ? "=" : "")
                << description << (takesValue ? ":" + value : "") << "' \\\n";
        }
    }
}

}  // namespace

void printBashCompletion(std::ostream& out, const CLI::App& app) {
    out << R"(# Completes kestrelhost in bash.

_kestrelhost_paths() {
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen "$1" -- "$current")
}

_kestrelhost_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

_kestrelhost() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= i
    COMPREPLY=()
    # "--root=DIR" comes as three words.
    [ "$current" != = ] || current=
    [ "$previous" != = ] || previous=${COMP_WORDS[COMP_CWORD - 2]}
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            )"
        << joined(commandNames(app), " | ") << R"()
                command=${COMP_WORDS[i]}
                break
                ;;
        esac
    done
    case $previous in
)";
    for (const auto& [name, kind] : valueOptions(app)) {
        out << "        " << name << ")\n            " << bashAction(kind)
            << "\n            return\n            ;;\n";
    }
    out << "    esac\n    case $command,$current in\n";
    for (const CLI::App* command : subcommandsOf(app)) {
        const CLI::Option* positional = positionalOf(*command);
        out << "        " << command->get_name() << ",-*) _kestrelhost_words '"
            << joined(optionNames(*command), " ") << "' ;;\n        " << command->get_name()
            << ",*) " << (positional != nullptr ? bashAction(valueKindOf(*positional)) : ":")
            << " ;;\n";
    }
    out << "        ,*) _kestrelhost_words '" << joined(commandNames(app), " ") << ' '
        << joined(optionNames(app), " ") << "' ;;\n    esac\n}\n\n"
        << "complete -F _kestrelhost kestrelhost\n";
}

void printZshCompletion(std::ostream& out, const CLI::App& app) {
    out << R"(#compdef kestrelhost
# Completes kestrelhost in zsh.

_kestrelhost() {
    local curcontext=$curcontext state line
    typeset -A opt_args
    local -a commands=(
)";
    for (const CLI::App* command : subcommandsOf(app)) {
        out << "        '" << command->get_name() << ':' << zshText(command->get_description())
            << "'\n";
    }
    out << "    )\n    _arguments -C \\\n";
    printZshArguments(out, app, "        ");
    out << R"(        '1:command:->command' \
        '*::argument:->argument'
    case $state in
        command) _describe command commands ;;
        argument)
            case $line[1] in
)";
    for (const CLI::App* command : subcommandsOf(app)) {
        out << "                " << command->get_name() << ")\n"
            << "                    _arguments \\\n";
        printZshArguments(out, *command, "                        ");
        out << "                        && return\n                    ;;\n";
    }
    out << R"(            esac
            ;;
    esac
}

_kestrelhost "$@"
)";
}

}  // namespace kestrel
