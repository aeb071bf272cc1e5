// The kernel's two families of allocation.

#include <cstdlib>
#include <cstring>

#include "BitmapStorage.h"
#include "Fault.h"
#include "Mvkrnx.h"

namespace kernel {
std::atomic<KERNEL_FAULT_HOOK> faultHook{nullptr};
}

namespace {

/** Precedes each block of the KernelAlloc family, so that a bare address tells its size. */
struct alignas(16) SizeHeader {
    size_t bytes;
};

SizeHeader *HeaderOf(void *block) {
    return static_cast<SizeHeader *>(block) - 1;
}

} // namespace

void *kernel::AllocateZeroed(uint64_t bytes) {
    size_t total = 0;
    if (__builtin_add_overflow(bytes, sizeof(SizeHeader), &total)) return nullptr;
    if (FaultWanted(KERNEL_FAULT_ALLOCATE)) return nullptr;
    auto *header = static_cast<SizeHeader *>(std::calloc(1, total));
    if (header == nullptr) return nullptr;
    header->bytes = bytes;
    return header + 1;
}

extern "C" {

void KernelSetFaultHook(KERNEL_FAULT_HOOK pfnHook) {
    kernel::faultHook.store(pfnHook);
}

void *KernelHeapAlloc(size_t nCount, size_t nSize, int, const char *) {
    size_t bytes = 0;
    if (__builtin_mul_overflow(nCount, nSize, &bytes)) return nullptr;
    if (kernel::FaultWanted(KERNEL_FAULT_ALLOCATE)) return nullptr;
    return std::malloc(bytes != 0 ? bytes : 1);
}

void *KernelHeapRealloc(void *pBlock, size_t nSize, int, const char *) {
    if (kernel::FaultWanted(KERNEL_FAULT_ALLOCATE)) return nullptr;
    return std::realloc(pBlock, nSize != 0 ? nSize : 1);
}

void KernelHeapFree(void *pBlock, int, const char *) {
    std::free(pBlock);
}

void *KernelAlloc(size_t nCount, size_t nSize, int, const char *) {
    size_t bytes = 0;
    size_t total = 0;
    if (__builtin_mul_overflow(nCount, nSize, &bytes)) return nullptr;
    if (__builtin_add_overflow(bytes, sizeof(SizeHeader), &total)) return nullptr;
    if (kernel::FaultWanted(KERNEL_FAULT_ALLOCATE)) return nullptr;
    auto *header = static_cast<SizeHeader *>(std::malloc(total));
    if (header == nullptr) return nullptr;
    header->bytes = bytes;
    return header + 1;
}

void *KernelRealloc(void *pBlock, size_t nSize, int nLine, const char *pszFile) {
    if (pBlock == nullptr) return KernelAlloc(1, nSize, nLine, pszFile);
    size_t total = 0;
    if (__builtin_add_overflow(nSize, sizeof(SizeHeader), &total)) return nullptr;
    if (kernel::FaultWanted(KERNEL_FAULT_ALLOCATE)) return nullptr;
    auto *header = static_cast<SizeHeader *>(std::realloc(HeaderOf(pBlock), total));
    if (header == nullptr) return nullptr;
    header->bytes = nSize;
    return header + 1;
}

void KernelFree(void *pBlock, int, const char *) {
    if (pBlock != nullptr) std::free(HeaderOf(pBlock));
}

size_t KernelMemSize(const void *pBlock) {
    return pBlock != nullptr ? HeaderOf(const_cast<void *>(pBlock))->bytes : 0;
}

int KernelMemCompare(const void *pFirst, const void *pSecond, size_t nBytes) {
    return std::memcmp(pFirst, pSecond, nBytes);
}

void KernelMemCopy(void *pTarget, const void *pSource, size_t nBytes) {
    std::memcpy(pTarget, pSource, nBytes);
}

void KernelMemSet(void *pTarget, int nValue, size_t nBytes) {
    std::memset(pTarget, nValue, nBytes);
}

} // extern "C"
