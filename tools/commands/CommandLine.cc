#include "tools/commands/CommandLine.h"

#include <optional>
#include <string>
#include <utility>

#include "tools/session/Session.h"

namespace kestrel {

namespace {

constexpr const char* HOST_HELP = "The host's set-up, {\"host\": {...}}";
constexpr const char* STORE_HELP = "What the plug-in sees as /, or a folder of its databases";

// A name that is given is not empty.
const CLI::Validator NAME(
    [](const std::string& name) { return name.empty() ? "the name is empty" : ""; }, "");

// ---- One function per option that several subcommands have.

void addInputs(CLI::App& command, std::vector<std::string>& inputs) {
    command.add_option("INPUT", inputs, "Logs, bug reports, traces, folders; - is stdin")
        ->required()
        ->type_name("");
}

void addPackage(CLI::App& command, std::optional<std::string>& package) {
    command.add_option("--package", package, "The app of benchmark results, which do not name it")
        ->type_name("NAME")
        ->check(NAME);
}

template <class Root>
CLI::Option* addRoot(CLI::App& command, Root& root, const char* description) {
    return command.add_option("--root", root, description)->type_name("DIR")->check(NAME);
}

void addHost(CLI::App& command, std::optional<std::string>& file) {
    command.add_option("--host", file, HOST_HELP)->type_name("FILE")->check(NAME);
}

void addQuiet(CLI::App& command, bool& quiet) {
    command.add_flag("--quiet", quiet, "Do not tell what the inputs were found to be");
}

}  // namespace

CommandLine::CommandLine() {
    mApp.require_subcommand(0, 1);  // none is told by parse(), after words that nobody knows
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
}

void CommandLine::parse(int argc, char** argv) {
    mApp.parse(argc, argv);
    if (mApp.get_subcommands().empty()) {
        throw CLI::RequiredError("A subcommand");
    }
}

void CommandLine::run() const {
    for (const auto& [command, run] : mRuns) {
        if (command->parsed()) {
            run();
        }
    }
}

void CommandLine::addReplay() {
    CLI::App& command =
        add("replay", "Deliver logged launches to the plug-in", [this] { replay(mReplay); });
    addInputs(command, mReplay.inputs);
    addRoot(command, mReplay.root, "What the plug-in sees as / (default: not kept)");
    addHost(command, mReplay.hostFile);
    addPackage(command, mReplay.package);
    addQuiet(command, mReplay.quiet);
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

void CommandLine::addImport() {
    CLI::App& command =
        add("import", "Print Android logs as an event trace", [this] { importLogs(mImport); });
    command.add_option("LOG", mImport.logs, "As INPUT of replay, without event traces; - is stdin")
        ->required()
        ->type_name("");
    addHost(command, mImport.hostFile);
    addPackage(command, mImport.package);
    addQuiet(command, mImport.quiet);
    command.footer("Example:\n  kestrelhost import launches.log > launches.jsonl");
}

void CommandLine::addEvaluate() {
    CLI::App& command = add("evaluate", "Compare ways to boost on the same launches",
                            [this] { evaluate(mEvaluate); });
    addInputs(command, mEvaluate.inputs);
    addHost(command, mEvaluate.hostFile);
    addPackage(command, mEvaluate.package);
    addQuiet(command, mEvaluate.quiet);
    command.add_flag("--json", mEvaluate.json, "Print one JSON object");
    command.footer(
        "Replays the inputs once, on a root that is not kept.\n\n"
        "Example:\n  kestrelhost evaluate launches.log");
}

void CommandLine::addReport() {
    CLI::App& command = add("report", "Write a page that shows launches and their boosts",
                            [this] { writeReport(mEvaluate); });
    addInputs(command, mEvaluate.inputs);
    addHost(command, mEvaluate.hostFile);
    addPackage(command, mEvaluate.package);
    addQuiet(command, mEvaluate.quiet);
    command.add_option("--out", mEvaluate.out, "The page, which needs no other file")
        ->required()
        ->type_name("FILE")
        ->check(NAME);
    command.footer(
        "Replays the inputs once, on a root that is not kept.\n\n"
        "Example:\n  kestrelhost report --out launches.html launches.log");
}

void CommandLine::addInspect() {
    CLI::App& command =
        add("inspect", "Show what the databases say of each app", [this] { inspect(mInspect); });
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

void CommandLine::addExplain() {
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

CLI::App& CommandLine::add(const char* name, const char* description, std::function<void()> run) {
    CLI::App* command = mApp.add_subcommand(name, description);
    mRuns.emplace_back(command, std::move(run));
    return *command;
}

}  // namespace kestrel
