#include "tools/commands/EvaluationRun.h"

#include <utility>

#include "tools/base/Interruption.h"
#include "tools/launches/LaunchFold.h"
#include "tools/session/Session.h"

namespace kestrel {

namespace {

// Shows an evaluation once it is complete.
class Show : public SessionObserver {
 public:
    Show(std::vector<std::string> inputs, Evaluation& evaluation, const ShowEvaluation& show)
        : mInputs(std::move(inputs)), mEvaluation(evaluation), mShow(show) {}

    void onRecord(const HostRecord& /*entry*/) override {}

    void onEnd(const SessionEnd& end) override {
        if (!end.storeFailure.empty()) {
            return;
        }
        mEvaluation.addStored(end.stored);
        mShow(mEvaluation, {mInputs, end.featureVersion, end.interrupted}, end);
    }

 private:
    std::vector<std::string> mInputs;
    Evaluation& mEvaluation;
    const ShowEvaluation& mShow;
};

}  // namespace

void playEvaluation(const EvaluateOptions& options, InputSequence& inputs, std::ostringstream& text,
                    const ShowEvaluation& show) {
    catchInterruptions();  // so far there is nothing to put in order
    Evaluation evaluation;
    LaunchFold fold({&evaluation});
    Show last(options.inputs, evaluation, show);
    playSession(inputs, {.root = std::nullopt, .sync = false}, {&fold, &last}, text);
}

}  // namespace kestrel
