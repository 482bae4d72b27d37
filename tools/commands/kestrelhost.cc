// kestrelhost: the Linux host's program.

#include <exception>
#include <iostream>

#include "tools/base/InputError.h"
#include "tools/base/StandardOutput.h"
#include "tools/base/TerminalText.h"
#include "tools/commands/CommandLine.h"

namespace {

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_WRONG_INPUT = 2;

}  // namespace

int main(int argc, char** argv) {
    using namespace kestrel;
    openStandardOutput();
    CommandLine commandLine;
    try {
        try {
            commandLine.parse(argc, argv);
            commandLine.run();
            return 0;
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) {
                std::cerr << printable(error.what()) << "\nRun with --help for more information.\n";
                return EXIT_WRONG_INPUT;
            }
            commandLine.print(error);  // help or version, on standard output
            flushOutput();
            return 0;
        }
    } catch (const InputError& error) {
        std::cerr << printable(error.what()) << '\n';
        return EXIT_WRONG_INPUT;
    } catch (const std::exception& error) {
        std::cerr << "kestrelhost: " << printable(error.what()) << '\n';
        return EXIT_FAILED;
    }
}
