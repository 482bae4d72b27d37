#include "tools/commands/Evaluate.h"

#include "tools/commands/EvaluationRun.h"
#include "tools/views/EvaluationTable.h"

namespace kestrel {

void evaluate(const EvaluateOptions& options) {
    InputSequence inputs(options.inputs, options.hostFile, {});
    std::ostringstream text;
    playEvaluation(options, inputs, text,
                   [&](const Evaluation& evaluation, const EvaluationSubject& subject,
                       const SessionEnd& /*end*/) {
                       if (options.json) {
                           text << toText(toJson(evaluation, subject, EvaluationDetail::numbers))
                                << '\n';
                       } else {
                           printEvaluation(evaluation, subject, text);
                       }
                   });
}

}  // namespace kestrel
