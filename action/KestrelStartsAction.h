#pragma once

#include <pthread.h>

#include <cstdint>
#include <string>

#include "action/mpctl_msg.h"
#include "host/KestrelStartsHints.h"
#include "host/LmApi.h"
#include "learning/LearningRecords.h"

class KestrelStartsFeature;

// The one object through which the feature acts on the device: the store of learned records and the
// requests to the performance service. There is one per process, made on first demand and never
// destroyed.
// Ownership: owns the output store; borrows the feature, after whose end no boost may be asked for.
// Threads:   getInstance and FeedbackCB from any; the boost operations on the event worker, without
//            a lock.
// Errors:    a request for which the service has no entry point is left out. getInstance and
//            FeedbackCB let no exception out, and nor does applyAction, which logs it; the others
//            throw what allocation and the host throw.
class KestrelStartsAction {
 public:
    // Opens the store; when that fails the object is usable for boosts, with mOutputDb null.
    KestrelStartsAction(unsigned long ctorTag, std::string dbFileName, std::string tableName,
                        KestrelStartsFeature* feature);
    ~KestrelStartsAction();
    KestrelStartsAction(const KestrelStartsAction&) = delete;
    KestrelStartsAction& operator=(const KestrelStartsAction&) = delete;

    // The instance, made by the first call, whose `feature` it keeps, be it null. Null when there
    // is no memory for it or for opening its store; the next call tries again.
    LM_API static KestrelStartsAction* getInstance(KestrelStartsFeature* feature);

    // Writes the learned duration of the message's app, or KS_DEFAULT_BOOST_DURATION, into
    // `duration`. 0, or -1 with the message unchanged. Reads only.
    LM_API static int FeedbackCB(mpctl_msg_t* msg);

    // Requests the short boost of an app that attaches. `app` is the short name.
    void applyDefaultAttachBoost(std::string const& app, int launchType, int reserved);

    // Requests the short boost of a launch and starts the hardware profile. `duration` in ms.
    void applyDefaultKSBoost(int launchArg, std::string const& app, int boostArg, int duration);

    // Requests both boosts of a launch. `app` is the full name, `hintType` the boost class,
    // `learned` whether the app's learning is complete. The launch boost's handle, owned by the
    // caller; 0 or less when there is none.
    int applyAction(std::string const& app, unsigned int hintId, int hintType, int reserved,
                    int launchArg, bool learned);

    // Releases the default boosts, of which a slot that holds -1 is passed to the service too, and
    // `handle` when it is 1 or more; stops the hardware profile.
    void ResetAction(int handle);

    LMDatabase<KSPerfdOutput>* mOutputDb = nullptr;  // owned; null when it could not be opened
    int32_t mKSBoostHandle = -1;               // what the service answered last; -1 once released
    int32_t mAttachBoostHandle = -1;           // the same
    std::string mDefaultPlhDuration = "2000";  // ms
    KestrelStartsFeature* mFeature;            // may be null: made for a feedback call

    static KestrelStartsAction* mKSFbInstance;
    static pthread_mutex_t mMutex;  // the check and the making of the instance

 private:
    void releaseDefaultBoosts();
    // Caps the request's duration and replaces the boost held under `handle`.
    void requestDefaultBoost(int32_t& handle, mpctl_msg_t& request, int arg0, int arg1);
    void startHardwareProfile(std::string& duration);
};
