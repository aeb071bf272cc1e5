// Replacements of the global operators, and the fault hook. They stand alone in this file, so that
// the compiler does not take them apart where they are used.

#include "FailingMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "kernel/Mvkrnx.h"

namespace {

std::atomic<int> remaining{-1};
std::atomic<bool> failed{false};

bool IsWanted() {
    if (remaining < 0 || remaining-- != 0) return false;
    failed = true;
    return true;
}

int FailKernel(int kind) {
    return kind == KERNEL_FAULT_ALLOCATE && IsWanted();
}

} // namespace

void FailAllocation(int place) {
    failed = false;
    remaining = place;
    KernelSetFaultHook(place < 0 ? nullptr : FailKernel);
}

bool AllocationFailed() {
    return failed;
}

void *operator new(size_t bytes) {
    void *block = IsWanted() ? nullptr : std::malloc(bytes != 0 ? bytes : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void *operator new(size_t bytes, const std::nothrow_t &) noexcept {
    return IsWanted() ? nullptr : std::malloc(bytes != 0 ? bytes : 1);
}

void operator delete(void *block) noexcept {
    std::free(block);
}

void operator delete(void *block, size_t) noexcept {
    std::free(block);
}
