#include "tools/base/OutputFile.h"
#include "tools/commands/EvaluationRun.h"
#include "tools/commands/TellInputs.h"
#include "tools/views/ReportPage.h"

namespace kestrel {

void writeReport(const EvaluateOptions& options) {
    ProgressLine progress(!options.quiet);
    InputSequence inputs(options.inputs, options.hostFile, {.package = options.package}, &progress);
    OutputFile page(options.out, options.inputs, options.hostFile);
    std::ostringstream text;
    playEvaluation(
        options, inputs, text, progress,
        [&](const Evaluation& evaluation, const EvaluationSubject& subject, const SessionEnd& end) {
            writeReportPage(page.out(), toJson(evaluation, subject, EvaluationDetail::launches));
            end.failed ? page.closeUnlessOlder() : page.close();
        });
    if (!options.quiet) {
        tellInputs(inputs);
    }
}

}  // namespace kestrel
