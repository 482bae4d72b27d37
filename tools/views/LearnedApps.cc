#include "tools/views/LearnedApps.h"

#include "learning/LearningRecords.h"
#include "lmdb/LMDBRows.h"

namespace kestrel {

std::map<std::string, LearnedApp> readLearnedApps(const std::filesystem::path& root) {
    std::map<std::string, LearnedApp> apps;
    if (!std::filesystem::exists(root / "data/vendor/lm" / KS_OUTPUT_DB_FILE)) {
        return apps;  // opening would create it
    }
    LMDatabase<KSPerfdOutput> db(0, KS_OUTPUT_DB_FILE, KS_OUTPUT_TABLE);
    if (db.openLMdb() != LMDB_SUCCESS) {
        return apps;
    }
    LMDBDataRowKey all;
    const LMDBRows<KSPerfdOutput> found(db, db.readAllocateDR<KSPerfdOutput>(all));
    for (const LMDBDataRow<KSPerfdOutput>* row : found.rows) {
        apps[row->appName] = {row->blob.launchDuration, row->blob.launchCount};
    }
    return apps;
}

}  // namespace kestrel
