#include "learning/LearningRecords.h"

#include "lmdb/LMDatabaseImpl.h"

LMDB_INSTANTIATE(KSInputDbData);
LMDB_INSTANTIATE(KSPerfdOutput);
