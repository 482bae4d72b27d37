#include "action/KestrelStartsAction.h"

#include <memory>
#include <new>
#include <utility>

#include "lmdb/LMLog.h"

namespace {

class MutexLock {
 public:
    explicit MutexLock(pthread_mutex_t& mutex) : mMutex(mutex) { pthread_mutex_lock(&mMutex); }
    ~MutexLock() { pthread_mutex_unlock(&mMutex); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

 private:
    pthread_mutex_t& mMutex;
};

}  // namespace

KestrelStartsAction* KestrelStartsAction::mKSFbInstance = nullptr;
pthread_mutex_t KestrelStartsAction::mMutex = PTHREAD_MUTEX_INITIALIZER;

KestrelStartsAction* KestrelStartsAction::getInstance(KestrelStartsFeature* feature) {
    const MutexLock lock(mMutex);
    if (mKSFbInstance != nullptr) {
        return mKSFbInstance;
    }
    const auto make = [feature] {
        mKSFbInstance =
            new (std::nothrow) KestrelStartsAction(0, KS_OUTPUT_DB_FILE, KS_OUTPUT_TABLE, feature);
        if (mKSFbInstance == nullptr) {
            LM_LOG(KS_ACTION_MODULE, "getInstance", 52, "KestrelStartsAction::getInstance failure");
        }
    };
    guarded(make, [](const char*) {});  // what lacks memory here has no line
    return mKSFbInstance;
}

KestrelStartsAction::KestrelStartsAction(unsigned long ctorTag, std::string dbFileName,
                                         std::string tableName, KestrelStartsFeature* feature)
    : mFeature(feature) {
    std::unique_ptr<LMDatabase<KSPerfdOutput>> db(new (std::nothrow) LMDatabase<KSPerfdOutput>(
        ctorTag, std::move(dbFileName), std::move(tableName)));
    if (db == nullptr) {
        return;
    }
    if (db->LMDatabaseInit() != LMDB_SUCCESS) {
        LM_LOG(KS_ACTION_MODULE, "KestrelStartsAction", 40, "LMDatabaseInit failed, err=%d\n", -1);
        return;
    }
    mOutputDb = db.release();
}

KestrelStartsAction::~KestrelStartsAction() {
    delete mOutputDb;  // its own, also of an object that is not the singleton
    guarded([this] { releaseDefaultBoosts(); }, [](const char*) {});
}
