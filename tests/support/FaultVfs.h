#pragma once

#include "host/linux/ForwardingVfs.h"

namespace kestrel {

// Fails the n-th call of one kind from now, once or from then on. Nobody sleeps.
// Threads: one at a time.
class FaultVfs : public ForwardingVfs {
 public:
    FaultVfs() : ForwardingVfs("fault") {}

    void arm(VfsCall kind, int code, int n, bool lasting) {
        mKind = kind;
        mCode = code;
        mCountdown = n;
        mLasting = lasting;
        mHits = 0;
    }

    // How many calls have failed.
    int disarm() {
        mCountdown = 0;
        return mHits;
    }

    std::optional<int> intercept(VfsCall call, const char* /*file*/) noexcept override {
        if (call == VfsCall::sleep) {
            return 0;  // SQLite waits ten seconds for a lock that stays busy
        }
        if (mCountdown == 0 || call != mKind) {
            return std::nullopt;
        }
        if (mCountdown > 1) {
            --mCountdown;
            return std::nullopt;
        }
        mCountdown = mLasting ? 1 : 0;
        ++mHits;
        return mCode;
    }

 private:
    VfsCall mKind = VfsCall::open;
    int mCode = 0;
    int mCountdown = 0;  // 0: nothing fails; 1: the next
    bool mLasting = false;
    int mHits = 0;
};

}  // namespace kestrel
