// File operations that go to functions of the caller: a position is a seek in front of the
// operation.

#include "Redirect.h"

#include <limits>
#include <utility>

namespace kernel {

constinit thread_local KERNEL_IO threadIo{};

namespace {

enum SeekOrigin { kFromStart = 0, kFromEnd = 2 };

intptr_t NumberOf(M_HFILE__ *file) {
    return reinterpret_cast<intptr_t>(file);
}

bool SeekTo(M_HFILE__ *file, uint64_t offset) {
    if (offset > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) return false;
    if (threadIo.pfnSeek == nullptr) return false;
    return threadIo.pfnSeek(NumberOf(file), static_cast<int64_t>(offset), kFromStart,
                            threadIo.pSeekData) == static_cast<int64_t>(offset);
}

} // namespace

M_HFILE__ *RedirectedOpen(const char *path, int flags, int permissions) {
    if (flags & KERNEL_OPEN_CREATE) flags |= KERNEL_IO_TRUNCATE;
    const intptr_t number = threadIo.pfnOpen(path, flags, permissions, threadIo.pOpenData);
    return number < 0 ? KERNEL_NO_FILE : reinterpret_cast<M_HFILE__ *>(number);
}

int64_t RedirectedRead(M_HFILE__ *file, void *buffer, size_t bytes, uint64_t offset) {
    if (threadIo.pfnRead == nullptr || !SeekTo(file, offset)) return -1;
    return threadIo.pfnRead(NumberOf(file), buffer, bytes, threadIo.pReadData);
}

int64_t RedirectedWrite(M_HFILE__ *file, const void *buffer, size_t bytes, uint64_t offset) {
    if (threadIo.pfnWrite == nullptr || !SeekTo(file, offset)) return -1;
    return threadIo.pfnWrite(NumberOf(file), buffer, bytes, threadIo.pWriteData);
}

int64_t RedirectedLength(M_HFILE__ *file) {
    if (threadIo.pfnSeek == nullptr) return -1;
    return threadIo.pfnSeek(NumberOf(file), 0, kFromEnd, threadIo.pSeekData);
}

void RedirectedClose(M_HFILE__ *file) {
    if (threadIo.pfnClose != nullptr) threadIo.pfnClose(NumberOf(file), threadIo.pCloseData);
}

} // namespace kernel

extern "C" int32_t KernelRedirectIO(KERNEL_IO *pIo) {
    if (pIo == nullptr) return KERNEL_ERROR_ARGUMENT;
    std::swap(*pIo, kernel::threadIo);
    return KERNEL_SUCCESS;
}
