#pragma once

#include <ostream>
#include <string>

#include "tools/base/Json.h"
#include "tools/store/Explanation.h"

namespace kestrel {

// An explanation in words, and as an object for programs.

void printExplanation(std::ostream& out, const std::string& app, const Explanation& explanation);

Json explanationJson(const std::string& app, const Explanation& explanation,
                     const LearningStore& store);

}  // namespace kestrel
