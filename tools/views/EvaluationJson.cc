#include "tools/views/EvaluationJson.h"

#include <algorithm>
#include <utility>

#include "tools/views/CalendarJson.h"
#include "tools/views/InputSummaryJson.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

std::string titleOf(const std::vector<std::string>& inputs) {
    std::string title;
    for (const std::string& input : inputs) {
        title += (title.empty() ? "" : ", ") + inputWords(input);
    }
    return title;
}

Json toJson(const PolicyNumbers& numbers) {
    const auto known = [&](auto value) {
        return numbers.launches > 0 ? Json(value) : Json(nullptr);
    };
    return {{"launches", numbers.launches},
            {"coverage",
             {{"p10", known(numbers.coverage.p10)},
              {"p50", known(numbers.coverage.p50)},
              {"mean", known(numbers.coverage.mean)}}},
            {"fullyCovered", numbers.fullyCovered},
            {"wastedMs",
             {{"p50", known(numbers.wastedMs.p50)},
              {"p90", known(numbers.wastedMs.p90)},
              {"mean", known(numbers.wastedMs.mean)}}},
            {"boostedMs", numbers.boostedMs}};
}

// An app that learns anew is learning.
const char* currentPhase(LaunchPhase phase) {
    return phaseWord(phase == LaunchPhase::relearning ? LaunchPhase::learning : phase);
}

Json toJson(const Interrupted& interrupted) {
    return {{"input", interrupted.input},
            {"percent", interrupted.percent},
            {"events", interrupted.delivered}};
}

std::size_t countApps(const Evaluation& evaluation, LaunchPhase state) {
    const auto& apps = evaluation.apps();
    return static_cast<std::size_t>(std::count_if(
        apps.begin(), apps.end(), [&](const auto& app) { return app.second.state == state; }));
}

Json summaryOf(const Evaluation& evaluation) {
    return {{"apps", evaluation.apps().size()},
            {"launches", evaluation.launches().size()},
            {"measured", evaluation.measured()},
            {"passedOver", evaluation.passedOver()},
            {"learnedApps", countApps(evaluation, LaunchPhase::learned)},
            {"disabledApps", countApps(evaluation, LaunchPhase::disabled)},
            {"firstT", evaluation.firstT()},
            {"lastT", evaluation.lastT()}};
}

Json policiesOf(const Evaluation& evaluation) {
    Json policies = Json::array();
    for (const Policy& policy : POLICIES) {
        Json entry = {{"id", policy.id}, {"name", policy.name}};
        entry.update(toJson(evaluation.numbers(policy)));
        policies.push_back(std::move(entry));
    }
    return policies;
}

Json toJson(const ComparedLaunch& launch) {
    return {{"t", launch.t},
            {"durationMs", orNull(launch.durationMs)},
            {"boostMs", launch.boostMs},
            {"requestedMs", orNull(launch.requestedMs)},
            {"defaultMs", orNull(launch.defaultMs)},
            {"phase", currentPhase(launch.phase)}};
}

Json toJson(const AppMark& mark) {
    Json entry = {{"t", mark.t}, {"kind", markWord(mark.kind)}};
    if (mark.durationMs) {
        entry["durationMs"] = *mark.durationMs;
    }
    return entry;
}

Json toJson(const Evaluation& evaluation, const std::string& name, const Evaluation::App& app) {
    return {{"app", name},
            {"state", currentPhase(app.state)},
            {"learnedMs", orNull(app.learnedMs)},
            {"launches", app.launches.size()},
            {"measured", app.measured},
            {KESTREL.id, toJson(evaluation.numbers(KESTREL, app))},
            {RIVAL.id, toJson(evaluation.numbers(RIVAL, app))}};
}

void addLaunches(const Evaluation& evaluation, const Evaluation::App& app, Json& entry) {
    Json& series = entry["series"] = Json::array();
    for (const std::size_t launch : app.launches) {
        series.push_back(toJson(evaluation.launches()[launch]));
    }
    Json& marks = entry["marks"] = Json::array();
    for (const AppMark& mark : app.marks) {
        marks.push_back(toJson(mark));
    }
}

}  // namespace

Json toJson(const Evaluation& evaluation, const EvaluationSubject& subject,
            EvaluationDetail detail) {
    Json apps = Json::array();
    for (const auto& [name, app] : evaluation.apps()) {
        Json entry = toJson(evaluation, name, app);
        if (detail == EvaluationDetail::launches) {
            addLaunches(evaluation, app, entry);
        }
        apps.push_back(std::move(entry));
    }
    const std::string off =
        evaluation.launches().empty() ? switchWords(evaluation.featureSwitch().state()) : "";
    Json data = {{"title", titleOf(subject.inputs)},
                 {"version", subject.featureVersion},
                 {"inputs", toJson(subject.summaries, subject.removals)},
                 {"interrupted", subject.interrupted ? toJson(*subject.interrupted) : Json()},
                 {"featureOff", off.empty() ? Json() : Json(off)},
                 {"summary", summaryOf(evaluation)},
                 {"policies", policiesOf(evaluation)},
                 {"apps", std::move(apps)}};
    if (detail == EvaluationDetail::launches) {
        data["calendar"] = toJson(subject.calendar, evaluation.lastT());
    }
    return data;
}

}  // namespace kestrel
