#include "tools/commands/Evaluate.h"

#include <functional>
#include <sstream>

#include "tools/base/Interruption.h"
#include "tools/base/Json.h"
#include "tools/base/OutputFile.h"
#include "tools/base/TemporaryDirectory.h"
#include "tools/input/InputSequence.h"
#include "tools/launches/Evaluation.h"
#include "tools/session/HostLife.h"
#include "tools/views/EvaluationData.h"
#include "tools/views/EvaluationTable.h"
#include "tools/views/ReportPage.h"

namespace kestrel {

namespace {

// Shows an evaluation once it is complete, also when the input ends with a wrong line.
class Show : public LifeWatcher {
 public:
    explicit Show(std::function<void()> show) : mShow(std::move(show)) {}

    void add(const HostRecord& /*entry*/) override {}
    void endLife(const std::filesystem::path& /*root*/) override { mShow(); }

 private:
    std::function<void()> mShow;
};

InputSequence openInputs(const EvaluateOptions& options) {
    return {options.inputs, options.hostFile, InputKinds::tracesAndLogs};
}

void play(InputSequence& inputs, Evaluation& evaluation, std::ostringstream& text,
          std::function<void()> show) {
    catchInterruptions();  // so far there is nothing to put in order
    const TemporaryDirectory root;
    Show last(std::move(show));
    playLife(inputs, {.root = root.path(), .sync = false}, {&evaluation, &last}, text);
}

}  // namespace

void evaluate(const EvaluateOptions& options) {
    InputSequence inputs = openInputs(options);
    Evaluation evaluation;
    std::ostringstream text;
    play(inputs, evaluation, text, [&] {
        if (!options.json) {
            printEvaluation(evaluation, text);
            return;
        }
        text << toText(toJson(evaluation, options.inputs, EvaluationDetail::numbers)) << '\n';
    });
}

void writeReport(const EvaluateOptions& options) {
    InputSequence inputs = openInputs(options);
    OutputFile page(options.out, options.inputs, options.hostFile);
    Evaluation evaluation;
    std::ostringstream text;
    play(inputs, evaluation, text, [&] {
        writeReportPage(page.out(), toJson(evaluation, options.inputs, EvaluationDetail::launches));
        page.close();
    });
}

}  // namespace kestrel
