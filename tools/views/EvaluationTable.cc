#include "tools/views/EvaluationTable.h"

#include <cmath>
#include <string>

#include "tools/base/TerminalText.h"
#include "tools/views/ReportText.h"

namespace kestrel {

namespace {

constexpr std::size_t NAME_WIDTH = 19;
constexpr std::size_t LAUNCHES_WIDTH = 9;
constexpr std::size_t PERCENT_WIDTH = 6;
constexpr std::size_t FULLY_WIDTH = 6;
constexpr std::size_t WASTED_WIDTH = 6;
constexpr std::size_t BOOSTED_WIDTH = 10;

// A number in its column, with a blank before it however long it is.
std::string cell(const std::string& text, std::size_t width) {
    return ' ' + right(text, width - 1);
}

// With one decimal, rounded down: 100.0 is said of nothing less. What is added makes up for ratios
// that a double holds a little too small, such as 0.29.
std::string percentText(double ratio) {
    const long tenths = std::lround(std::floor(ratio * 1000 + 1e-9));
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10);
}

void printHeader(const std::string& name, std::ostream& out) {
    out << right("covered in %", NAME_WIDTH + LAUNCHES_WIDTH + 3 * PERCENT_WIDTH)
        << right("wasted ms a launch", FULLY_WIDTH + 3 * WASTED_WIDTH + 1)
        << right("boosted", BOOSTED_WIDTH - 1) << '\n'
        << padded(name, NAME_WIDTH) << right("launches", LAUNCHES_WIDTH)
        << right("p10", PERCENT_WIDTH) << right("p50", PERCENT_WIDTH)
        << right("mean", PERCENT_WIDTH) << right("fully", FULLY_WIDTH) << right("p50", WASTED_WIDTH)
        << right("p90", WASTED_WIDTH) << right("mean", WASTED_WIDTH) << right("ms", BOOSTED_WIDTH)
        << '\n';
}

void printRow(const std::string& name, const PolicyNumbers& numbers, std::ostream& out) {
    const auto known = [&](const std::string& text, std::size_t width) {
        return cell(numbers.launches > 0 ? text : "-", width);
    };
    out << padded(endWithin(printable(name), NAME_WIDTH), NAME_WIDTH)
        << cell(std::to_string(numbers.launches), LAUNCHES_WIDTH)
        << known(percentText(numbers.coverage.p10), PERCENT_WIDTH)
        << known(percentText(numbers.coverage.p50), PERCENT_WIDTH)
        << known(percentText(numbers.coverage.mean), PERCENT_WIDTH)
        << known(std::to_string(numbers.fullyCovered), FULLY_WIDTH)
        << known(std::to_string(numbers.wastedMs.p50), WASTED_WIDTH)
        << known(std::to_string(numbers.wastedMs.p90), WASTED_WIDTH)
        << known(std::to_string(std::llround(numbers.wastedMs.mean)), WASTED_WIDTH)
        << known(std::to_string(numbers.boostedMs), BOOSTED_WIDTH) << '\n';
}

}  // namespace

void printEvaluation(const Evaluation& evaluation, std::ostream& out) {
    if (evaluation.launches().empty()) {
        out << "no launches";
    } else {
        // However many apps there are, the comparison comes last.
        printHeader("app, KestrelStarts", out);
        for (const auto& [name, app] : evaluation.apps()) {
            printRow(name, evaluation.numbers(Policy::kestrel, app), out);
        }
        out << '\n';
        printHeader("policy", out);
        for (const PolicyName& policy : POLICIES) {
            printRow(policy.shortName, evaluation.numbers(policy.policy), out);
        }
    }
    out << "\nnot counted: " << evaluation.launches().size() - evaluation.measured()
        << " without a first frame, " << evaluation.passedOver() << " passed over by the feature\n";
}

}  // namespace kestrel
