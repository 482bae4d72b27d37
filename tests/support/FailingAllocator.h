#pragma once

#include <cstddef>

// Lets the n-th allocation of the process fail, those in the libraries included. For test programs
// that also compile FailingAllocator.cc.
// Threads: one at a time.
class FailingAllocator {
 public:
    enum class Kind { returnsNull, throws };

    // The n-th of its kind from now, from 1, fails; the ones around it succeed.
    explicit FailingAllocator(int n, Kind kind = Kind::returnsNull);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    // Whether the n-th came.
    static bool hasFailed();

    // How many of either kind the process has asked for so far.
    static std::size_t count();
};
