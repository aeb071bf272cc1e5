// Operations of the kernel that fail where a test wants it.

#pragma once

#include <atomic>

#include "kernel/Mvkrnx.h"

namespace support {

/** While it lives, operations of one kind fail: those from a place on, counted from 0, or the one
 *  at that place. One may live at a time. */
class FailingKernel {
  public:
    enum Extent { FromThereOn, ThereAlone };

    explicit FailingKernel(int place, Extent extent = FromThereOn,
                           int kind = KERNEL_FAULT_ALLOCATE) {
        s_Kind = kind;
        s_Left = place;
        s_Extent = extent;
        KernelSetFaultHook(Fail);
    }
    ~FailingKernel() { KernelSetFaultHook(nullptr); }
    FailingKernel(const FailingKernel &) = delete;
    FailingKernel &operator=(const FailingKernel &) = delete;

    /** True if the place was reached. */
    bool HasFailed() const { return s_Left < 0; }

  private:
    static int Fail(int kind) {
        if (kind != s_Kind) return 0;
        const int left = s_Left--;
        return left == 0 || (left < 0 && s_Extent == FromThereOn);
    }

    static inline std::atomic<int> s_Kind, s_Left, s_Extent;
};

} // namespace support
