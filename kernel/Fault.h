// The kernel's test hook that makes operations fail.

#pragma once

#include <atomic>

#include "Mvkrnx.h"

namespace kernel {

extern std::atomic<KERNEL_FAULT_HOOK> faultHook;

/** True if the installed hook wants this operation to fail. */
inline bool FaultWanted(int kind) {
    const KERNEL_FAULT_HOOK hook = faultHook.load(std::memory_order_relaxed);
    return __builtin_expect(hook != nullptr, 0) && hook(kind) != 0;
}

} // namespace kernel
