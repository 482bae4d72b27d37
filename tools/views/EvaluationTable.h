#pragma once

#include <ostream>

#include "tools/launches/Evaluation.h"

namespace kestrel {

// The comparison of the policies and a line per app, for people; fits 80 columns.
// REQUIRES: the life has ended.
void printEvaluation(const Evaluation& evaluation, std::ostream& out);

}  // namespace kestrel
