#include "tools/base/OutputFile.h"
#include "tools/commands/EvaluationRun.h"
#include "tools/views/ReportPage.h"

namespace kestrel {

void writeReport(const EvaluateOptions& options) {
    InputSequence inputs(options.inputs, options.hostFile, {});
    OutputFile page(options.out, options.inputs, options.hostFile);
    std::ostringstream text;
    playEvaluation(
        options, inputs, text,
        [&](const Evaluation& evaluation, const EvaluationSubject& subject, const SessionEnd& end) {
            writeReportPage(page.out(), toJson(evaluation, subject, EvaluationDetail::launches));
            end.failed ? page.closeUnlessOlder() : page.close();
        });
}

}  // namespace kestrel
