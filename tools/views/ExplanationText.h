#pragma once

#include <ostream>
#include <string>

#include "tools/store/Explanation.h"

namespace kestrel {

// An explanation in words, section by section.
void printExplanation(std::ostream& out, const std::string& app, const Explanation& explanation);

}  // namespace kestrel
