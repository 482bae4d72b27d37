// kestrelhost: the Linux host's program.

#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <iostream>
#include <utility>
#include <vector>

#include "tools/base/InputError.h"
#include "tools/base/StandardOutput.h"
#include "tools/base/TerminalText.h"
#include "tools/commands/CommandTexts.h"
#include "tools/commands/Evaluate.h"
#include "tools/commands/Explain.h"
#include "tools/commands/Import.h"
#include "tools/commands/Inspect.h"
#include "tools/commands/Replay.h"

namespace kestrel {

namespace {

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_WRONG_INPUT = 2;

constexpr const char* HOST_HELP = "The host's set-up, {\"host\": {...}}";
constexpr const char* STORE_HELP = "What the plug-in sees as /, or a folder of its databases";

// A name that is given is not empty.
const CLI::Validator NAME(
    [](const std::string& name) { return name.empty() ? "the name is empty" : ""; }, "");

// The one definition of the command line: a function per subcommand, which says its options and
// what to run, and one per option that several subcommands have.
class CommandLine {
 public:
    CommandLine() {
        mApp.require_subcommand(0, 1);  // none is told below, after words that nobody knows
        mApp.footer(
            "Exit status:\n"
            "  0  done\n"
            "  1  something failed while running\n"
            "  2  the command line or an input is wrong\n\n"
            "Environment:\n"
            "  NO_COLOR  where it is set, nothing is printed in colours\n"
            "  TMPDIR    where temporary files are kept\n\n"
            "Example:\n"
            "  kestrelhost replay launches.log");
        mApp.set_version_flag(
            "--version", [] { return "kestrelhost, feature version " + readFeatureVersion(); },
            "Print the version of the feature that is loaded");
        addReplay();
        addImport();
        addEvaluate();
        addReport();
        addInspect();
        addExplain();
        addGenerators();
    }

