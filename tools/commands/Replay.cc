#include "tools/commands/Replay.h"

#include <filesystem>
#include <memory>
#include <sstream>

#include "host/linux/LinuxHost.h"
#include "tools/base/Interruption.h"
#include "tools/base/OutputFile.h"
#include "tools/base/TemporaryDirectory.h"
#include "tools/input/InputSequence.h"
#include "tools/session/HostLife.h"
#include "tools/store/LearningStore.h"
#include "tools/views/JsonRecords.h"
#include "tools/views/LaunchReport.h"
#include "tools/views/TraceEventFile.h"

namespace kestrel {

namespace {

// The record stream, as JSON Lines.
class RecordStream : public LifeWatcher {
 public:
    explicit RecordStream(std::ostream& out) : mOut(out) {}

    void add(const HostRecord& entry) override { mOut << toJsonLine(entry) << '\n'; }

 private:
    std::ostream& mOut;
};

// What people see.
class ReportForPeople : public LifeWatcher {
 public:
    ReportForPeople(std::ostream& out, bool showLog) : mReport(out, showLog) {}

    void add(const HostRecord& entry) override { mReport.add(entry); }

    void endObject(Feature& feature) override {
        mReport.endEvent(feature.mFeatureState.readState(mReport.launchingApp()));
    }

    void endInput(Feature& feature) override {
        mFeatureName = feature.mFeatureInfo.featureName;
        mReport.readStates(
            [&](const std::string& app) { return feature.mFeatureState.readState(app); });
    }

    void endLife(const std::filesystem::path& root) override {
        mReport.printTable(readLearningStoreIfAny(root, mFeatureName));
    }

 private:
    LaunchReport mReport;
    std::string mFeatureName;
};

// Closes a file once the picture in it is complete, also when the input ends with a wrong line.
class CloseInTheEnd : public LifeWatcher {
 public:
    explicit CloseInTheEnd(OutputFile& file) : mFile(file) {}

    void add(const HostRecord& /*entry*/) override {}
    void endLife(const std::filesystem::path& /*root*/) override { mFile.close(); }

 private:
    OutputFile& mFile;
};

std::unique_ptr<LifeWatcher> makePrinter(const ReplayOptions& options, std::ostream& out) {
    if (options.json) {
        return std::make_unique<RecordStream>(out);
    }
    return std::make_unique<ReportForPeople>(out, options.showLog);
}

}  // namespace

void replay(const ReplayOptions& options) {
    InputSequence inputs(options.inputs, options.hostFile, InputKinds::tracesAndLogs);
    catchInterruptions();  // so far there is nothing to put in order
    std::optional<OutputFile> traceFile;
    std::optional<TraceEventFile> trace;
    std::optional<CloseInTheEnd> closeTrace;
    if (options.traceOut) {
        trace.emplace(traceFile.emplace(*options.traceOut, options.inputs, options.hostFile).out());
        closeTrace.emplace(*traceFile);
    }
    std::optional<TemporaryDirectory> temporary;
    const std::filesystem::path root =
        options.root ? std::filesystem::path(*options.root) : temporary.emplace().path();
    std::ostringstream text;
    const std::unique_ptr<LifeWatcher> printer = makePrinter(options, text);
    std::vector<LifeWatcher*> watchers = {printer.get()};
    if (trace) {
        watchers.push_back(&*trace);
        watchers.push_back(&*closeTrace);
    }
    playLife(inputs, {.root = root, .sync = options.sync}, watchers, text);
}

std::string readFeatureVersion() {
    const TemporaryDirectory root;
    LinuxHost host(HostSetup{}, {.root = root.path(), .sync = false}, [](const HostRecord&) {});
    host.start(0);
    const std::string version = versionText(host.feature());
    host.stop();
    return version;
}

}  // namespace kestrel
