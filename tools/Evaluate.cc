#include "tools/Evaluate.h"

#include <functional>
#include <sstream>

#include "tools/Evaluation.h"
#include "tools/EvaluationData.h"
#include "tools/EvaluationTable.h"
#include "tools/HostLife.h"
#include "tools/Input.h"
#include "tools/Interruption.h"
#include "tools/OutputFile.h"
#include "tools/ReportPage.h"
#include "tools/TemporaryDirectory.h"

namespace {

using Json = nlohmann::ordered_json;

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
        text << toJson(evaluation, options.inputs, EvaluationDetail::numbers)
                    .dump(-1, ' ', false, Json::error_handler_t::replace)
             << '\n';
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
