#include "tools/session/Session.h"

#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "host/linux/LinuxHost.h"
#include "tools/base/InputError.h"
#include "tools/base/Interruption.h"
#include "tools/base/StandardOutput.h"
#include "tools/base/TemporaryDirectory.h"
#include "tools/base/TerminalText.h"
#include "tools/session/ProgressLine.h"
#include "tools/session/StoreFailure.h"
#include "tools/store/Damage.h"

namespace kestrel {

namespace {

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

class Session {
 public:
    Session(InputSequence& inputs, const SessionOptions& options,
            const std::vector<SessionObserver*>& observers, std::ostringstream& text,
            ProgressLine& progress)
        : mInputs(inputs),
          mObservers(observers),
          mText(text),
          mLive(inputs.hasLiveInput()),
          mProgress(progress),
          mHost(inputs.setup(),
                {.root = options.root ? *options.root : mTemporary.emplace().path(),
                 .sync = options.sync},
                [this](const HostRecord& entry) { onRecord(entry); }) {}

    void run() {
        try {
            play();
        } catch (...) {
            print();  // what led to it
            throw;
        }
    }

 private:
    void onRecord(const HostRecord& entry) {
        mStoreFailure.add(entry);
        tell([&](SessionObserver& observer) { observer.onRecord(entry); });
    }

    void play() {
        const LearningStore before = readStore();
        mProgress.clear();  // the reading is over
        tellDamage(before);
        if (wasInterrupted() && before.isDamaged()) {
            throw std::runtime_error("interrupted before anything was played");
        }
        tell([&](SessionObserver& observer) { observer.onStart(before); });
        mHost.start(mInputs.firstT());
        print();
        // A wrong line that arrives live ends the host in order: what came before it stays stored.
        std::optional<InputError> wrongInput;
        try {
            deliverAll();
        } catch (const InputError& error) {
            wrongInput = error;
        }
        mDamaged = before.isDamaged();
        end(before, wrongInput.has_value());
        tellFailures(wrongInput);
    }

    LearningStore readStore() const {
        return readLearningStoreIfAny(mHost.root(), mInputs.setup().featureName);
    }

    void deliverAll() {
        while (!wasInterrupted()) {
            const auto object = mInputs.next();
            if (!object) {
                return;
            }
            std::visit(Deliver{mHost, *object}, object->what);
            tell([&](SessionObserver& observer) { observer.onObjectEnd(); });
            print();
            mProgress.update(mInputs, ++mDelivered);
        }
        mInterrupted = interruptionOf(mInputs, mDelivered);
    }

    void end(const LearningStore& before, bool isInputWrong) {
        const std::string version = mHost.featureVersion();
        mHost.endInput();
        tell([](SessionObserver& observer) { observer.onInputEnd(); });
        mHost.stop();
        // Without an event nothing was learned, and a read that the user ended is not begun again.
        const LearningStore after = mDelivered > 0 ? readStore() : before;
        const std::string& storeFailure = mStoreFailure.firstLine();
        const SessionEnd end{after, version, mInterrupted, storeFailure,
                             isInputWrong || mDamaged || !storeFailure.empty()};
        tell([&](SessionObserver& observer) { observer.onEnd(end); });
        print();
        flushOutput();
        mProgress.clear();
    }

    // At most one thing is thrown; what else there is is told at once.
    void tellFailures(const std::optional<InputError>& wrongInput) const {
        if (mInterrupted) {
            tellInterruption(*mInterrupted);
        }
        std::string failure;
        if (mDamaged) {
            failure = "not everything could be read";
        } else if (!mStoreFailure.firstLine().empty()) {
            failure =
                "a database could not be opened, read or written: " + mStoreFailure.firstLine();
        }
        if (!wrongInput) {
            if (!failure.empty()) {
                throw std::runtime_error(failure);
            }
            return;
        }
        if (!failure.empty()) {
            std::cerr << printable(failure) << '\n';
        }
        throw InputError(*wrongInput);
    }

    template <class Call>
    void tell(Call call) {
        for (SessionObserver* observer : mObservers) {
            call(*observer);
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
    const std::vector<SessionObserver*>& mObservers;
    std::ostringstream& mText;  // not printed yet
    bool mLive;
    ProgressLine& mProgress;
    StoreFailure mStoreFailure;
    bool mDamaged = false;  // the databases, before the host opened them
    std::size_t mDelivered = 0;
    std::optional<Interrupted> mInterrupted;
    std::optional<TemporaryDirectory> mTemporary;  // outlives the host
    LinuxHost mHost;
};

}  // namespace

void playSession(InputSequence& inputs, const SessionOptions& options,
                 const std::vector<SessionObserver*>& observers, std::ostringstream& text,
                 ProgressLine& progress) {
    Session(inputs, options, observers, text, progress).run();
}

std::optional<Interrupted> interruptionOf(const InputSequence& inputs, std::size_t delivered) {
    if (inputs.isAtEnd() || inputs.currentIsLive()) {
        return std::nullopt;
    }
    const InputProgress progress = inputs.progress();
    return Interrupted{inputs.currentName(),
                       progress.total > 0 ? progress.done * 100 / progress.total : 0, delivered};
}

void tellInterruption(const Interrupted& interrupted) {
    if (!hasReaderGone()) {
        std::cerr << printable(toText(interrupted)) << '\n';
    }
}

std::string toText(const Interrupted& interrupted) {
    return "interrupted at " + std::to_string(interrupted.percent) + " % of " + interrupted.input +
           ", after " + std::to_string(interrupted.delivered) + " events";
}

std::string readFeatureVersion() {
    const TemporaryDirectory root;
    LinuxHost host(HostSetup{}, {.root = root.path(), .sync = false}, [](const HostRecord&) {});
    host.start(0);
    std::string version = host.featureVersion();
    host.stop();
    return version;
}

}  // namespace kestrel
