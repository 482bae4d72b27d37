#pragma once

#include <utility>

#include "tools/input/Input.h"

namespace kestrel {

// A file's objects, which are all in memory and leave it one by one.
class ReadInput : public CheckedInput {
 public:
    explicit ReadInput(TraceObjects objects, InputSummary summary = {})
        : mObjects(std::move(objects)), mTotal(mObjects.size()), mSummary(std::move(summary)) {}

    std::optional<TraceObject> next() override;
    bool isAtEnd() const override { return mObjects.empty(); }
    std::optional<InputSpan> span() const override;
    InputProgress progress() const override { return {mTotal - mObjects.size(), mTotal}; }
    InputSummary summary() const override { return mSummary; }

 private:
    TraceObjects mObjects;
    std::size_t mTotal;
    InputSummary mSummary;
};

}  // namespace kestrel