    void parse(int argc, char** argv) {
        mApp.parse(argc, argv);
        if (mApp.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    }
    int exit(const CLI::ParseError& error) { return mApp.exit(error); }

    void run() const {
        for (const auto& [command, run] : mRuns) {
            if (command->parsed()) {
                run();
            }
        }
    }

 private:
    void addReplay() {
        CLI::App& command =
            add("replay", "Deliver logged launches to the plug-in", [this] { replay(mReplay); });
        addInputs(command, mReplay.inputs);
        addRoot(command, mReplay.root, "What the plug-in sees as / (default: not kept)");
        addHost(command, mReplay.hostFile);
        command.add_flag("--json", mReplay.json, "Print the record stream, as JSON Lines");
        command.add_flag("--log", mReplay.showLog, "Show every line that the plug-in logs");
        command.add_flag("--sync,!--no-sync", mReplay.sync,
                         "Flush the databases to the disk, or do not (default: flush)");
        command
            .add_option("--trace-out", mReplay.traceOut,
                        "Write what happens in the Trace Event Format, for trace viewers")
            ->type_name("FILE")
            ->check(NAME);
        command.footer(
            "Examples:\n"
            "  kestrelhost replay --root learned launches.log\n"
            "  adb logcat -b main,system,events | kestrelhost replay -");
    }

    void addImport() {
        CLI::App& command = add("import", "Print Android logs as an event trace",
                                [this] { importLogs(mLogs, mImportHostFile); });
        command.add_option("LOG", mLogs, "Android logs; - is stdin")->required()->type_name("");
        addHost(command, mImportHostFile);
        command.footer("Example:\n  kestrelhost import launches.log > launches.jsonl");
    }

    void addEvaluate() {
        CLI::App& command = add("evaluate", "Compare ways to boost on the same launches",
                                [this] { evaluate(mEvaluate); });
        addInputs(command, mEvaluate.inputs);
        addHost(command, mEvaluate.hostFile);
        command.add_flag("--json", mEvaluate.json, "Print one JSON object");
        command.footer(
            "Replays the inputs once, on a root that is not kept.\n\n"
            "Example:\n  kestrelhost evaluate launches.log");
    }

    void addReport() {
        CLI::App& command = add("report", "Write a page that shows launches and their boosts",
                                [this] { writeReport(mEvaluate); });
        addInputs(command, mEvaluate.inputs);
        addHost(command, mEvaluate.hostFile);
        command.add_option("--out", mEvaluate.out, "The page, which needs no other file")
            ->required()
            ->type_name("FILE")
            ->check(NAME);
        command.footer(
            "Replays the inputs once, on a root that is not kept.\n\n"
            "Example:\n  kestrelhost report --out launches.html launches.log");
    }

    void addInspect() {
        CLI::App& command = add("inspect", "Show what the databases say of each app",
                                [this] { inspect(mInspect); });
        command.add_option("APP", mInspect.app, "Show this app's launches too")
            ->type_name("")
            ->check(NAME);
        addRoot(command, mInspect.root, STORE_HELP)->required();
        addHost(command, mInspect.hostFile);
        command.add_flag("--json", mInspect.json, "Print one JSON object");
        command.footer(
            "Reads only, also while a host is running on the databases.\n\n"
            "Examples:\n"
            "  kestrelhost inspect --root learned\n"
            "  adb pull /data/vendor/lm && kestrelhost inspect --root lm com.example.app");
    }

    void addExplain() {
        CLI::App& command = add("explain", "Explain how an app's next launch is decided on",
                                [this] { explain(mExplain); });
        command.add_option("APP", mExplain.app, "The app, by the name of its launches")
            ->required()
            ->type_name("")
            ->check(NAME);
        addRoot(command, mExplain.root, STORE_HELP)->required();
        addHost(command, mExplain.hostFile);
        command
            .add_option("--class", mExplain.appClass,
                        "What the classifier answers (default: as the set-up says, else 0)")
            ->type_name("N");
        command.add_flag("--game", mExplain.game, "The launch is one of a game");
        command.add_flag("--json", mExplain.json, "Print one JSON object");
        command.footer("Example:\n  kestrelhost explain --root learned com.example.app");
    }

    // For the build, which installs their output.
    void addGenerators() {
        const auto addGenerator = [this](const char* name,
                                         void (*print)(std::ostream&, const CLI::App&)) {
            add(name, "", [this, print] {
                print(std::cout, mApp);
                flushOutput();
            }).group("");
        };
        addGenerator("man-page", printManPage);
        addGenerator("bash-completion", printBashCompletion);
        addGenerator("zsh-completion", printZshCompletion);
    }

    // `run` does what the subcommand is for, once the whole line has been parsed.
    CLI::App& add(const char* name, const char* description, std::function<void()> run) {
        CLI::App* command = mApp.add_subcommand(name, description);
        mRuns.emplace_back(command, std::move(run));
        return *command;
    }

    static void addInputs(CLI::App& command, std::vector<std::string>& inputs) {
        command.add_option("INPUT", inputs, "Event traces or Android logs; - is stdin")
            ->required()
            ->type_name("");
    }

    template <class Root>
    static CLI::Option* addRoot(CLI::App& command, Root& root, const char* description) {
        return command.add_option("--root", root, description)->type_name("DIR")->check(NAME);
    }

    static void addHost(CLI::App& command, std::optional<std::string>& file) {
        command.add_option("--host", file, HOST_HELP)->type_name("FILE")->check(NAME);
    }

    CLI::App mApp{"Runs the KestrelStarts plug-in on Linux, on the launches of a device's log.",
                  "kestrelhost"};
    std::vector<std::pair<CLI::App*, std::function<void()>>> mRuns;  // the subcommands are mApp's
    ReplayOptions mReplay;
    EvaluateOptions mEvaluate;
    std::vector<std::string> mLogs;
    std::optional<std::string> mImportHostFile;
    InspectOptions mInspect;
    ExplainOptions mExplain;
};

}  // namespace

}  // namespace kestrel

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
