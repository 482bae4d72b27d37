#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/base/Json.h"
#include "tools/input/Calendar.h"
#include "tools/input/InputSummary.h"
#include "tools/launches/Evaluation.h"
#include "tools/session/SessionObserver.h"

namespace kestrel {

// What an evaluation is of.
struct EvaluationSubject {
    std::vector<std::string> inputs;         // names of what was played
    std::string featureVersion;              // of the feature that was replayed
    std::optional<Interrupted> interrupted;  // none: all of the inputs was played
    std::vector<InputSummary> summaries = {};
    RemovalPolicy removals = RemovalPolicy::forget;
    Calendar calendar = {};
};

// Whether the apps' launches and marks are written out one by one.
enum class EvaluationDetail { numbers, launches };

// An evaluation as one JSON object; docs/kestrelhost.md lists its keys. Texts are as the inputs
// gave them, so they may hold bytes that are not UTF-8. REQUIRES: the replay has ended.
Json toJson(const Evaluation& evaluation, const EvaluationSubject& subject,
            EvaluationDetail detail);

}  // namespace kestrel
