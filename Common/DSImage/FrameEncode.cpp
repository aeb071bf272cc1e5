// Encoders of a frame: native, RLE and JPEG. They take a bitmap whose rows are in their final form
// and give a block of KernelAlloc.

#include <algorithm>
#include <cstring>
#include <memory>

#include "Common/DSImage/RleCodec.h"
#include "Common/System/Companions.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Status.h"
#include "MDicomDS.h"
#include "companions/MFCMPX/MFCMPX.h"

using namespace mdicom;

namespace {

struct KernelFreer {
    void operator()(uint8_t *block) const { KernelFree(block, 0, nullptr); }
};
using KernelBlock = std::unique_ptr<uint8_t[], KernelFreer>;

KernelBlock MakeKernelBlock(uint64_t bytes) {
    return KernelBlock(static_cast<uint8_t *>(KernelAlloc(1, bytes, 0, nullptr)));
}

/** Bytes of a row without padding. */
size_t RowBytes(const _BITMAPHANDLE &bitmap) {
    return (static_cast<size_t>(bitmap.nWidth) * static_cast<size_t>(bitmap.nBitsPerPixel) + 7) / 8;
}

/** Bytes of all rows; nothing for a frame that no element holds. */
std::optional<uint32_t> FrameBytes(const _BITMAPHANDLE &bitmap) {
    const uint64_t bytes = uint64_t{RowBytes(bitmap)} * static_cast<uint64_t>(bitmap.nHeight);
    if (bytes > 0xFFFFFFFD) return std::nullopt;
    return static_cast<uint32_t>(bytes);
}

void GatherRows(const _BITMAPHANDLE &bitmap, uint8_t *target) {
    const size_t rowBytes = RowBytes(bitmap);
    const uint8_t *row = KernelLendBitmapRow(&bitmap, 0);
    if (rowBytes == bitmap.nBytesPerLine) {
        std::memcpy(target, row, rowBytes * static_cast<size_t>(bitmap.nHeight));
        return;
    }
    for (int32_t i = 0; i < bitmap.nHeight; ++i, row += bitmap.nBytesPerLine, target += rowBytes) {
        std::memcpy(target, row, rowBytes);
    }
}

/** Every count-th byte of a bitmap's rows, from one on. */
void GatherPlane(const _BITMAPHANDLE &bitmap, size_t first, size_t count, uint8_t *target) {
    const uint8_t *row = KernelLendBitmapRow(&bitmap, 0);
    const size_t width = RowBytes(bitmap) / count;
    for (int32_t i = 0; i < bitmap.nHeight; ++i, row += bitmap.nBytesPerLine, target += width) {
        const uint8_t *from = row + first;
        switch (count) {
            case 1:
                std::memcpy(target, from, width);
                break;
            case 2:
                for (size_t x = 0; x < width; ++x) target[x] = from[2 * x];
                break;
            default:
                for (size_t x = 0; x < width; ++x) target[x] = from[count * x];
        }
    }
}

/** Dots per inch as pixels per metre. */
int32_t PerMetre(int32_t resolution) {
    return static_cast<int32_t>((int64_t{resolution} * 10000 + 127) / 254);
}

_MFCMPXBITMAP HeaderOf(const _BITMAPHANDLE &bitmap) {
    _MFCMPXBITMAP header{};
    header.nSize = sizeof header;
    header.nWidth = bitmap.nWidth;
    header.nHeight = -bitmap.nHeight;
    header.nPlanes = 1;
    header.nBitCount = static_cast<uint16_t>(bitmap.nBitsPerPixel);
    header.nImageSize = bitmap.nBytesPerLine * static_cast<uint32_t>(bitmap.nHeight);
    header.nXPelsPerMeter = PerMetre(bitmap.nXResolution);
    header.nYPelsPerMeter = PerMetre(bitmap.nYResolution);
    return header;
}

} // namespace

uint16_t MDicomDS::EncodeNONE(uint8_t **ppData, _BITMAPHANDLE *pBitmap, uint32_t *pSize) {
    const std::optional<uint32_t> bytes = FrameBytes(*pBitmap);
    if (!bytes || KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    KernelBlock frame = MakeKernelBlock(*bytes);
    if (!frame) return DICOM_ERROR_MEMORY;
    GatherRows(*pBitmap, frame.get());
    *pSize = *bytes;
    *ppData = frame.release();
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::EncodeRLE(uint8_t **ppData, _BITMAPHANDLE *pBitmap, uint32_t *pSize) {
    const std::optional<uint32_t> bytes = FrameBytes(*pBitmap);
    if (!bytes || KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    const size_t planes = std::max(pBitmap->nBitsPerPixel / 8, 1);
    const size_t planeBytes = *bytes / planes;
    const uint64_t most = kRleHeaderSize + planes * MostRleBytes(planeBytes);
    if (most > 0xFFFFFFFD) return DICOM_ERROR_IMAGE;
    KernelBlock frame = MakeKernelBlock(most);
    const auto plane = MakeDataBlock<uint8_t>(planeBytes);
    if (!frame || !plane) return DICOM_ERROR_MEMORY;
    std::memset(frame.get(), 0, kRleHeaderSize);
    Store32(frame.get(), static_cast<uint32_t>(planes), true);
    uint8_t *end = frame.get() + kRleHeaderSize;
    const bool isWords = pBitmap->nBitsPerPixel == 16;
    for (size_t i = 0; i < planes; ++i) {
        Store32(frame.get() + 4 * (i + 1), static_cast<uint32_t>(end - frame.get()), true);
        // The most significant byte of a sample comes first; components come in their order.
        GatherPlane(*pBitmap, isWords ? planes - 1 - i : i, planes, plane.get());
        end = PackRle({plane.get(), planeBytes}, end);
    }
    *pSize = static_cast<uint32_t>(end - frame.get());
    *ppData = frame.release();
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::EncodeJPEG(uint8_t **ppData, _BITMAPHANDLE *pBitmap, int32_t nQuality,
                              uint32_t *pSize) {
    constexpr uint64_t kHeaders = 4096;
    constexpr int32_t kMode = 10;
    const auto save = reinterpret_cast<decltype(&fltSaveBuffer)>(
        CompanionFunction(Companion::Compression, "fltSaveBuffer"));
    if (save == nullptr) return DICOM_ERROR_WRITE;
    if (KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    const uint64_t rows =
        uint64_t{pBitmap->nBytesPerLine} * static_cast<uint64_t>(pBitmap->nHeight);
    const uint64_t room = rows * 2 + kHeaders;
    if (room > 0xFFFFFFFD) return DICOM_ERROR_IMAGE;
    KernelBlock stream = MakeKernelBlock(room);
    if (!stream) return DICOM_ERROR_MEMORY;
    const _MFCMPXBITMAP header = HeaderOf(*pBitmap);
    const bool isPlain = m_pExtra != nullptr && m_pExtra->bCodecFlag != 0;
    auto size = static_cast<uint32_t>(room);
    const int32_t result =
        save(KernelLendBitmapRow(pBitmap, 0), &header, stream.get(), &size, nQuality,
             isPlain ? uint32_t{MFCMPX_SAVE_RGB} : 0, kMode, nullptr, nullptr);
    if (result == MFCMPX_ERROR_MEMORY) return DICOM_ERROR_MEMORY;
    if (result != MFCMPX_SUCCESS) return DICOM_ERROR_IMAGE;
    *pSize = size;
    *ppData = stream.release();
    return DICOM_SUCCESS;
}
