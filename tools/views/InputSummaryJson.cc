#include "tools/views/InputSummaryJson.h"

#include <optional>
#include <string>
#include <utility>

#include "tools/input/Calendar.h"
#include "tools/views/InputConditions.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

Json timeOf(const std::optional<int64_t>& t, InputClock clock) {
    return t ? Json(calendarText(*t, clock)) : Json(nullptr);
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json toJson(const InputSummary& summary, RemovalPolicy removals) {
    const SourceWords& words = sourceWords(summary.kind);
    Json entry = {{"name", summary.name},
                  {"kind", words.key},
                  {"format", textOrNull(summary.format)},
                  {"encoding", textOrNull(summary.encoding)},
                  {"unit", words.unit},
                  {"units", summary.units},
                  {"clock", clockWord(summary.clock.kind)},
                  {"from", timeOf(summary.firstT, summary.clock)},
                  {"to", timeOf(summary.lastT, summary.clock)},
                  {"androidRelease", textOrNull(summary.androidRelease)},
                  {"starts", summary.starts},
                  {"launches", summary.launches},
                  {"firstFrames", summary.firstFrames},
                  {"withoutFirstFrame", withoutFrame(summary)},
                  {"appSwitches", summary.appSwitches},
                  {"removals", summary.removals},
                  {"updates", summary.updates}};
    Json& notes = entry["notes"] = Json::array();
    for (const InputCondition& condition : conditionsOf(summary, removals)) {
        notes.push_back(
            {{"kind", condition.key}, {"count", condition.count}, {"text", condition.text}});
    }
    return entry;
}

}  // namespace

Json toJson(const std::vector<InputSummary>& summaries, RemovalPolicy removals) {
    Json list = Json::array();
    for (const InputSummary& summary : summaries) {
        list.push_back(toJson(summary, removals));
    }
    return list;
}

}  // namespace kestrel
