// Pictures through the host of the JPEG 2000 codec and back.

#pragma once

#include <functional>

#include "Common/CompUtil/EmbeddedCompression.h"
#include "MDicom.h"
#include "MDicomDS.h"
#include "support/Bitmaps.h"

namespace mdicom {

/** What the tests see of a data set's inside. */
struct DataSetAccess {
    static uint16_t Locate(MDicomDS &ds, _DICOMELEMENT *pixels, _IMAGEINFO *info, uint32_t frame) {
        return ds.GetInfoImage(pixels, info, frame, 0);
    }
    static uint16_t Decode(MDicomDS &ds, _IMAGEINFO *info, std::vector<uint8_t> &buffer) {
        return ds.DecodeJ2K(info, buffer.data(), static_cast<uint32_t>(buffer.size()));
    }
    static uint16_t Encode(MDicomDS &ds, uint8_t **data, _BITMAPHANDLE *bitmap, int32_t quality,
                           uint32_t *size, bool lossless) {
        return ds.EncodeJ2K(data, bitmap, quality, size, lossless ? 1 : 0);
    }
};

} // namespace mdicom

struct Bitmap : TestBitmap {
    Bitmap(int32_t width, int32_t height, int32_t depth, bool isSigned = false, int32_t order = -1)
        : TestBitmap(width, height, depth, order < 0 ? OrderOf(depth) : order) {
        if (isSigned) nBitmapFlags |= KERNEL_BITMAP_SIGNED;
    }

    ::Bytes Rows() const { return RowsOf(*this); }
    void Paint(uint32_t bits, uint32_t number = 0) { DrawWave(*this, bits, number); }
};

inline _FILEJ2KOPTIONS DefaultOptions() {
    MDicomDS ds(nullptr);
    return ds.m_pExtra->J2KOptions;
}

/** Encodes; an empty stream after a failure. */
inline Bytes Encode(Bitmap &bitmap, int32_t quality, _FILEJ2KOPTIONS options,
                    int32_t *result = nullptr) {
    MEMORYSAVEREQUEST request{};
    request.nSize = sizeof request;
    request.pBitmap = &bitmap;
    request.nFormat = kFileFormatJ2k;
    request.nBitsPerPixel = bitmap.nBitsPerPixel;
    request.nQuality = quality;
    request.pOptions = &options;
    CEmbeddedCompressionBase codec;
    uint8_t *data = nullptr;
    uint64_t size = 0;
    const int32_t code = codec.SaveMemory(&data, &size, &request);
    if (result != nullptr) *result = code;
    Bytes stream(data, data + size);
    KernelFree(data, 0, nullptr);
    return stream;
}

/** How a stream is to be decoded into a bitmap; bits is the depth that the description tells. */
struct LoadRequest : MEMORYLOADREQUEST {
    explicit LoadRequest(Bitmap &bitmap, int32_t bits) : MEMORYLOADREQUEST{} {
        info.nFormat = kFileFormatJ2k;
        info.nWidth = bitmap.nWidth;
        info.nHeight = bitmap.nHeight;
        info.nBitsPerPixel = bits;
        info.nOrder = bitmap.nOrder;
        info.nViewPerspective = 1;
        nSize = sizeof(MEMORYLOADREQUEST);
        pBitmap = &bitmap;
        nBitmapSize = sizeof(_BITMAPHANDLE);
        nFlags = MEMORYLOAD_BITMAP_ALLOCATED;
        pFileInfo = &info;
    }

    _FILEINFO info{};
};

/** Decodes into an existing bitmap. */
inline int32_t Decode(const Bytes &stream, Bitmap &bitmap, int32_t bits) {
    LoadRequest request(bitmap, bits);
    return CEmbeddedCompressionBase().LoadMemory(stream.data(), stream.size(), &request);
}
