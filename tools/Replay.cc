#include "tools/Replay.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "host/linux/LinuxHost.h"
#include "tools/Input.h"
#include "tools/InputError.h"
#include "tools/Interruption.h"
#include "tools/JsonRecords.h"
#include "tools/LaunchReport.h"
#include "tools/LearnedApps.h"
#include "tools/TemporaryDirectory.h"

namespace {

// The line on a terminal's standard error that tells how far a long replay is.
class ProgressLine {
 public:
    explicit ProgressLine(bool wanted) : mWanted(wanted && isatty(STDERR_FILENO) != 0) {}
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Makes way for other output, where both go to the terminal.
    void makeWay() {
        if (mSharesTerminal) {
            clear();
        }
    }

    void update(const InputSequence& inputs, std::size_t events) {
        const auto now = std::chrono::steady_clock::now();
        if (!mWanted || now < mNext) {
            return;
        }
        mNext = now + std::chrono::milliseconds(250);
        const Input::Progress progress = inputs.progress();
        if (progress.total > 0) {
            std::cout.flush();
            std::fprintf(stderr, "\r%zu events, %zu %%\033[K", events,
                         progress.done * 100 / progress.total);
            mShown = true;
        }
    }

 private:
    void clear() {
        if (std::exchange(mShown, false)) {
            std::fputs("\r\033[K", stderr);
        }
    }

    bool mWanted;
    bool mSharesTerminal = isatty(STDOUT_FILENO) != 0;
    bool mShown = false;
    // Short replays end before the line is shown.
    std::chrono::steady_clock::time_point mNext =
        std::chrono::steady_clock::now() + std::chrono::seconds(1);
};

AsyncTriggerPayload toPayload(const HintEvent& event) {
    AsyncTriggerPayload payload;
    payload.hintId = event.hintId;
    payload.hintType = event.hintType;
    payload.appName = event.appName;
    payload.hintArg = event.hintArg;
    payload.launchType = event.launchType;
    payload.launchArg = event.launchArg;
    payload.featureVersion = event.featureVersion;
    payload.dataVersion = event.dataVersion;
    return payload;
}

struct Deliver {
    LinuxHost& host;
    const TraceObject& object;

    void operator()(const HintEvent& event) const {
        host.deliver(object.t, object.line, toPayload(event));
    }
    void operator()(const DataQuery& query) const {
        host.query(object.t, object.line, query.appName, query.type);
    }
    void operator()(const FeedbackCall& call) const {
        host.feedback(object.t, object.line, call.hintId, call.hintType, call.appName);
    }
};

// One life of the host.
class Replay {
 public:
    Replay(const ReplayOptions& options, InputSequence& inputs, const std::filesystem::path& root)
        : mInputs(inputs),
          mJson(options.json),
          mLive(inputs.hasLiveInput()),
          mReport(mText, options.showLog),
          mProgress(!mLive),
          mHost(inputs.setup(), {.root = root, .sync = options.sync},
                [this](const HostRecord& entry) { add(entry); }) {}

    void run() {
        try {
            live();
        } catch (...) {
            print();  // what led to it
            throw;
        }
    }

 private:
    void live() {
        mHost.start(mInputs.firstT());
        print();
        // A wrong line that arrives live ends the host in order: what came before it stays stored.
        std::optional<InputError> wrongInput;
        try {
            deliverAll();
        } catch (const InputError& error) {
            wrongInput = error;
        }
        if (!mJson) {
            // The states are the feature's, the records are complete once it is deleted.
            mReport.readStates([this](const std::string& app) { return stateOf(app); });
        }
        mHost.stop();
        if (!mJson) {
            mReport.printTable(readLearnedApps(mHost.root()));
        }
        print();
        flushOutput();
        if (wrongInput) {
            throw InputError(*wrongInput);
        }
    }

    void deliverAll() {
        std::size_t events = 0;
        while (!wasInterrupted()) {
            const auto object = mInputs.next();
            if (!object) {
                return;
            }
            std::visit(Deliver{mHost, *object}, object->what);
            if (!mJson) {
                mReport.endEvent(stateOf(mReport.launchingApp()));
            }
            print();
            mProgress.update(mInputs, ++events);
        }
    }

    int32_t stateOf(const std::string& app) { return mHost.feature().mFeatureState.readState(app); }

    void add(const HostRecord& entry) {
        if (mJson) {
            mText << toJsonLine(entry) << '\n';
        } else {
            mReport.add(entry);
        }
    }

    // Prints what an event has led to. What arrives live is answered at once.
    void print() {
        if (const std::string_view text = mText.view(); !text.empty()) {
            mProgress.makeWay();
            std::cout << text;
            mText.str({});
        }
        if (mLive || !std::cout) {
            flushOutput();
        }
    }

    InputSequence& mInputs;
    bool mJson;
    bool mLive;
    std::ostringstream mText;  // not printed yet
    LaunchReport mReport;
    ProgressLine mProgress;
    LinuxHost mHost;
};

}  // namespace

void replay(const ReplayOptions& options) {
    InputSequence inputs(options.inputs, options.hostFile, InputKinds::tracesAndLogs);
    catchInterruptions();  // so far there is nothing to put in order
    std::optional<TemporaryDirectory> temporary;
    const std::filesystem::path root =
        options.root ? std::filesystem::path(*options.root) : temporary.emplace().path();
    Replay(options, inputs, root).run();
}

std::string readFeatureVersion() {
    const TemporaryDirectory root;
    LinuxHost host(HostSetup{}, {.root = root.path(), .sync = false}, [](const HostRecord&) {});
    host.start(0);
    const std::string version = std::to_string(host.feature().mMajorVersion) + "." +
                                std::to_string(host.feature().mMinorVersion);
    host.stop();
    return version;
}
