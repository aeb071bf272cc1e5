// Makes one operation fail, and then the next one, until a scenario comes through.

#pragma once

#include <functional>
#include <string>

#include "kernel/Mvkrnx.h"

namespace support {

constexpr int kFaultKinds[] = {KERNEL_FAULT_ALLOCATE, KERNEL_FAULT_OPEN,   KERNEL_FAULT_READ,
                               KERNEL_FAULT_WRITE,    KERNEL_FAULT_RENAME, KERNEL_FAULT_SEEK,
                               KERNEL_FAULT_CLOSE};

/** Lets operation number place of a kind fail from now on, counted from 0. Allocations are those
 *  of the kernel and of operator new: of the libraries behind the codecs, what they take through
 *  them. Their own calls of malloc are not reached. */
void ArmFault(int kind, int place);
/** Ends that; true if the operation was reached. Called again, it gives the same. */
bool DisarmFault();

/** While it lives, the operations of this thread neither count nor fail: those that are the test's
 *  own. */
class FaultPause {
  public:
    FaultPause();
    ~FaultPause();
    FaultPause(const FaultPause &) = delete;
    FaultPause &operator=(const FaultPause &) = delete;
};

/** Runs a scenario for every place that it reaches; it arms the fault by the function that it gets,
 *  and disarms it when the work is done. Prints the number of faults under the name. */
void ForEachFault(const std::string &name, int kind,
                  const std::function<void(const std::function<void()> &arm)> &scenario);

} // namespace support
