// kestrelhost: the Linux host's program.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "tools/Import.h"
#include "tools/InputError.h"
#include "tools/Replay.h"

namespace {

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_WRONG_INPUT = 2;

constexpr const char* INPUT_HELP = "An event trace or an Android log; - is standard input";
constexpr const char* HOST_HELP =
    "A file with the host's set-up, {\"host\": {...}}, which wins over what the inputs say";

class CommandLine {
 public:
    CommandLine() {
        mApp.require_subcommand(0, 1);  // none is told below, after words that nobody knows
        mApp.footer("Example:\n  kestrelhost replay traces/demo.jsonl");
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
        CLI::App* command = mApp.add_subcommand(
            "replay", "Deliver logged launches to the plug-in and show what it does");
        command->add_option("INPUT", mReplay.inputs, INPUT_HELP)->required();
        command
            ->add_option("--root", mReplay.root,
                         "What the plug-in sees as /; its databases are kept below it "
                         "(default: a temporary directory)")
            ->type_name("DIR");
        command->add_option("--host", mReplay.hostFile, HOST_HELP)->type_name("FILE");
        command->add_flag("--json", mReplay.json, "Print the record stream");
        command->add_flag("--sync,!--no-sync", mReplay.sync,
                          "Let the databases flush to the disk, or leave that out");
        command->add_flag("--log", mReplay.showLog, "Show every line that the plug-in logs");
        command->footer(
            "Examples:\n"
            "  kestrelhost replay --root device traces/demo.jsonl\n"
            "  adb logcat -b main,system,events | kestrelhost replay -");
    }

    void addImport() {
        CLI::App* command = mApp.add_subcommand(
            "import", "Print the event trace that a replay of Android logs would deliver");
        command->add_option("LOG", mLogs, "An Android log; - is standard input")->required();
        command->add_option("--host", mReplay.hostFile, HOST_HELP)->type_name("FILE");
        command->footer("Example:\n  kestrelhost import logcat.txt > launches.jsonl");
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
        commandLine.parse(argc, argv);
        commandLine.run();
        return 0;
    } catch (const CLI::ParseError& error) {
        return commandLine.exit(error) == 0 ? 0 : EXIT_WRONG_INPUT;
    } catch (const InputError& error) {
        std::cerr << error.what() << '\n';
        return EXIT_WRONG_INPUT;
    } catch (const std::exception& error) {
        std::cerr << "kestrelhost: " << error.what() << '\n';
        return EXIT_FAILED;
    }
}
