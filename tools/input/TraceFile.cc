#include "tools/input/TraceFile.h"

#include <utility>

#include "tools/base/InputError.h"
#include "tools/base/LineReader.h"
#include "tools/input/EventTrace.h"
#include "tools/input/ReadInput.h"

namespace kestrel {

namespace {

class TraceFile : public RecognisedInput {
 public:
    TraceFile(std::optional<HostSetup> setup, TraceObjects objects, InputSummary summary)
        : mSetup(std::move(setup)), mObjects(std::move(objects)), mSummary(std::move(summary)) {}

    const std::optional<HostSetup>& setup() const override { return mSetup; }

    // Nothing of a trace depends on the set-up.
    std::unique_ptr<CheckedInput> check(const HostSetup& /*setup*/) && override {
        return std::make_unique<ReadInput>(std::move(mObjects), std::move(mSummary));
    }

 private:
    std::optional<HostSetup> mSetup;
    TraceObjects mObjects;
    InputSummary mSummary;
};

}  // namespace

std::unique_ptr<RecognisedInput> readTraceFile(ByteSource& source) {
    EventTraceReader reader(source.name());
    TraceObjects objects;
    LineReader lines(source);
    while (const auto line = lines.next()) {
        if (line->size() >= LineReader::KS_MAX_LINE) {
            throw InputError(source.name(), lines.number(), "the line is too long");
        }
        if (auto object = reader.readLine(*line, lines.number())) {
            objects.push_back(std::move(*object));
        }
    }
    InputSummary summary{.kind = SourceKind::eventTrace, .units = lines.number()};
    if (!objects.empty()) {
        summary.firstT = objects.front().t;
        summary.lastT = objects.back().t;
    }
    return std::make_unique<TraceFile>(reader.setup(), std::move(objects), std::move(summary));
}

}  // namespace kestrel
