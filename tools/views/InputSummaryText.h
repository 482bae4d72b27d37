#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/input/InputSummary.h"

namespace kestrel {

// What people are told of the inputs of a command, a line or more for each: what it is and what was
// found in it; what was left out, if anything was; and a line for everything important that is
// missing, with the remedy. Each line begins with the input's name.
void printSummaries(const std::vector<InputSummary>& summaries, RemovalPolicy removals,
                    std::ostream& out);

// The same as texts, without the name.
std::vector<std::string> summaryLines(const InputSummary& summary, RemovalPolicy removals);

}  // namespace kestrel
