#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <utility>
#include <vector>

#include "tools/commands/Evaluate.h"
#include "tools/commands/Explain.h"
#include "tools/commands/Import.h"
#include "tools/commands/Inspect.h"
#include "tools/commands/Replay.h"

namespace kestrel {

// The one definition of the command line, for the program and for the texts about it: a function
// per subcommand, which says its options and what to run.
class CommandLine {
 public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;  // the definition points to the members
    CommandLine& operator=(const CommandLine&) = delete;

    // Throws CLI::ParseError: what is wrong or, with exit code 0, that help or version is asked
    // for.
    void parse(int argc, char** argv);

    // Prints the help or the version that was asked for.
    void print(const CLI::ParseError& request) const { mApp.exit(request); }

    // Runs the subcommand that was parsed.
    void run() const;

    const CLI::App& definition() const { return mApp; }

 private:
    void addReplay();
    void addImport();
    void addEvaluate();
    void addReport();
    void addInspect();
    void addExplain();

    // `run` does what the subcommand is for, once the whole line has been parsed.
    CLI::App& add(const char* name, const char* description, std::function<void()> run);

    CLI::App mApp{"Runs the KestrelStarts plug-in on Linux, on the launches of a device's log.",
                  "kestrelhost"};
    std::vector<std::pair<CLI::App*, std::function<void()>>> mRuns;  // the subcommands are mApp's
    ReplayOptions mReplay;
    ImportOptions mImport;
    EvaluateOptions mEvaluate;
    InspectOptions mInspect;
    ExplainOptions mExplain;
};

}  // namespace kestrel
