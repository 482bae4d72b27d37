#include "tools/input/ImportedInput.h"

#include <utility>

#include "tools/input/ReadInput.h"

namespace kestrel {

namespace {

class RecognisedImport : public RecognisedInput {
 public:
    explicit RecognisedImport(ImportedInput imported) : mImported(std::move(imported)) {}

    const std::optional<HostSetup>& setup() const override { return mNoSetup; }

    std::unique_ptr<CheckedInput> check(const HostSetup& setup) && override {
        for (TraceObject& object : mImported.objects) {
            auto* event = std::get_if<HintEvent>(&object.what);
            if (event != nullptr && event->hintId == KS_LAUNCH_HINT &&
                setup.games.contains(event->appName)) {
                event->launchType = KS_LAUNCH_TYPE_GAME;
            }
        }
        return std::make_unique<ReadInput>(std::move(mImported.objects),
                                           std::move(mImported.summary));
    }

 private:
    ImportedInput mImported;
    std::optional<HostSetup> mNoSetup;
};

}  // namespace

std::unique_ptr<RecognisedInput> recognised(ImportedInput imported) {
    return std::make_unique<RecognisedImport>(std::move(imported));
}

}  // namespace kestrel
