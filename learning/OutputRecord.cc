#include "learning/OutputRecord.h"

#include "host/KestrelStartsHints.h"
#include "lmdb/LMLog.h"

LMDBDataRowKey launchKey(int32_t hintId, std::string const& app) {
    LMDBDataRowKey key;
    key.intcol1 = hintId;
    key.appName = app;
    return key;
}

LMDBDataTable<KSPerfdOutput>::vecT readOrMakeOutputRow(LMDatabase<KSPerfdOutput>& outputDb,
                                                       LMDBDataRowKey& key) {
    auto rows = outputDb.readAllocateDR<KSPerfdOutput>(key);
    if (rows.empty()) {
        rows = outputDb.getRow(1);
    }
    return rows;
}

LMDBDataRow<KSPerfdOutput>* onlyRowOrDeleteAll(LMDatabase<KSPerfdOutput>& outputDb,
                                               LMDBDataTable<KSPerfdOutput>::vecT& rows,
                                               const char* function, int line) {
    if (rows.size() == 1 && rows.front() != nullptr) {
        return rows.front();
    }
    LM_LOG(KS_MODULE, function, line, "output db returning more rows for the same app");
    outputDb.deleteDeallocateDR<KSPerfdOutput>(rows);
    return nullptr;
}
