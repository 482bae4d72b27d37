#include "tools/input/TraceFile.h"

#include <utility>

#include "tools/input/EventTrace.h"
#include "tools/input/ReadInput.h"

namespace kestrel {

namespace {

class TraceFile : public RecognisedInput {
 public:
    TraceFile(std::optional<HostSetup> setup, TraceObjects objects)
        : mSetup(std::move(setup)), mObjects(std::move(objects)) {}

    const std::optional<HostSetup>& setup() const override { return mSetup; }

    // Nothing of a trace depends on the set-up.
    std::unique_ptr<CheckedInput> check(const HostSetup& /*setup*/) && override {
        return std::make_unique<ReadInput>(std::move(mObjects));
    }

 private:
    std::optional<HostSetup> mSetup;
    TraceObjects mObjects;
};

}  // namespace

std::unique_ptr<RecognisedInput> readTraceFile(FileReader& file, std::string line,
                                               std::size_t number) {
    EventTraceReader reader(file.name());
    TraceObjects objects;
    do {
        if (auto object = reader.readLine(line, number)) {
            objects.push_back(std::move(*object));
        }
        ++number;
    } while (file.readLine(line));
    return std::make_unique<TraceFile>(reader.setup(), std::move(objects));
}

}  // namespace kestrel
