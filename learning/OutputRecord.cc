#include "learning/OutputRecord.h"

#include "lmdb/LMLog.h"

LMDBDataRowKey launchKey(AsyncTriggerPayload const& payload) {
    LMDBDataRowKey key;
    key.intcol1 = payload.hintId;
    key.appName = payload.appName;
    return key;
}

LMDBDataTable<KSPerfdOutput>::vecT readOrMakeOutputRow(LMDatabase<KSPerfdOutput>& outputDb,
                                                       LMDBDataRowKey& key) {
    auto rows = outputDb.readAllocateDR<KSPerfdOutput>(key);
    return rows.empty() ? outputDb.getRow(1) : rows;
}

bool isSingleOutputRow(LMDatabase<KSPerfdOutput>& outputDb,
                       LMDBDataTable<KSPerfdOutput>::vecT& rows, const char* function, int line) {
    if (rows.size() == 1 && rows.front() != nullptr) {
        return true;
    }
    LM_LOG("KestrelStarts", function, line, "output db returning more rows for the same app");
    outputDb.deleteDeallocateDR<KSPerfdOutput>(rows);
    return false;
}
