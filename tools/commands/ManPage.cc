#include <algorithm>
#include <cctype>
#include <sstream>

#include "tools/commands/CommandTexts.h"

namespace kestrel {

namespace {

// Text as roff takes it: no escape, no quote, no request at the beginning of a line.
std::string roff(const std::string& text) {
    std::string result;
    bool beginsLine = true;
    for (const char c : text) {
        if (beginsLine && (c == '.' || c == '\'')) {
            result += "\\&";
        }
        switch (c) {
            case '\\':
                result += "\\e";
                break;
            case '-':
                result += "\\-";
                break;
            case '\'':
                result += "\\(aq";
                break;
            default:
                result += c;
        }
        beginsLine = c == '\n';
    }
    return result;
}

std::string bold(const std::string& text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + roff(text) + "\\fR";
}

std::string upper(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

bool takesSeveral(const CLI::Option& option) {
    return option.get_items_expected_max() > 1;
}

void printOption(std::ostream& out, const CLI::Option& option) {
    out << ".TP\n";
    std::string text;
    for (const std::string& name : namesOf(option)) {
        text += (text.empty() ? "" : ", ") + bold(name);
    }
    if (const std::string value = placeholderOf(option); !value.empty()) {
        text += (text.empty() ? "" : " ") + italic(value) + (takesSeveral(option) ? " ..." : "");
    }
    out << text << '\n' << roff(option.get_description()) << '\n';
}

void printOptions(std::ostream& out, const CLI::App& app) {
    for (const CLI::Option* option : app.get_options()) {
        printOption(out, *option);
    }
}

void printSynopsis(std::ostream& out, const CLI::App& command) {
    out << bold("kestrelhost " + command.get_name());
    for (const CLI::Option* option : command.get_options()) {
        const std::string value = placeholderOf(*option);
        if (option->get_positional()) {
            const std::string several = takesSeveral(*option) ? "..." : "";
            out << ' ' << (option->get_required() ? italic(value) : '[' + italic(value) + ']')
                << several;
        } else if (option->get_required()) {
            out << ' ' << bold(namesOf(*option).back()) << ' ' << italic(value);
        }
    }
    out << " [" << italic("OPTION") << "]...\n";
}

// The paragraphs of a footer. A line that ends in ":" is the heading of lines that are indented,
// which stay as they are.
void printFooter(std::ostream& out, const std::string& footer, bool asSections) {
    std::istringstream lines(footer);
    bool isFilled = true;
    for (std::string line; std::getline(lines, line);) {
        const bool isIndented = line.starts_with(' ');
        if (isIndented == isFilled) {
            out << (isIndented ? ".nf\n" : ".fi\n");
            isFilled = !isIndented;
        }
        if (line.empty()) {
            continue;
        }
        if (isIndented || !line.ends_with(':')) {
            out << (isIndented ? "" : ".PP\n") << roff(line) << '\n';
            continue;
        }
        line.pop_back();
        out << (asSections ? ".SH " + upper(line) : ".PP\n.B " + roff(line) + "\n.PP") << '\n';
    }
    if (!isFilled) {
        out << ".fi\n";
    }
}

}  // namespace

void printManPage(std::ostream& out, const CLI::App& app) {
    const std::string description = app.get_description();
    out << ".TH " << upper(app.get_name()) << " 1 \"\" KestrelStarts \"User Commands\"\n"
        << ".SH NAME\n"
        << roff(app.get_name()) << " \\- replay and explain the learning of launch boosts\n"
        << ".SH SYNOPSIS\n.nf\n";
    for (const CLI::App* command : subcommandsOf(app)) {
        printSynopsis(out, *command);
    }
    out << ".fi\n.SH DESCRIPTION\n" << roff(description) << "\n.SH OPTIONS\n";
    printOptions(out, app);
    out << ".SH COMMANDS\n";
    for (const CLI::App* command : subcommandsOf(app)) {
        out << ".SS " << roff(command->get_name()) << '\n'
            << roff(command->get_description()) << ".\n";
        printOptions(out, *command);
        printFooter(out, command->get_footer(), false);
    }
    printFooter(out, app.get_footer(), true);
}

}  // namespace kestrel
