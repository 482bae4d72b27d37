#include "tools/input/ReadInput.h"

#include <utility>

namespace kestrel {

ReadInput::ReadInput(TraceObjects objects, InputSummary summary)
    : mObjects(std::move(objects)), mTotal(mObjects.size()), mSummary(std::move(summary)) {
    for (const TraceObject& object : mObjects) {
        countObject(object, mSummary);
    }
}

std::optional<TraceObject> ReadInput::next() {
    if (mObjects.empty()) {
        return std::nullopt;
    }
    std::optional<TraceObject> object = std::move(mObjects.front());
    mObjects.pop_front();
    return object;
}

std::optional<InputSpan> ReadInput::span() const {
    if (mObjects.empty()) {
        return std::nullopt;
    }
    const TraceObject& first = mObjects.front();
    const TraceObject& last = mObjects.back();
    return InputSpan{first.t, first.line, last.t, last.line};
}

}  // namespace kestrel
