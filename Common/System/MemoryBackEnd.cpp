// The memory back end of MDicomFile: one block, resized by exactly what each write needs.

#include <cstring>

#include "MDicomFile.h"
#include "Mvkrnx.h"

int32_t MDicomFile::WriteMemory(const void *pBuffer, uint32_t nBytes) {
    uint64_t end = 0;
    if (__builtin_add_overflow(nPosition, uint64_t{nBytes}, &end)) return 0;
    if (end > nLength) {
        if (nFlags & FILE_MODE_EXTERNAL) return 0;
        if (pData == nullptr) {
            nPosition = 0;
            end = nBytes;
        }
        auto *block = static_cast<uint8_t *>(KernelRealloc(pData, end, __LINE__, nullptr));
        if (block == nullptr) return 0;
        // A write behind the end leaves a gap, which reads as zeros.
        if (nPosition > nLength) std::memset(block + nLength, 0, nPosition - nLength);
        pData = block;
        nLength = end;
    }
    std::memcpy(pData + nPosition, pBuffer, nBytes);
    nPosition = end;
    return 1;
}

int32_t MDicomFile::TruncateMemory() {
    if (nFlags & FILE_MODE_NO_TRUNCATE) return 0;
    if (pData == nullptr) return 1;
    if (nFlags & FILE_MODE_EXTERNAL) return 0;
    if (nPosition > 0) {
        auto *block = static_cast<uint8_t *>(KernelRealloc(pData, nPosition, __LINE__, nullptr));
        if (block == nullptr) return 0;
        if (nPosition > nLength) std::memset(block + nLength, 0, nPosition - nLength);
        pData = block;
    } else {
        KernelFree(pData, __LINE__, nullptr);
        pData = nullptr;
    }
    nLength = nPosition;
    return 1;
}
