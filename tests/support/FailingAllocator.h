#pragma once

#include <cstddef>
#include <new>

// Lets the n-th non-throwing allocation of the process fail, the plug-in's included. Included by
// one source of a test program.
// Threads: one at a time.
class FailingAllocator {
 public:
    // The n-th from now, from 1, fails; the ones around it succeed.
    explicit FailingAllocator(int n) { sCountdown = n; }
    ~FailingAllocator() { sCountdown = 0; }
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    static bool failsNow() { return sCountdown > 0 && --sCountdown == 0; }

 private:
    static inline int sCountdown = 0;  // 0: nothing fails
};

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return FailingAllocator::failsNow() ? nullptr : ::operator new(size);
}
