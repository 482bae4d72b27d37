#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "tools/store/Explanation.h"

namespace kestrel {

// An explanation in words, and as an object for programs.

void printExplanation(std::ostream& out, const std::string& app, const Explanation& explanation);

nlohmann::ordered_json explanationJson(const std::string& app, const Explanation& explanation,
                                       const LearningStore& store);

}  // namespace kestrel
