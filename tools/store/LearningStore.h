#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/AppState.h"
#include "learning/LearningRecords.h"

namespace kestrel {

// What is stored of one app.
struct StoredApp {
    std::optional<AppState> state;        // none: the states are damaged or not there
    std::vector<KSPerfdOutput> records;   // the learned record; several: the store is damaged
    std::vector<KSInputDbData> launches;  // those that wait for a decision, oldest first
};

// Those of the launches, in ms.
std::vector<int> durationsOf(const StoredApp& stored);

// One of the databases.
struct StoreFile {
    std::string name;
    bool found = false;
    std::string damage;  // in SQLite's words; empty: none
};

// All that was learned, as the databases below a root say it.
struct LearningStore {
    std::map<std::string, StoredApp> apps;
    std::vector<StoreFile> files;

    bool isDamaged() const;
};

// Reads the databases below a root, or in a folder of just these files, of the feature of this
// name. Changes no file, also while a host runs on them. A file that is not there has nothing to
// say, and of a damaged one the rest is read. Without the states nobody's is known.
// Throws InputError when there is no such folder, or none of the files is in it.
LearningStore readLearningStore(const std::filesystem::path& root, const std::string& featureName);

// The same of a root that a host plays on, which may be new: empty, without files, where no
// database is there yet; and one without its table is no damage, as the host will make it.
LearningStore readLearningStoreIfAny(const std::filesystem::path& root,
                                     const std::string& featureName);

// The learned record that counts, of an app; null where there is none. Owned by the store.
const KSPerfdOutput* recordOf(const StoredApp& stored);
const KSPerfdOutput* recordOf(const LearningStore& store, const std::string& app);

// The app's entry. Throws InputError when nothing is stored of it.
const StoredApp& findApp(const LearningStore& store, const std::string& app);

}  // namespace kestrel
