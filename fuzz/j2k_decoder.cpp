// Decodes a codestream into a frame. The first four bytes are the width, the height, the depth of
// the frame and what is known of its samples.

#include <cstdlib>
#include <cstring>

#include "Common/CompUtil/EmbeddedCompression.h"
#include "MDicomDS.h"

namespace {

constexpr size_t kChoices = 4;
constexpr int32_t kMostEdge = 64;

_FILEINFO Describe(const uint8_t *choices, int32_t bits, int32_t order) {
    _FILEINFO info{};
    info.nFormat = kFileFormatJ2k;
    info.nWidth = 1 + choices[0] % kMostEdge;
    info.nHeight = 1 + choices[1] % kMostEdge;
    info.nBitsPerPixel = bits;
    info.nOrder = order;
    info.nViewPerspective = 1;
    return info;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MDicomDS keepsCodecLoaded(nullptr);
    if (size <= kChoices) return 0;
    constexpr int32_t kDepths[] = {8, 12, 16, 24, 32, 1};
    const int32_t depth = kDepths[data[2] % std::size(kDepths)];
    const int32_t order = depth == 24                  ? KERNEL_ORDER_BGR
                          : depth == 16 || depth == 12 ? KERNEL_ORDER_GRAY
                                                       : KERNEL_ORDER_RGB;
    _FILEINFO info = Describe(data, depth == 24 ? 24 : 1 + data[3] % depth, order);
    _BITMAPHANDLE bitmap;
    if (KernelCreateBitmap(&bitmap, sizeof bitmap, KERNEL_MEMORY_OWN, info.nWidth, info.nHeight,
                           depth, order, nullptr, 1, nullptr, 0) != KERNEL_SUCCESS) {
        std::abort();
    }
    MEMORYLOADREQUEST request{};
    request.nSize = sizeof request;
    request.pBitmap = &bitmap;
    request.nBitmapSize = sizeof bitmap;
    request.nFlags = MEMORYLOAD_BITMAP_ALLOCATED;
    request.pFileInfo = &info;
    CEmbeddedCompressionBase codec;
    const int32_t result = codec.LoadMemory(data + kChoices, size - kChoices, &request);
    if (result == COMPRESSION_ERROR_NO_J2K || result == 0) std::abort();
    KernelFreeBitmap(&bitmap);
    return 0;
}
