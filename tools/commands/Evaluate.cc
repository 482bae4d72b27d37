#include "tools/commands/Evaluate.h"

#include "tools/commands/EvaluationRun.h"
#include "tools/commands/TellInputs.h"
#include "tools/views/EvaluationTable.h"

namespace kestrel {

void evaluate(const EvaluateOptions& options) {
    ProgressLine progress(!options.quiet);
    InputSequence inputs(options.inputs, options.hostFile, {.package = options.package}, &progress);
    std::ostringstream text;
    playEvaluation(options, inputs, text, progress,
                   [&](const Evaluation& evaluation, const EvaluationSubject& subject,
                       const SessionEnd& /*end*/) {
                       if (options.json) {
                           text << toText(toJson(evaluation, subject, EvaluationDetail::numbers))
                                << '\n';
                       } else {
                           printEvaluation(evaluation, subject, text);
                       }
                   });
    if (!options.json && !options.quiet) {
        tellInputs(inputs);
    }
}

}  // namespace kestrel
