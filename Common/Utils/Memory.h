// Memory of data sets: the allocation family that M_DicomSetMemoryAllocation selected.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace mdicom {

/** A block of count times size bytes, or null. */
void *DataAlloc(size_t count, size_t size);
void DataFree(void *block);

struct DataFreer {
    void operator()(void *block) const { DataFree(block); }
};

/** Owner of a block of data set memory. */
template <typename T>
using DataBlock = std::unique_ptr<T[], DataFreer>;

/** An array of count elements without a constructor, uninitialized; null when memory is short. */
template <typename T>
DataBlock<T> MakeDataBlock(size_t count) {
    return DataBlock<T>(static_cast<T *>(DataAlloc(count, sizeof(T))));
}

} // namespace mdicom
