// Owners of blocks of the KernelAlloc family.

#pragma once

#include <cstddef>
#include <memory>

#include "Mvkrnx.h"

namespace kernel {

struct Freer {
    void operator()(void *block) const { KernelFree(block, 0, nullptr); }
};
template <typename T>
using Block = std::unique_ptr<T[], Freer>;

/** Uninitialized; null when memory is short. */
template <typename T>
Block<T> MakeBlock(size_t count) {
    return Block<T>(static_cast<T *>(KernelAlloc(count, sizeof(T), 0, nullptr)));
}

} // namespace kernel
