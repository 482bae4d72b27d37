#include "tools/commands/EvaluationRun.h"

#include "tools/base/Interruption.h"
#include "tools/launches/LaunchFold.h"
#include "tools/session/Session.h"

namespace kestrel {

namespace {

// Shows an evaluation once it is complete.
class Show : public SessionObserver {
 public:
    Show(const std::vector<std::string>& names, const InputSequence& inputs, Evaluation& evaluation,
         const ShowEvaluation& show)
        : mNames(names), mInputs(inputs), mEvaluation(evaluation), mShow(show) {}

    void onRecord(const HostRecord& /*entry*/) override {}

    void onEnd(const SessionEnd& end) override {
        if (!end.storeFailure.empty()) {
            return;
        }
        mEvaluation.addStored(end.stored);
        mShow(mEvaluation,
              {mNames, end.featureVersion, end.interrupted, mInputs.summaries(),
               mInputs.setup().removals, mInputs.calendar()},
              end);
    }

 private:
    const std::vector<std::string>& mNames;
    const InputSequence& mInputs;
    Evaluation& mEvaluation;
    const ShowEvaluation& mShow;
};

}  // namespace

void playEvaluation(const EvaluateOptions& options, InputSequence& inputs, std::ostringstream& text,
                    ProgressLine& progress, const ShowEvaluation& show) {
    catchInterruptions();  // so far there is nothing to put in order
    Evaluation evaluation;
    LaunchFold fold({&evaluation});
    Show last(options.inputs, inputs, evaluation, show);
    playSession(inputs, {.root = std::nullopt, .sync = false}, {&fold, &last}, text, progress);
}

}  // namespace kestrel
