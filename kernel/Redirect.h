// The file functions that stand in for the system's, for one thread.

#pragma once

#include "Mvkrnx.h"

namespace kernel {

/** All null while the thread uses real files. */
extern constinit thread_local KERNEL_IO threadIo;

inline bool IsRedirected() {
    return __builtin_expect(threadIo.pfnOpen != nullptr, 0);
}

M_HFILE__ *RedirectedOpen(const char *path, int flags, int permissions);
int64_t RedirectedRead(M_HFILE__ *file, void *buffer, size_t bytes, uint64_t offset);
int64_t RedirectedWrite(M_HFILE__ *file, const void *buffer, size_t bytes, uint64_t offset);
int64_t RedirectedLength(M_HFILE__ *file);
void RedirectedClose(M_HFILE__ *file);

} // namespace kernel
