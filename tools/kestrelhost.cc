// kestrelhost: the Linux host's program.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "tools/Import.h"
#include "tools/InputError.h"
#include "tools/Interruption.h"
#include "tools/Replay.h"
#include "tools/TerminalText.h"

namespace {

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_WRONG_INPUT = 2;

constexpr const char* HOST_HELP = "The host's set-up, {\"host\": {...}}";

// A name that is given is not empty.
const CLI::Validator NAME(
    [](const std::string& name) { return name.empty() ? "the name is empty" : ""; }, "");

class CommandLine {
 public:
    CommandLine() {
        mApp.require_subcommand(0, 1);  // none is told below, after words that nobody knows
        mApp.footer("Example:\n  kestrelhost replay launches.log");
        mApp.set_version_flag(
            "--version", [] { return "kestrelhost, feature version " + readFeatureVersion(); },
            "Print the version of the feature that is loaded");
        addReplay();
        addImport();
    }

    void parse(int argc, char** argv) {
        mApp.parse(argc, argv);
        if (mApp.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    }
    int exit(const CLI::ParseError& error) { return mApp.exit(error); }

    void run() {
        if (mApp.got_subcommand("replay")) {
            replay(mReplay);
        } else {
            importLogs(mLogs, mReplay.hostFile);
        }
    }

 private:
    void addReplay() {
        CLI::App* command = mApp.add_subcommand("replay", "Deliver logged launches to the plug-in");
        command->add_option("INPUT", mReplay.inputs, "Event traces or Android logs; - is stdin")
            ->required()
            ->type_name("");
        command
            ->add_option("--root", mReplay.root, "What the plug-in sees as / (default: not kept)")
            ->type_name("DIR")
            ->check(NAME);
        addHost(*command);
        command->add_flag("--json", mReplay.json, "Print the record stream, as JSON Lines");
        command->add_flag("--log", mReplay.showLog, "Show every line that the plug-in logs");
        command->add_flag("--sync,!--no-sync", mReplay.sync,
                          "Let the databases flush to the disk (default)");
        command->footer(
            "Examples:\n"
            "  kestrelhost replay --root learned launches.log\n"
            "  adb logcat -b main,system,events | kestrelhost replay -");
    }

    void addImport() {
        CLI::App* command = mApp.add_subcommand("import", "Print Android logs as an event trace");
        command->add_option("LOG", mLogs, "Android logs; - is stdin")->required()->type_name("");
        addHost(*command);
        command->footer("Example:\n  kestrelhost import launches.log > launches.jsonl");
    }

    void addHost(CLI::App& command) {
        command.add_option("--host", mReplay.hostFile, HOST_HELP)->type_name("FILE")->check(NAME);
    }

    CLI::App mApp{"Runs the KestrelStarts plug-in on Linux, on the launches of a device's log.",
                  "kestrelhost"};
    ReplayOptions mReplay;
    std::vector<std::string> mLogs;
};

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
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
            commandLine.exit(error);  // help or version, on standard output
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
