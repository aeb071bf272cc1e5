// The fault hook, and replacements of the global operators. They stand alone in this file, so that
// the compiler does not take them apart where they are used.

#include "Faults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

constexpr int kMostFaults = 20000;
constexpr const char *kKindNames[] = {"allocation", "open", "read", "write",
                                      "rename",     "seek", "close"};

std::atomic<int> wantedKind{-1};
std::atomic<int> remaining{0};
std::atomic<bool> reached{false};

thread_local bool paused = false;

int IsWanted(int kind) {
    if (kind != wantedKind || paused || remaining-- != 0) return 0;
    reached = true;
    return 1;
}

void *Allocate(size_t bytes) noexcept {
    return IsWanted(KERNEL_FAULT_ALLOCATE) ? nullptr : std::malloc(bytes != 0 ? bytes : 1);
}

void *AllocateOrThrow(size_t bytes) {
    void *block = Allocate(bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

} // namespace

void support::ArmFault(int kind, int place) {
    reached = false;
    remaining = place;
    wantedKind = kind;
    KernelSetFaultHook(IsWanted);
}

bool support::DisarmFault() {
    KernelSetFaultHook(nullptr);
    wantedKind = -1;
    return reached;
}

support::FaultPause::FaultPause() {
    paused = true;
}

support::FaultPause::~FaultPause() {
    paused = false;
}

void support::ForEachFault(const std::string &name, int kind,
                           const std::function<void(const std::function<void()> &arm)> &scenario) {
    int place = 0;
    for (bool more = true; more; ++place) {
        SCOPED_TRACE(name + ", " + kKindNames[kind] + " " + std::to_string(place));
        ASSERT_LT(place, kMostFaults) << "the scenario does not come to an end";
        reached = false;
        scenario([&] { ArmFault(kind, place); });
        more = DisarmFault();
        if (testing::Test::HasFailure()) return;
    }
    if (place > 1) std::printf("faults: %s, %s: %d\n", name.c_str(), kKindNames[kind], place - 1);
}

void *operator new(size_t bytes) {
    return AllocateOrThrow(bytes);
}

void *operator new[](size_t bytes) {
    return AllocateOrThrow(bytes);
}

void *operator new(size_t bytes, const std::nothrow_t &) noexcept {
    return Allocate(bytes);
}

void *operator new[](size_t bytes, const std::nothrow_t &) noexcept {
    return Allocate(bytes);
}

void operator delete(void *block) noexcept {
    std::free(block);
}

void operator delete[](void *block) noexcept {
    std::free(block);
}

void operator delete(void *block, size_t) noexcept {
    std::free(block);
}

void operator delete[](void *block, size_t) noexcept {
    std::free(block);
}
