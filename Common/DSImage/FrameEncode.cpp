// Encoders of frames: native, RLE and JPEG.

#include "Common/DSImage/FrameEncode.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "Common/DSImage/BitRuns.h"
#include "Common/DSImage/RleCodec.h"
#include "Common/System/Companions.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"
#include "companions/MFCMPX/MFCMPX.h"

namespace mdicom {

namespace {

constexpr uint64_t kLongestFrame = 0xFFFFFFFD;

/** Bytes of a pixel's sample; of a row of bits, one. */
size_t SampleBytesOf(const FrameView &frame) {
    return std::max(frame.layout.sampleBytes, 1u);
}

/** Bytes of a segment. */
uint64_t PlaneBytes(const FrameView &frame) {
    const uint64_t pixels = uint64_t{frame.columns} * frame.rows;
    return frame.layout.rowBits != 0 ? (pixels + 7) / 8 : pixels;
}

template <size_t Bytes>
void CopyStrided(const uint8_t *from, size_t fromStride, uint8_t *to, size_t toStride,
                 size_t count) {
    for (size_t i = 0; i < count; ++i, from += fromStride, to += toStride) {
        std::memcpy(to, from, Bytes);
    }
}

using Copy = void (*)(const uint8_t *, size_t, uint8_t *, size_t, size_t);

Copy CopyOf(size_t sampleBytes) {
    return sampleBytes == 1 ? CopyStrided<1> : sampleBytes == 2 ? CopyStrided<2> : CopyStrided<4>;
}

/** Rows of bits without anything between them, as other systems have them in a segment. */
void GatherBits(const FrameView &frame, std::span<uint8_t> target) {
    std::fill(target.begin(), target.end(), uint8_t{0});
    for (uint32_t row = 0; row < frame.rows; ++row) {
        StoreBits(frame.data + row * frame.layout.rowStride, frame.columns, target,
                  uint64_t{row} * frame.columns);
    }
}

/** Dots per inch as pixels per metre. */
int32_t PerMetre(int32_t resolution) {
    return static_cast<int32_t>((int64_t{resolution} * 10000 + 127) / 254);
}

/** Bytes of a row without padding. */
size_t RowBytes(const _BITMAPHANDLE &bitmap) {
    return (static_cast<size_t>(bitmap.nWidth) * static_cast<size_t>(bitmap.nBitsPerPixel) + 7) / 8;
}

/** The rows of a bitmap as samples in the order in which they stand. */
FrameView ViewOf(const _BITMAPHANDLE &bitmap) {
    FrameView view{KernelLendBitmapRow(&bitmap, 0),
                   {},
                   static_cast<uint32_t>(bitmap.nWidth),
                   static_cast<uint32_t>(bitmap.nHeight),
                   1};
    FrameLayout &layout = view.layout;
    layout.rowStride = bitmap.nBytesPerLine;
    if (bitmap.nBitsPerPixel == 1) {
        layout.rowBits = 1;
        return view;
    }
    const bool isColor = bitmap.nBitsPerPixel == 24;
    view.samples = isColor ? 3 : 1;
    layout.sampleBytes = isColor ? 1 : static_cast<uint32_t>(bitmap.nBitsPerPixel) / 8;
    layout.pixelStride = view.samples * layout.sampleBytes;
    for (size_t i = 0; i < view.samples; ++i) layout.components[i] = i;
    return view;
}

/** Packs the segments of one component. */
uint8_t *PackComponent(const FrameView &frame, size_t component, uint8_t *header, uint8_t *end) {
    const size_t bytes = SampleBytesOf(frame);
    for (size_t i = 0; i < bytes; ++i) {
        const size_t segment = component * bytes + i;
        Store32(header + 4 * (segment + 1), static_cast<uint32_t>(end - header), true);
        const uint8_t *row = frame.data + frame.layout.components[component] + (bytes - 1 - i);
        RlePacker packer(end);
        for (uint32_t y = 0; y < frame.rows; ++y, row += frame.layout.rowStride) {
            packer.Add(row, frame.layout.pixelStride, frame.columns);
        }
        end = packer.Finish();
    }
    return end;
}

/** Packs the only segment of a frame of bits; null when memory is short. */
uint8_t *PackBits(const FrameView &frame, uint8_t *header, uint8_t *end) {
    const uint64_t planeBytes = PlaneBytes(frame);
    const auto plane = MakeDataBlock<uint8_t>(planeBytes);
    if (!plane) return nullptr;
    GatherBits(frame, {plane.get(), planeBytes});
    Store32(header + 4, kRleHeaderSize, true);
    return PackRle({plane.get(), planeBytes}, end);
}

} // namespace

void RearrangeFrame(const FrameView &frame, const FrameLayout &layout, uint8_t *target) {
    const Copy copy = CopyOf(layout.sampleBytes);
    const bool isTight = frame.layout.pixelStride == layout.pixelStride &&
                         frame.layout.components == layout.components;
    for (uint32_t row = 0; row < frame.rows; ++row) {
        const uint8_t *from = frame.data + row * frame.layout.rowStride;
        uint8_t *to = target + row * layout.rowStride;
        if (isTight) {
            std::memcpy(to, from, frame.columns * layout.pixelStride);
            continue;
        }
        for (uint32_t i = 0; i < frame.samples; ++i) {
            copy(from + frame.layout.components[i], frame.layout.pixelStride,
                 to + layout.components[i], layout.pixelStride, frame.columns);
        }
    }
}

Status EncodeRleFrame(const FrameView &frame, EncodedFrame &encoded) {
    const size_t planes = frame.samples * SampleBytesOf(frame);
    const uint64_t planeBytes = PlaneBytes(frame);
    const uint64_t most = kRleHeaderSize + planes * uint64_t{MostRleBytes(planeBytes)};
    if (planes > kMostRleSegments || most > kLongestFrame) return DICOM_ERROR_IMAGE;
    kernel::Block<uint8_t> block = kernel::MakeBlock<uint8_t>(most);
    if (!block) return DICOM_ERROR_MEMORY;
    std::memset(block.get(), 0, kRleHeaderSize);
    Store32(block.get(), static_cast<uint32_t>(planes), true);
    uint8_t *end = block.get() + kRleHeaderSize;
    if (frame.layout.rowBits != 0) {
        end = PackBits(frame, block.get(), end);
        if (end == nullptr) return DICOM_ERROR_MEMORY;
    }
    for (size_t i = 0; frame.layout.rowBits == 0 && i < frame.samples; ++i) {
        end = PackComponent(frame, i, block.get(), end);
    }
    encoded.size = static_cast<uint32_t>(end - block.get());
    encoded.bytes = std::move(block);
    return DICOM_SUCCESS;
}

Status EncodeJpegFrame(const uint8_t *rows, uint32_t columns, uint32_t height,
                       const JpegRequest &request, EncodedFrame &encoded) {
    constexpr uint64_t kHeaders = 4096;
    constexpr int32_t kMode = 10;
    const auto save = reinterpret_cast<decltype(&fltSaveBuffer)>(
        CompanionFunction(Companion::Compression, "fltSaveBuffer"));
    if (save == nullptr) return DICOM_ERROR_WRITE;
    const uint64_t rowBytes =
        PaddedRow((uint64_t{columns} * static_cast<uint32_t>(request.depth) + 7) / 8);
    const uint64_t room = rowBytes * height * 2 + kHeaders;
    if (room > kLongestFrame) return DICOM_ERROR_IMAGE;
    kernel::Block<uint8_t> stream = kernel::MakeBlock<uint8_t>(room);
    if (!stream) return DICOM_ERROR_MEMORY;
    _MFCMPXBITMAP header{};
    header.nSize = sizeof header;
    header.nWidth = static_cast<int32_t>(columns);
    header.nHeight = -static_cast<int32_t>(height);
    header.nPlanes = 1;
    header.nBitCount = static_cast<uint16_t>(request.depth);
    header.nImageSize = static_cast<uint32_t>(rowBytes * height);
    header.nXPelsPerMeter = PerMetre(request.xResolution);
    header.nYPelsPerMeter = PerMetre(request.yResolution);
    auto size = static_cast<uint32_t>(room);
    const int32_t result =
        save(rows, &header, stream.get(), &size, request.quality,
             request.plain ? uint32_t{MFCMPX_SAVE_RGB} : 0, kMode, nullptr, nullptr);
    if (result == MFCMPX_ERROR_MEMORY) return DICOM_ERROR_MEMORY;
    if (result != MFCMPX_SUCCESS) return DICOM_ERROR_IMAGE;
    encoded.size = size;
    encoded.bytes = std::move(stream);
    return DICOM_SUCCESS;
}

} // namespace mdicom

