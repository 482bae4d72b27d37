#include "tools/commands/Replay.h"

#include <sstream>

#include "tools/base/Interruption.h"
#include "tools/base/OutputFile.h"
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

}  // namespace

void replay(const ReplayOptions& options) {
    InputSequence inputs(options.inputs, options.hostFile, InputKinds::tracesAndLogs);
    catchInterruptions();  // so far there is nothing to put in order
    std::optional<OutputFile> traceFile;
    std::optional<TraceEventFile> trace;
    if (options.traceOut) {
        trace.emplace(traceFile.emplace(*options.traceOut, options.inputs, options.hostFile).out());
    }
    std::ostringstream text;
    RecordStream records(text);
    ReplayLines lines(text, options.showLog);
    std::vector<LaunchObserver*> launchObservers;
    if (trace) {
        launchObservers.push_back(&*trace);
    }
    if (!options.json) {
        launchObservers.push_back(&lines);
    }
    LaunchFold fold(launchObservers);
    // The lines print what the fold has told them.
    std::vector<SessionObserver*> observers = {&fold};
    if (launchObservers.empty()) {
        observers.clear();
    }
    observers.push_back(options.json ? static_cast<SessionObserver*>(&records) : &lines);
    playSession(inputs, {.root = options.root, .sync = options.sync}, observers, text);
    if (traceFile) {
        traceFile->close();
    }
}

}  // namespace kestrel
