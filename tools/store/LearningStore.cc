#include "tools/store/LearningStore.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "host/linux/ReadOnlyDatabase.h"
#include "host/linux/StateStore.h"
#include "learning/OutputRecord.h"
#include "tools/base/InputError.h"
#include "tools/base/TemporaryDirectory.h"

namespace kestrel {

namespace {

namespace fs = std::filesystem;

using Row = ReadOnlyDatabase::Row;

// A row's payload, as the store reads one of any size.
template <class T>
T payloadOf(const Row& row) {
    T payload{};
    LMDatabase<KSInputDbData>::LMDB_memscpy(&payload, sizeof(T), row.blob.data(), row.blob.size());
    return payload;
}

// Where the databases are. A link that leads nowhere counts as there, to be told as damage.
fs::path databaseFolder(const fs::path& root, const std::vector<std::string>& names) {
    std::error_code error;
    if (!fs::is_directory(root, error)) {
        throw InputError(root.string() + ": " +
                         (error ? error : make_error_code(std::errc::not_a_directory)).message());
    }
    for (const fs::path& folder : {root / "data/vendor/lm", root}) {
        const auto isThere = [&](const std::string& name) {
            return fs::symlink_status(folder / name, error).type() != fs::file_type::not_found;
        };
        if (std::ranges::any_of(names, isThere)) {
            return folder;
        }
    }
    throw InputError(root.string() + ": none of " + names[0] + ", " + names[1] + " and " +
                     names[2] + " is in it, nor in data/vendor/lm below it");
}

// A copy of a database and what lies beside it, which can be recovered.
fs::path copyInto(const fs::path& folder, const fs::path& file) {
    const fs::path copy = folder / "copy.db";
    const std::string original = fs::canonical(file).string();
    for (const char* suffix : {"", "-wal", "-journal"}) {
        std::error_code error;
        if (fs::exists(original + suffix, error)) {
            fs::copy_file(original + suffix, copy.string() + suffix, error);
        }
        if (error && error != std::errc::no_such_file_or_directory) {
            throw std::runtime_error("cannot copy " + original + suffix + ": " + error.message());
        }
    }
    return copy;
}

// Calls `read` with the file, or with a copy where reading would change it; then checks all of it.
void readDatabase(const fs::path& file, const std::function<void(ReadOnlyDatabase&)>& read) {
    if (!fs::is_regular_file(file) && fs::exists(file)) {
        throw std::runtime_error("not a regular file");
    }
    std::optional<TemporaryDirectory> copies;
    std::optional<ReadOnlyDatabase> database;
    DatabaseAccess access = accessOf(file);
    while (!database) {
        try {
            const bool copied = access == DatabaseAccess::copied;
            database.emplace(copied ? copyInto(copies.emplace().path(), file) : file, access);
        } catch (const std::runtime_error&) {
            // Unless a journal has to be rolled back, or a host has begun or ended meanwhile.
            const DatabaseAccess next = access == DatabaseAccess::locked && hasJournal(file)
                                            ? DatabaseAccess::copied
                                            : accessOf(file);
            if (next == access) {
                throw;
            }
            access = next;
        }
    }
    read(*database);
    database->check();
}

// Reads the rows of one table that the plug-in would find.
StoreFile readTable(const fs::path& folder, const std::string& name, const char* table,
                    const LMDBDataRowKey& key, const std::function<void(const Row&)>& onRow) {
    StoreFile file{.name = name};
    std::error_code error;
    if (fs::symlink_status(folder / name, error).type() == fs::file_type::not_found) {
        return file;
    }
    file.found = true;
    try {
        readDatabase(folder / name,
                     [&](ReadOnlyDatabase& database) { database.forEachRow(table, key, onRow); });
    } catch (const std::runtime_error& damage) {
        file.damage = damage.what();
    }
    return file;
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
    const std::vector<std::string> names = {inputDbFile(featureName), KS_OUTPUT_DB_FILE,
                                            stateDbFile(featureName)};
    const fs::path folder = databaseFolder(root, names);
    const LMDBDataRowKey launchRows = launchKey(KS_LAUNCH_HINT, "");  // of all apps
    LearningStore store;
    store.files = {
        readTable(folder, names[0], KS_INPUT_TABLE, launchRows,
                  [&](const Row& row) {
                      store.apps[row.appName].launches.push_back(payloadOf<KSInputDbData>(row));
                  }),
        readTable(folder, names[1], KS_OUTPUT_TABLE, launchRows,
                  [&](const Row& row) {
                      store.apps[row.appName].records.push_back(payloadOf<KSPerfdOutput>(row));
                  }),
        readTable(folder, names[2], KS_STATE_TABLE, LMDBDataRowKey{},
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
