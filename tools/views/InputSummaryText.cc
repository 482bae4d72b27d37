#include "tools/views/InputSummaryText.h"

#include <cstddef>

#include "tools/base/TerminalText.h"
#include "tools/input/Calendar.h"
#include "tools/views/InputConditions.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

void addTo(std::string& list, const std::string& text) {
    list += (list.empty() ? "" : ", ") + text;
}

void addCount(std::string& list, std::size_t count, const std::string& what) {
    if (count > 0) {
        addTo(list, counted(count, what));
    }
}

// "Android log (threadtime), 4711 lines, 11-22 13:45:08.388 to 11-24 14:14:52.792, Android 7.0".
std::string describe(const InputSummary& summary) {
    const SourceWords& words = sourceWords(summary.kind);
    std::string text = words.name;
    std::string format = summary.format;
    if (!summary.encoding.empty()) {
        addTo(format, summary.encoding);
    }
    if (!format.empty()) {
        text += " (" + printable(format) + ")";
    }
    addTo(text, counted(summary.units, words.unit));
    if (summary.firstT && summary.lastT) {
        addTo(text, calendarText(*summary.firstT, summary.clock) + " to " +
                        calendarText(*summary.lastT, summary.clock));
    }
    if (!summary.androidRelease.empty()) {
        addTo(text, "Android " + printable(summary.androidRelease));
    }
    return text;
}

std::string countsOf(const InputSummary& summary) {
    std::string text;
    addCount(text, summary.starts, "start");
    addTo(text, counted(summary.launches, "launch"));
    addTo(text, counted(summary.firstFrames, "first frame"));
    if (const std::size_t without = withoutFrame(summary); without > 0) {
        addTo(text, counted(without, "launch") + " without one");
    }
    addCount(text, summary.removals, "removal");
    addCount(text, summary.updates, "update");
    return text;
}

}  // namespace

std::vector<std::string> summaryLines(const InputSummary& summary, RemovalPolicy removals) {
    if (summary.kind == SourceKind::none) {
        return {"passed over: " + conditionsOf(summary, removals).front().text};
    }
    std::vector<std::string> lines = {describe(summary) + ": " + countsOf(summary)};
    std::string leftOut;
    std::vector<std::string> missing;
    for (const InputCondition& condition : conditionsOf(summary, removals)) {
        if (condition.isLeftOut) {
            addTo(leftOut, condition.text);
        } else {
            missing.push_back(condition.text);
        }
    }
    if (!leftOut.empty()) {
        lines.push_back("left out: " + leftOut);
    }
    lines.insert(lines.end(), missing.begin(), missing.end());
    return lines;
}

void printSummaries(const std::vector<InputSummary>& summaries, RemovalPolicy removals,
                    std::ostream& out) {
    for (const InputSummary& summary : summaries) {
        const std::string name = inputWords(summary.name);
        for (const std::string& line : summaryLines(summary, removals)) {
            out << printable(name) << ": " << line << '\n';
        }
    }
}

}  // namespace kestrel
