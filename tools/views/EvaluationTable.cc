#include "tools/views/EvaluationTable.h"

#include <cmath>
#include <string>

#include "tools/base/TerminalText.h"
#include "tools/session/Session.h"
#include "tools/views/InputConditions.h"
#include "tools/views/Table.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

constexpr std::size_t NAME_WIDTH = 19;
constexpr std::size_t LAUNCHES_WIDTH = 9;
constexpr std::size_t NUMBER_WIDTH = 6;
constexpr std::size_t BOOSTED_WIDTH = 10;

Table tableOf(const std::string& name) {
    using Kind = Table::Kind;
    return Table({{name, Kind::name, NAME_WIDTH},
                  {"launches", Kind::number, LAUNCHES_WIDTH},
                  {"p10", Kind::number, NUMBER_WIDTH},
                  {"p50", Kind::number, NUMBER_WIDTH},
                  {"mean", Kind::number, NUMBER_WIDTH},
                  {"fully", Kind::number, NUMBER_WIDTH},
                  {"p50", Kind::number, NUMBER_WIDTH},
                  {"p90", Kind::number, NUMBER_WIDTH},
                  {"mean", Kind::number, NUMBER_WIDTH},
                  {"ms", Kind::number, BOOSTED_WIDTH}});
}

// What the columns below each other have in common.
std::string groupHeadings() {
    return paddedLeft("covered in %", NAME_WIDTH + LAUNCHES_WIDTH + 3 * NUMBER_WIDTH) +
           paddedLeft("wasted ms a launch", 4 * NUMBER_WIDTH + 1) +
           paddedLeft("boosted", BOOSTED_WIDTH - 1);
}

void printHeadings(const std::string& name, std::ostream& out) {
    out << groupHeadings() << '\n' << tableOf(name).headings() << '\n';
}

// With one decimal, rounded down: 100.0 is said of nothing less. What is added makes up for ratios
// that a double holds a little too small, such as 0.29.
std::string percentText(double ratio) {
    const long tenths = std::lround(std::floor(ratio * 1000 + 1e-9));
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10);
}

void printRow(const std::string& name, const PolicyNumbers& numbers, std::ostream& out) {
    const auto known = [&](const std::string& text) { return numbers.launches > 0 ? text : "-"; };
    out << tableOf("").row(
               {name, std::to_string(numbers.launches), known(percentText(numbers.coverage.p10)),
                known(percentText(numbers.coverage.p50)), known(percentText(numbers.coverage.mean)),
                known(std::to_string(numbers.fullyCovered)),
                known(std::to_string(numbers.wastedMs.p50)),
                known(std::to_string(numbers.wastedMs.p90)),
                known(std::to_string(std::llround(numbers.wastedMs.mean))),
                known(std::to_string(numbers.boostedMs))})
        << '\n';
}

void printNotes(const Evaluation& evaluation, const EvaluationSubject& subject, std::ostream& out) {
    out << "not counted: " << evaluation.launches().size() - evaluation.measured()
        << " without a first frame, " << evaluation.passedOver() << " passed over by the feature\n";
    const auto note = [&](const std::string& text) {
        out << wrapped(printable(text), LINE_WIDTH, 2) << '\n';
    };
    if (const std::string off = switchWords(evaluation.featureSwitch().state());
        !off.empty() && evaluation.launches().empty()) {
        note(off);
    }
    if (subject.interrupted) {
        note("only a part: " + toText(*subject.interrupted));
    }
}

}  // namespace

void printEvaluation(const Evaluation& evaluation, const EvaluationSubject& subject,
                     std::ostream& out) {
    if (evaluation.launches().empty()) {
        out << noLaunchWords(subject.summaries);
    } else {
        // However many apps there are, the comparison comes last.
        printHeadings("app, KestrelStarts", out);
        for (const auto& [name, app] : evaluation.apps()) {
            printRow(name, evaluation.numbers(KESTREL, app), out);
        }
        out << '\n';
        printHeadings("policy", out);
        for (const Policy& policy : POLICIES) {
            printRow(policy.label, evaluation.numbers(policy), out);
        }
    }
    out << '\n';
    printNotes(evaluation, subject, out);
}

}  // namespace kestrel
