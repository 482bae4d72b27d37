#include "tools/commands/Replay.h"

#include <sstream>

#include "tools/base/Interruption.h"
#include "tools/base/OutputFile.h"
#include "tools/commands/TellInputs.h"
#include "tools/input/InputSequence.h"
#include "tools/launches/LaunchFold.h"
#include "tools/session/Session.h"
#include "tools/views/RecordJson.h"
#include "tools/views/ReplayLines.h"
#include "tools/views/TraceEventFile.h"

namespace kestrel {

namespace {

// The record stream, as JSON Lines.
class RecordStream : public SessionObserver {
 public:
    explicit RecordStream(std::ostream& out) : mOut(out) {}

    void onRecord(const HostRecord& entry) override { mOut << toJsonLine(entry) << '\n'; }

 private:
    std::ostream& mOut;
};

// Closes a file once the picture in it is complete, also when the input ends with a wrong line.
class CloseInTheEnd : public SessionObserver {
 public:
    explicit CloseInTheEnd(OutputFile& file) : mFile(file) {}

    void onRecord(const HostRecord& /*entry*/) override {}
    void onEnd(const SessionEnd& end) override {
        end.failed ? mFile.closeUnlessOlder() : mFile.close();
    }

 private:
    OutputFile& mFile;
};

}  // namespace

void replay(const ReplayOptions& options) {
    ProgressLine progress(!options.quiet);
    InputSequence inputs(options.inputs, options.hostFile, {.package = options.package}, &progress);
    catchInterruptions();  // so far there is nothing to put in order
    std::ostringstream text;
    RecordStream records(text);
    ReplayLines lines(text, inputs, options.showLog);
    std::vector<LaunchObserver*> drawn;
    if (!options.json) {
        drawn.push_back(&lines);
    }
    std::optional<OutputFile> traceFile;
    std::optional<TraceEventFile> trace;
    std::optional<CloseInTheEnd> closeTrace;
    if (options.traceOut) {
        traceFile.emplace(*options.traceOut, options.inputs, options.hostFile);
        drawn.push_back(&trace.emplace(traceFile->out(), inputs.calendar()));
    }
    LaunchFold fold(drawn);
    std::vector<SessionObserver*> observers;
    if (!drawn.empty()) {
        observers.push_back(&fold);  // the lines print what it has told them
    }
    observers.push_back(options.json ? static_cast<SessionObserver*>(&records) : &lines);
    if (traceFile) {
        observers.push_back(&closeTrace.emplace(*traceFile));
    }
    playSession(inputs, {.root = options.root, .sync = options.sync}, observers, text, progress);
    if (!options.json && !options.quiet) {
        tellInputs(inputs);
    }
}

}  // namespace kestrel
