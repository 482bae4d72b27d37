#include "tools/session/HostLife.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string_view>
#include <utility>

#include "host/linux/LinuxHost.h"
#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/base/StandardOutput.h"

namespace kestrel {

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
        const InputProgress progress = inputs.progress();
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

class Life {
 public:
    Life(InputSequence& inputs, const LifeOptions& options,
         const std::vector<LifeWatcher*>& watchers, std::ostringstream& text)
        : mInputs(inputs),
          mWatchers(watchers),
          mText(text),
          mLive(inputs.hasLiveInput()),
          mProgress(!mLive),
          mHost(inputs.setup(), {.root = options.root, .sync = options.sync},
                [this](const HostRecord& entry) {
                    tell([&](LifeWatcher& watcher) { watcher.add(entry); });
                }) {}

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
        tell([&](LifeWatcher& watcher) { watcher.endInput(mHost.feature()); });
        mHost.stop();
        tell([&](LifeWatcher& watcher) { watcher.endLife(mHost.root()); });
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
            tell([&](LifeWatcher& watcher) { watcher.endObject(mHost.feature()); });
            print();
            mProgress.update(mInputs, ++events);
        }
    }

    template <class Call>
    void tell(Call call) {
        for (LifeWatcher* watcher : mWatchers) {
            call(*watcher);
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
    const std::vector<LifeWatcher*>& mWatchers;
    std::ostringstream& mText;  // not printed yet
    bool mLive;
    ProgressLine mProgress;
    LinuxHost mHost;
};

}  // namespace

void playLife(InputSequence& inputs, const LifeOptions& options,
              const std::vector<LifeWatcher*>& watchers, std::ostringstream& text) {
    Life(inputs, options, watchers, text).run();
}

std::string versionText(const Feature& feature) {
    return std::to_string(feature.mMajorVersion) + "." + std::to_string(feature.mMinorVersion);
}

}  // namespace kestrel
