#pragma once

#include <string>
#include <vector>

#include "tools/base/Json.h"
#include "tools/launches/Evaluation.h"

namespace kestrel {

// Whether the apps' launches and marks are written out one by one.
enum class EvaluationDetail { numbers, launches };

// An evaluation as one JSON object; docs/kestrelhost.md lists its keys. `inputs` are the names of
// what was played. Texts are as the inputs gave them, so they may hold bytes that are not UTF-8.
// REQUIRES: the life has ended.
Json toJson(const Evaluation& evaluation, const std::vector<std::string>& inputs,
            EvaluationDetail detail);

}  // namespace kestrel
