// The answer to the performance service: how long an app's launch boost lasts.

#include <cstring>

#include "action/KestrelStartsAction.h"
#include "host/KestrelStartsHints.h"
#include "lmdb/LMDBRows.h"
#include "lmdb/LMLog.h"

namespace {

constexpr const char* FUNCTION = "FeedbackCB";

// The duration is written last: whatever is thrown leaves the message unchanged.
int answerFrom(LMDatabase<KSPerfdOutput>& outputDb, mpctl_msg_t& msg) {
    LMDBDataRowKey key;
    // Another module's message may lack the terminator.
    key.appName.assign(msg.appName, strnlen(msg.appName, sizeof(msg.appName)));
    key.intcol1 = static_cast<int32_t>(msg.hintId);
    const LMDBRows<KSPerfdOutput> found(outputDb, outputDb.readAllocateDR<KSPerfdOutput>(key));
    if (found.rows.empty()) {
        msg.duration = KS_DEFAULT_BOOST_DURATION;
        return 0;
    }
    if (found.rows.front() == nullptr) {
        return -1;
    }
    msg.duration = found.rows.front()->blob.launchDuration;
    return 0;
}

}  // namespace

int KestrelStartsAction::FeedbackCB(mpctl_msg_t* msg) {
    if (msg == nullptr || msg->hintId != KS_LAUNCH_HINT) {
        return -1;
    }
    const KestrelStartsAction* instance = getInstance(nullptr);
    if (instance == nullptr) {
        LM_LOG(KS_ACTION_MODULE, FUNCTION, 95, "Couldn't create feedback instance");
        return -1;
    }
    if (instance->mOutputDb == nullptr) {
        LM_LOG(KS_ACTION_MODULE, FUNCTION, 101, "db instance table NULL");
        return -1;
    }
    int result = -1;
    const auto answer = [&] { result = answerFrom(*instance->mOutputDb, *msg); };
    guarded(answer, [](const char*) {});  // what lacks memory here has no line
    return result;
}
