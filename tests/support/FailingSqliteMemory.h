#pragma once

#include <sqlite3.h>

namespace kestrel {

// Fails the n-th request of SQLite for memory from now, once or from then on. For one source of a
// test program, which it prepares before SQLite is used.
// Threads: one at a time.
class FailingSqliteMemory {
 public:
    static void arm(int n, bool lasting) {
        mCountdown = n;
        mLasting = lasting;
        mHits = 0;
    }

    // How many requests have failed.
    static int disarm() {
        mCountdown = 0;
        return mHits;
    }

    static bool isInstalled() { return mInstalled; }

 private:
    static bool fails() {
        if (mCountdown != 1) {
            mCountdown -= mCountdown > 0 ? 1 : 0;
            return false;
        }
        mCountdown = mLasting ? 1 : 0;
        ++mHits;
        return true;
    }

    // Without the small blocks that SQLite keeps for itself, every request counts.
    static bool install() {
        bool installed = sqlite3_config(SQLITE_CONFIG_GETMALLOC, &mReal) == SQLITE_OK;
        sqlite3_mem_methods failing = mReal;
        failing.xMalloc = [](int size) { return fails() ? nullptr : mReal.xMalloc(size); };
        failing.xRealloc = [](void* memory, int size) {
            return fails() ? nullptr : mReal.xRealloc(memory, size);
        };
        installed = sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) == SQLITE_OK && installed;
        return sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) == SQLITE_OK && installed;
    }

    static inline sqlite3_mem_methods mReal{};
    static inline int mCountdown = 0;  // 0: nothing fails; 1: the next
    static inline bool mLasting = false;
    static inline int mHits = 0;
    static inline const bool mInstalled = install();
};

}  // namespace kestrel
