#pragma once

#include <ostream>

#include "tools/launches/Evaluation.h"
#include "tools/views/EvaluationJson.h"

namespace kestrel {

// The comparison of the policies and a line per app, for people; fits 80 columns.
// REQUIRES: the replay has ended.
void printEvaluation(const Evaluation& evaluation, const EvaluationSubject& subject,
                     std::ostream& out);

}  // namespace kestrel
