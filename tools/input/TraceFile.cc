#include "tools/input/TraceFile.h"

#include <utility>

#include "tools/input/CountObject.h"
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

std::unique_ptr<RecognisedInput> readTraceFile(FileReader& file, std::string line,
                                               std::size_t number) {
    EventTraceReader reader(file.name());
    TraceObjects objects;
    InputSummary summary;
    do {
        if (auto object = reader.readLine(line, number)) {
            countObject(*object, summary);
            objects.push_back(std::move(*object));
        }
        ++number;
    } while (file.readLine(line));
    summary.units = number - 1;
    return std::make_unique<TraceFile>(reader.setup(), std::move(objects), std::move(summary));
}

}  // namespace kestrel
