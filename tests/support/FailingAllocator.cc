#include "tests/support/FailingAllocator.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int gCountdown = 0;  // 0: nothing fails
std::size_t gCount = 0;
FailingAllocator::Kind gKind = FailingAllocator::Kind::returnsNull;

bool failsNow(FailingAllocator::Kind kind) {
    ++gCount;
    if (gCountdown == 0 || kind != gKind) {
        return false;
    }
    --gCountdown;
    return gCountdown == 0;
}

void* allocate(std::size_t size) {
    return std::malloc(size > 0 ? size : 1);
}

}  // namespace

FailingAllocator::FailingAllocator(int n, Kind kind) {
    gKind = kind;
    gCountdown = n;
}

FailingAllocator::~FailingAllocator() {
    gCountdown = 0;
}

bool FailingAllocator::hasFailed() {
    return gCountdown == 0;
}

std::size_t FailingAllocator::count() {
    return gCount;
}

void* operator new(std::size_t size) {
    void* memory = failsNow(FailingAllocator::Kind::throws) ? nullptr : allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return failsNow(FailingAllocator::Kind::returnsNull) ? nullptr : allocate(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}
