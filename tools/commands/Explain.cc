#include "tools/commands/Explain.h"

#include <algorithm>
#include <iostream>

#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "tools/base/Interruption.h"
#include "tools/base/StandardOutput.h"
#include "tools/input/HostSetupFile.h"
#include "tools/store/Explanation.h"
#include "tools/views/ExplanationText.h"
#include "tools/views/StoreText.h"

namespace kestrel {

namespace {

// What the classifier of the platform answers.
int32_t classOf(const std::string& app, const HostSetup& setup) {
    if (!setup.appClasses) {
        return 0;
    }
    const auto found = setup.appClasses->find(app);
    return found != setup.appClasses->end() ? found->second : 0;
}

}  // namespace

void explain(const ExplainOptions& options) {
    const HostSetup setup = setupOf(options.hostFile);
    catchInterruptions();
    const LearningStore store = readLearningStore(options.root, setup.featureName);
    tellDamage(store);
    StoredApp stored = findApp(store, options.app);
    const bool isConfigured = std::ranges::count(setup.disabledApps, options.app) > 0;
    if (isConfigured) {
        stored.state = APP_STATE_DISABLED;  // written whenever the feature is constructed
    }
    const bool isGame = options.game || setup.games.contains(std::string(shortName(options.app)));
    Explanation explanation = explain(options.app, stored, isGame ? KS_LAUNCH_TYPE_GAME : 0,
                                      options.appClass.value_or(classOf(options.app, setup)));
    explanation.isConfigured = isConfigured;
    if (options.json) {
        printJson(explanationJson(options.app, explanation, store));
    } else {
        printExplanation(std::cout, options.app, explanation);
    }
    flushOutput();
    expectUndamaged(store);
}

}  // namespace kestrel
