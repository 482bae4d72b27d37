#include "tools/commands/Inspect.h"

#include <iostream>

#include "tools/base/Interruption.h"
#include "tools/base/StandardOutput.h"
#include "tools/input/HostSetupFile.h"
#include "tools/store/Damage.h"
#include "tools/views/StoreJson.h"
#include "tools/views/StoreTable.h"

namespace kestrel {

void inspect(const InspectOptions& options) {
    catchInterruptions();  // a table can be a view that never ends
    const HostSetup setup = setupOf(options.hostFile);
    const LearningStore store = readLearningStore(options.root, setup.featureName);
    tellDamage(store);
    const StoredApp* app = options.app ? &findApp(store, *options.app) : nullptr;
    if (options.json) {
        std::cout << toText(storeJson(store, options.app), 2) << '\n';
    } else if (app != nullptr) {
        printApp(std::cout, *options.app, *app);
    } else {
        printApps(std::cout, store);
    }
    flushOutput();
    expectUndamaged(store);
}

}  // namespace kestrel
