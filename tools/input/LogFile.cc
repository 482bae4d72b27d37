#include "tools/input/LogFile.h"

#include <algorithm>
#include <utility>

#include "tools/input/CountObject.h"
#include "tools/input/ReadInput.h"

namespace kestrel {

namespace {

class LogFile : public RecognisedInput {
 public:
    LogFile(std::string name, std::string content)
        : mName(std::move(name)), mContent(std::move(content)) {}

    const std::optional<HostSetup>& setup() const override { return mNoSetup; }

    std::unique_ptr<CheckedInput> check(const HostSetup& setup) && override {
        TraceObjects objects;
        if (!AndroidLogImporter::importFile(mContent, importSettings(setup), objects)) {
            throw noLog(mName);
        }
        InputSummary summary{.kind = SourceKind::androidLog};
        summary.units = static_cast<std::size_t>(std::ranges::count(mContent, '\n'));
        for (const TraceObject& object : objects) {
            countObject(object, summary);
        }
        return std::make_unique<ReadInput>(std::move(objects), std::move(summary));
    }

 private:
    std::string mName;
    std::string mContent;
    std::optional<HostSetup> mNoSetup;
};

}  // namespace

std::unique_ptr<RecognisedInput> readLogFile(FileReader& file, std::string beginning) {
    return std::make_unique<LogFile>(file.name(), std::move(beginning) + file.readRest());
}

LogImportSettings importSettings(const HostSetup& setup) {
    return {{setup.games.begin(), setup.games.end()}, setup.removals};
}

InputError noLog(const std::string& inputName) {
    return {inputName, 1, "neither an event trace nor an Android log: no line of it is one"};
}

}  // namespace kestrel
