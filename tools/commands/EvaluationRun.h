#pragma once

#include <functional>
#include <sstream>

#include "tools/commands/Evaluate.h"
#include "tools/input/InputSequence.h"
#include "tools/session/ProgressLine.h"
#include "tools/views/EvaluationJson.h"

namespace kestrel {

using ShowEvaluation =
    std::function<void(const Evaluation&, const EvaluationSubject&, const SessionEnd&)>;

// Plays the inputs on a root that is not kept and shows what came of it, also when the input ends
// with a wrong line, but not without a store: the numbers would be wrong. What `show` puts into
// `text` is printed. Errors: as playSession.
void playEvaluation(const EvaluateOptions& options, InputSequence& inputs, std::ostringstream& text,
                    ProgressLine& progress, const ShowEvaluation& show);

}  // namespace kestrel