using namespace mdicom;

namespace {

/** Hands an encoded frame to a caller that knows blocks alone. */
Status HandOut(Status status, EncodedFrame &encoded, uint8_t **data, uint32_t *size) {
    if (status != DICOM_SUCCESS) return status;
    *size = encoded.size;
    *data = encoded.bytes.release();
    return DICOM_SUCCESS;
}

} // namespace

uint16_t MDicomDS::EncodeNONE(uint8_t **ppData, _BITMAPHANDLE *pBitmap, uint32_t *pSize) {
    if (KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    const size_t rowBytes = RowBytes(*pBitmap);
    const uint64_t bytes = uint64_t{rowBytes} * static_cast<uint64_t>(pBitmap->nHeight);
    if (bytes > kLongestFrame) return DICOM_ERROR_IMAGE;
    EncodedFrame frame{kernel::MakeBlock<uint8_t>(bytes), static_cast<uint32_t>(bytes)};
    if (!frame.bytes) return DICOM_ERROR_MEMORY;
    const uint8_t *row = KernelLendBitmapRow(pBitmap, 0);
    for (int32_t i = 0; i < pBitmap->nHeight; ++i, row += pBitmap->nBytesPerLine) {
        std::memcpy(frame.bytes.get() + static_cast<size_t>(i) * rowBytes, row, rowBytes);
    }
    return HandOut(DICOM_SUCCESS, frame, ppData, pSize);
}

uint16_t MDicomDS::EncodeRLE(uint8_t **ppData, _BITMAPHANDLE *pBitmap, uint32_t *pSize) {
    if (KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    EncodedFrame frame;
    const Status status = EncodeRleFrame(ViewOf(*pBitmap), frame);
    return HandOut(status, frame, ppData, pSize);
}

uint16_t MDicomDS::EncodeJPEG(uint8_t **ppData, _BITMAPHANDLE *pBitmap, int32_t nQuality,
                              uint32_t *pSize) {
    if (KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    const bool isPlain = m_pExtra != nullptr && m_pExtra->bCodecFlag != 0;
    EncodedFrame frame;
    const Status status = EncodeJpegFrame(
        KernelLendBitmapRow(pBitmap, 0), static_cast<uint32_t>(pBitmap->nWidth),
        static_cast<uint32_t>(pBitmap->nHeight),
        {pBitmap->nBitsPerPixel, nQuality, isPlain, pBitmap->nXResolution, pBitmap->nYResolution},
        frame);
    return HandOut(status, frame, ppData, pSize);
}
