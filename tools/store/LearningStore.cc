#include "tools/store/LearningStore.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "host/linux/StateStore.h"
#include "learning/OutputRecord.h"
#include "tools/base/InputError.h"
#include "tools/store/DatabaseSnapshot.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

using Row = DatabaseSnapshot::Row;

// A row's payload, as the store reads one of any size.
template <class T>
T payloadOf(const Row& row) {
    T payload{};
    LMDatabase<KSInputDbData>::LMDB_memscpy(&payload, sizeof(T), row.blob.data(), row.blob.size());
    return payload;
}

// The databases of a feature: the launches, the learned records and the states.
std::array<std::string, 3> databaseNames(const std::string& featureName) {
    return {inputDbFile(featureName), KS_OUTPUT_DB_FILE, stateDbFile(featureName)};
}

// A link that leads nowhere counts as there, to be told as damage.
bool holdsAny(const fs::path& folder, const std::string& featureName) {
    return std::ranges::any_of(databaseNames(featureName), [&](const std::string& name) {
        std::error_code error;
        return fs::symlink_status(folder / name, error).type() != fs::file_type::not_found;
    });
}

// Whose files are read: a host makes a table that is missing, where others are told that it is.
enum class Reader { host, other };

// Whether a log or a journal lies beside the file: a host that was killed as it began may have made
// no table yet.
bool isBegun(const fs::path& file) {
    return std::ranges::any_of(std::array{"-wal", "-journal"}, [&](const char* suffix) {
        std::error_code error;
        return fs::exists(file.string() + suffix, error);
    });
}

// Reads the rows of one table that the plug-in would find.
StoreFile readTable(const fs::path& folder, const std::string& name, const char* table,
                    const LMDBDataRowKey& key, Reader reader,
                    const std::function<void(const Row&)>& onRow) {
    StoreFile file{.name = name};
    std::error_code error;
    if (fs::symlink_status(folder / name, error).type() == fs::file_type::not_found) {
        return file;
    }
    file.found = true;
    try {
        DatabaseSnapshot database(folder / name);
        const bool mayLackTable = reader == Reader::host || isBegun(folder / name);
        if (!mayLackTable || database.hasTable(table)) {
            database.forEachRow(table, key, onRow);
        }
        database.check();
    } catch (const std::runtime_error& damage) {
        file.damage = damage.what();
    }
    return file;
}

LearningStore readFolder(const fs::path& folder, const std::string& featureName, Reader reader) {
    const auto names = databaseNames(featureName);
    const LMDBDataRowKey launchRows = launchKey(KS_LAUNCH_HINT, "");  // of all apps
    LearningStore store;
    store.files = {
        readTable(folder, names[0], KS_INPUT_TABLE, launchRows, reader,
                  [&](const Row& row) {
                      store.apps[row.appName].launches.push_back(payloadOf<KSInputDbData>(row));
                  }),
        readTable(folder, names[1], KS_OUTPUT_TABLE, launchRows, reader,
                  [&](const Row& row) {
                      store.apps[row.appName].records.push_back(payloadOf<KSPerfdOutput>(row));
                  }),
        readTable(folder, names[2], KS_STATE_TABLE, LMDBDataRowKey{}, reader,
                  [&](const Row& row) {
                      store.apps[row.appName].state = payloadOf<AppState>(row);  // the newest last
                  }),
    };
    if (const StoreFile& states = store.files.back(); states.found && states.damage.empty()) {
        for (auto& entry : store.apps) {
            entry.second.state = entry.second.state.value_or(APP_STATE_LEARNING);
        }
    }
    return store;
}

}  // namespace

std::vector<int> durationsOf(const StoredApp& stored) {
    std::vector<int> durations;
    std::ranges::transform(stored.launches, std::back_inserter(durations),
                           &KSInputDbData::launchDuration);
    return durations;
}

bool LearningStore::isDamaged() const {
    return std::ranges::any_of(files, [](const StoreFile& file) { return !file.damage.empty(); });
}

LearningStore readLearningStore(const fs::path& root, const std::string& featureName) {
    std::error_code error;
    if (!fs::is_directory(root, error)) {
        throw InputError(root.string() + ": " +
                         (error ? error : make_error_code(std::errc::not_a_directory)).message());
    }
    for (const fs::path& folder : {databaseFolder(root), root}) {
        if (holdsAny(folder, featureName)) {
            return readFolder(folder, featureName, Reader::other);
        }
    }
    const auto names = databaseNames(featureName);
    throw InputError(root.string() + ": none of " + names[0] + ", " + names[1] + " and " +
                     names[2] + " is in it, nor in " + databaseFolder("").string() + " below it");
}

LearningStore readLearningStoreIfAny(const fs::path& root, const std::string& featureName) {
    const fs::path folder = databaseFolder(root);
    return holdsAny(folder, featureName) ? readFolder(folder, featureName, Reader::host)
                                         : LearningStore{};
}

const KSPerfdOutput* recordOf(const StoredApp& stored) {
    return stored.records.empty() ? nullptr : &stored.records.front();
}

const KSPerfdOutput* recordOf(const LearningStore& store, const std::string& app) {
    const auto found = store.apps.find(app);
    return found != store.apps.end() ? recordOf(found->second) : nullptr;
}

const StoredApp& findApp(const LearningStore& store, const std::string& app) {
    const auto found = store.apps.find(app);
    if (found != store.apps.end()) {
        return found->second;
    }
    // Names are those of the launches, with a component if these had one.
    std::string similar;
    for (const auto& entry : store.apps) {
        if (shortName(entry.first) == shortName(app)) {
            similar += (similar.empty() ? "; there is " : ", ") + entry.first;
        }
    }
    throw InputError(app + ": nothing is stored of it" + similar);
}

}  // namespace kestrel
