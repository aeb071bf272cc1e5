// Encodes the frames of a data set anew: decoding, and the samples that the encoders want.

#include "Common/DSImage/FrameTranscoder.h"

#include <algorithm>
#include <cstring>

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/BitRuns.h"
#include "Common/DSImage/Compression.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameLoader.h"
#include "Common/DSImage/JpegPhotometric.h"
#include "Common/DSImage/ScopedBitmap.h"
#include "Common/DSImage/Ybr.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

namespace mdicom {

uint8_t *FrameBuffer::Get(uint64_t bytes) {
    if (bytes > m_Size || !m_Bytes) {
        m_Bytes = MakeDataBlock<uint8_t>(bytes);
        m_Size = m_Bytes ? bytes : 0;
    }
    return m_Bytes.get();
}

Status FrameTranscoder::Add(_DICOMELEMENT *pixelData) {
    Status status = Prepare(pixelData);
    if (status == DICOM_SUCCESS) status = CheckImage();
    if (status == DICOM_SUCCESS) status = TranscodeFrames();
    if (status == DICOM_SUCCESS) status = FinishFrames();
    if (status == DICOM_SUCCESS) status = StageAttributes();
    if (status == DICOM_SUCCESS) status = MakePlaces(m_Change);
    if (status == DICOM_SUCCESS) m_Changes.push_back(m_Change);
    return status;
}

Status FrameTranscoder::Prepare(_DICOMELEMENT *pixelData) {
    constexpr uint32_t kHolder = 0x7FE0000F;
    const Status status = m_DataSet.GetInfoImage(pixelData, &m_Image, 0, 0);
    if (status != DICOM_SUCCESS) return status;
    SettleBits(m_Image);
    m_Result = m_Image;
    m_StreamPhotometric.clear();
    m_SourceBytes = m_EncodedBytes = m_WrittenBits = 0;
    m_RestBits = 0;
    m_HasBitPlaneOverlay = FindBitPlaneOverlay();
    if (m_Holder == nullptr) m_Holder = m_DataSet.InsertElement(nullptr, 0, kHolder, vr::SQ, 1, 0);
    if (m_Holder == nullptr) return DICOM_ERROR_MEMORY;
    m_Change.old = pixelData;
    m_Change.item = m_DataSet.InsertElement(m_Holder, 1, TAG_ITEM, 0, 1, 0xFFFFFFFF);
    if (m_Change.item == nullptr) return DICOM_ERROR_MEMORY;
    const bool isCompressed = m_Compression != IMAGE_COMPRESSION_NONE;
    const bool isBytes = isCompressed || m_Image.nBitsAllocated <= 8;
    m_Change.pixelData = m_DataSet.InsertElement(m_Change.item, 1, TAG_PIXEL_DATA,
                                                 isBytes ? vr::OB : vr::OW, isCompressed, 0);
    return m_Change.pixelData != nullptr ? DICOM_SUCCESS : DICOM_ERROR_MEMORY;
}

/** What the new compression cannot hold, and what no decoder reads. */
Status FrameTranscoder::CheckImage() const {
    if (m_Image.nSamplesPerPixel > 4 || m_Image.nBitsAllocated > 32 || m_Image.nHighBit >= 32) {
        return DICOM_ERROR_FORMAT;
    }
    const uint32_t source = m_Image.nCompression;
    if (IsJpegLs(source)) return DICOM_ERROR_COMPRESSION;
    if (!HasCodec(source)) return DICOM_ERROR_FAILURE;
    if (m_Compression <= IMAGE_COMPRESSION_RLE) return DICOM_SUCCESS;
    if (m_Image.nBitsAllocated == 1) return DICOM_ERROR_COMPRESSION;
    const bool isColor = m_Image.nSamplesPerPixel == 3;
    if (m_Image.nBitsAllocated == 32 || (!isColor && m_Image.nSamplesPerPixel != 1)) {
        return DICOM_ERROR_PARAMETER;
    }
    const bool isPalette = m_Image.nPhotometric == PHOTOMETRIC_PALETTE_COLOR;
    if (isPalette && IsLossy(m_Compression)) return DICOM_ERROR_PHOTOMETRIC;
    if (isColor && IsJ2k(m_Compression) && m_Image.nBitsAllocated > 8) return DICOM_ERROR_PARAMETER;
    return m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY ? CheckLossyJpeg() : Status{DICOM_SUCCESS};
}

/** Samples of up to 8 bits, or gray of 12; a sign would lie in the middle of the values. */
Status FrameTranscoder::CheckLossyJpeg() const {
    const bool isColor = m_Image.nSamplesPerPixel == 3;
    const uint32_t bits = m_Image.nBitsStored;
    const bool fits = bits <= 8 || (bits == 12 && !isColor);
    const bool isSigned = m_Image.nPixelRepresentation != 0 && !isColor;
    return fits && !isSigned ? DICOM_SUCCESS : DICOM_ERROR_PARAMETER;
}

Status FrameTranscoder::TranscodeFrames() {
    for (uint32_t frame = 0; frame < m_Image.nFrameCount; ++frame) {
        Status status = Decode(frame);
        if (status == DICOM_SUCCESS) status = Encode();
        if (status != DICOM_SUCCESS) return status;
    }
    return DICOM_SUCCESS;
}

/** The frame's samples, in whatever layout its decoder makes. */
Status FrameTranscoder::Decode(uint32_t frame) {
    m_Frame = m_Image;
    m_Frame.pFrameElement = nullptr;
    Status status = m_DataSet.LocateFrame(m_Change.old, &m_Frame, frame);
    if (status != DICOM_SUCCESS) return status;
    if (m_Frame.pFrameElement->nLength == 0) return DICOM_ERROR_IMAGE;
    status = DecodeSamples();
    if (status == DICOM_ERROR_JPEG_COLOR && m_Frame.nBitsAllocated == 8) {
        FrameLoader::BecomeColor(m_Frame);
        status = DecodeSamples();
    }
    if (status != DICOM_SUCCESS) return status;
    if (m_View.layout.rowBits == 12) status = Unpack();
    if (status == DICOM_SUCCESS && m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY) {
        status = ReduceSamples();
    }
    m_Result.nSamplesPerPixel = m_Frame.nSamplesPerPixel;
    m_Result.nPhotometric = m_Frame.nPhotometric;
    // A codestream may be deeper than the attributes tell.
    if (m_Frame.nBitsStored > m_Result.nBitsStored) {
        m_Result.nBitsStored = m_Frame.nBitsStored;
        m_Result.nHighBit = m_Frame.nHighBit;
    }
    m_SourceBytes += m_Frame.nFrameSize;
    return status;
}

Status FrameTranscoder::DecodeSamples() {
    const std::optional<FrameLayout> layout = LayoutOf(m_Frame);
    if (!layout) return DICOM_ERROR_FORMAT;
    if (layout->bytes > 0xFFFFFFFF) return DICOM_ERROR_IMAGE;
    if (FrameLoader::IsHollow(m_DataSet, m_Frame)) return DICOM_ERROR_IMAGE;
    uint8_t *target = m_Decoded.Get(layout->bytes);
    if (target == nullptr) return DICOM_ERROR_MEMORY;
    if (!FrameLoader::FillsLayout(m_Frame, *layout)) std::memset(target, 0, layout->bytes);
    m_View = {target, *layout, m_Frame.nColumns, m_Frame.nRows, m_Frame.nSamplesPerPixel};
    const bool isJ2k = IsJ2k(m_Frame.nCompression);
    if (isJ2k && m_Frame.nSamplesPerPixel == 3 && m_Frame.nBitsAllocated > 8) {
        return DICOM_ERROR_PARAMETER;
    }
    return FrameLoader::DecodeFrame(m_DataSet, m_Frame, *layout, {target, layout->bytes});
}

/** Gives packed samples of 12 bits words. */
Status FrameTranscoder::Unpack() {
    const size_t rowBytes = size_t{m_View.columns} * 2;
    uint8_t *target = m_Unpacked.Get(uint64_t{rowBytes} * m_View.rows);
    if (target == nullptr) return DICOM_ERROR_MEMORY;
    for (uint32_t row = 0; row < m_View.rows; ++row) {
        UnpackTwelve(m_View.data + row * m_View.layout.rowStride, m_View.columns,
                     target + row * rowBytes);
    }
    m_View.data = target;
    m_View.layout = TightLayout(m_Frame, 2);
    m_Result.nBitsAllocated = 16;
    return DICOM_SUCCESS;
}

/** Brings words of up to 8 stored bits to bytes, and the stored bits to the low end. */
Status FrameTranscoder::ReduceSamples() {
    const uint32_t lowBit = m_Frame.nHighBit + 1 - m_Frame.nBitsStored;
    const bool toBytes = m_Frame.nBitsStored <= 8;
    m_Result.nHighBit = m_Frame.nBitsStored - 1;
    m_Result.nBitsAllocated = toBytes ? 8 : 16;
    if (m_View.layout.sampleBytes != 2) return DICOM_SUCCESS;
    const FrameLayout words = TightLayout(m_Frame, 2);
    const FrameLayout layout = TightLayout(m_Frame, toBytes ? 1 : 2);
    uint8_t *target = m_Unpacked.Get(words.bytes);
    if (target == nullptr) return DICOM_ERROR_MEMORY;
    if (m_View.data != target) RearrangeFrame(m_View, words, target);
    const uint32_t mask = (1u << m_Frame.nBitsStored) - 1;
    for (uint64_t i = 0; i < words.bytes / 2; ++i) {
        const uint32_t value = LoadNative<uint16_t>(target + 2 * i) >> lowBit & mask;
        if (toBytes) {
            target[i] = static_cast<uint8_t>(value);
        } else {
            Store16(target + 2 * i, static_cast<uint16_t>(value), true);
        }
    }
    m_View.data = target;
    m_View.layout = layout;
    return DICOM_SUCCESS;
}

bool FrameTranscoder::IsYbr() const {
    return m_Frame.nSamplesPerPixel == 3 && (m_Frame.nPhotometric == PHOTOMETRIC_YBR_FULL ||
                                             m_Frame.nPhotometric == PHOTOMETRIC_YBR_FULL_422);
}

/** Without loss the components stay what they are. */
bool FrameTranscoder::KeepsYbr() const {
    return IsYbr() && !IsLossy(m_Compression);
}

Status FrameTranscoder::Encode() {
    EncodedFrame encoded;
    switch (m_Compression) {
        case IMAGE_COMPRESSION_NONE:
            return m_View.layout.rowBits == 1 ? AppendBits() : AppendNative();
        case IMAGE_COMPRESSION_RLE: {
            const Status status = EncodeRleFrame(m_View, encoded);
            return status == DICOM_SUCCESS ? AppendFragment(encoded) : status;
        }
        case IMAGE_COMPRESSION_JPEG_LOSSLESS:
        case IMAGE_COMPRESSION_JPEG_LOSSY:
            return EncodeJpeg();
        default:
            return EncodeJ2k();
    }
}

/** The samples as rows of a bitmap; null when memory is short. */
const uint8_t *FrameTranscoder::BitmapRows() {
    const FrameLayout layout = BitmapLayout(m_Frame, m_View.layout.sampleBytes);
    const bool isReady = layout.rowStride == m_View.layout.rowStride &&
                         layout.pixelStride == m_View.layout.pixelStride &&
                         layout.components == m_View.layout.components;
    const bool converts = IsYbr() && !KeepsYbr();
    if (isReady && !converts) return m_View.data;
    uint8_t *rows = m_Rows.Get(layout.bytes);
    if (rows == nullptr) return nullptr;
    RearrangeFrame(m_View, layout, rows);
    for (uint32_t row = 0; converts && row < m_View.rows; ++row) {
        ConvertYbrRow(rows + row * layout.rowStride, m_View.columns, YbrRange::Full);
    }
    if (converts) m_Result.nPhotometric = PHOTOMETRIC_RGB;
    return rows;
}

Status FrameTranscoder::EncodeJpeg() {
    const uint8_t *rows = BitmapRows();
    if (rows == nullptr) return DICOM_ERROR_MEMORY;
    const bool isLossy = m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY;
    int32_t depth = static_cast<int32_t>(m_View.layout.sampleBytes * m_View.samples * 8);
    if (isLossy && depth == 16) {
        const size_t wordRow = PaddedRow(size_t{m_View.columns} * 2);
        const size_t packedRow = PaddedRow((size_t{m_View.columns} * 12 + 7) / 8);
        uint8_t *packed = m_Decoded.Get(uint64_t{packedRow} * m_View.rows);
        if (packed == nullptr) return DICOM_ERROR_MEMORY;
        for (uint32_t row = 0; row < m_View.rows; ++row) {
            PackTwelve(rows + row * wordRow, 2, m_View.columns, packed + row * packedRow);
        }
        rows = packed;
        depth = 12;
    }
    const bool isPlain = m_DataSet.m_pExtra != nullptr && m_DataSet.m_pExtra->bCodecFlag != 0;
    const int32_t quality = isLossy ? std::clamp(m_Quality, 2, 255) : 0;
    EncodedFrame encoded;
    const Status status =
        EncodeJpegFrame(rows, m_View.columns, m_View.rows,
                        {depth, quality, isPlain, static_cast<int32_t>(m_Image.nXResolution),
                         static_cast<int32_t>(m_Image.nYResolution)},
                        encoded);
    if (status != DICOM_SUCCESS) return status;
    if (m_StreamPhotometric.empty()) {
        m_StreamPhotometric = JpegPhotometric({encoded.bytes.get(), encoded.size});
    }
    return AppendFragment(encoded);
}

Status FrameTranscoder::EncodeJ2k() {
    constexpr int32_t kTopLeft = 1;
    const uint8_t *rows = BitmapRows();
    if (rows == nullptr) return DICOM_ERROR_MEMORY;
    if (m_DataSet.m_pExtra == nullptr) return DICOM_ERROR_MEMORY;
    const bool isColor = m_View.samples == 3;
    const auto depth = static_cast<int32_t>(m_View.layout.sampleBytes * m_View.samples * 8);
    const int32_t order = isColor       ? KERNEL_ORDER_BGR
                          : depth == 16 ? KERNEL_ORDER_GRAY
                                        : KERNEL_ORDER_RGB;
    ScopedBitmap bitmap;
    const uint64_t bytes = BitmapLayout(m_Frame, m_View.layout.sampleBytes).bytes;
    const int32_t result =
        KernelCreateBitmap(bitmap.Get(), sizeof(_BITMAPHANDLE), KERNEL_MEMORY_CALLER,
                           static_cast<int32_t>(m_View.columns), static_cast<int32_t>(m_View.rows),
                           depth, order, nullptr, kTopLeft, const_cast<uint8_t *>(rows), bytes);
    if (result != KERNEL_SUCCESS) return DICOM_ERROR_MEMORY;
    // Bits beside the stored ones are overlays, or the stored ones do not begin at the low end:
    // then all bits of a sample are coded.
    const bool isWhole = m_Image.nHighBit + 1 != m_Image.nBitsStored || m_HasBitPlaneOverlay;
    if (!isColor && !isWhole) bitmap->nHighBit = static_cast<int32_t>(m_Image.nHighBit);
    const bool isSigned = m_Image.nPixelRepresentation != 0 && !isColor && !isWhole;
    if (isSigned) bitmap->nBitmapFlags |= KERNEL_BITMAP_SIGNED;

    _FILEJ2KOPTIONS &options = m_DataSet.m_pExtra->J2KOptions;
    const uint32_t transform = options.bUseColorTransform;
    if (KeepsYbr()) options.bUseColorTransform = 0;
    uint8_t *data = nullptr;
    EncodedFrame encoded;
    const bool isLossless = m_Compression == IMAGE_COMPRESSION_J2K_LOSSLESS;
    const int32_t quality = isLossless ? 0 : std::clamp(m_Quality, 2, 255);
    const Status status =
        m_DataSet.EncodeJ2K(&data, bitmap.Get(), quality, &encoded.size, isLossless);
    options.bUseColorTransform = transform;
    encoded.bytes.reset(data);
    return status == DICOM_SUCCESS ? AppendFragment(encoded) : status;
}

bool FrameTranscoder::FindBitPlaneOverlay() const {
    constexpr uint32_t kGroups = 16;
    for (uint32_t i = 0; i < kGroups; ++i) {
        const uint32_t group = i * 0x20000;
        const bool isThere = m_DataSet.FindFirstElement(nullptr, 0x60000010 | group, 1) != nullptr;
        const bool hasData = m_DataSet.FindFirstElement(nullptr, 0x60003000 | group, 1) != nullptr;
        if (isThere && !hasData) return true;
    }
    return false;
}

Status FrameTranscoder::AppendFragment(EncodedFrame &encoded) {
    constexpr uint32_t kLast = 0xFFFFFFFF;
    if (FirstChildOf(m_Change.pixelData) == nullptr &&
        !PrepareOffsetTable(m_DataSet, m_Change.pixelData, nullptr)) {
        return DICOM_ERROR_MEMORY;
    }
    _DICOMELEMENT *item =
        m_DataSet.InsertElement(m_Change.pixelData, 1, TAG_ITEM, vr::OB, 0, kLast);
    if (item == nullptr) return DICOM_ERROR_MEMORY;
    m_EncodedBytes += encoded.size;
    return m_DataSet.SetFileBinaryValue(item, encoded.bytes.get(), 0, encoded.size)
               ? DICOM_SUCCESS
               : DICOM_ERROR_WRITE;
}

Status FrameTranscoder::AppendNative() {
    const FrameLayout layout = TightLayout(m_Frame, m_View.layout.sampleBytes);
    const bool isReady = m_View.layout.rowStride == layout.rowStride &&
                         m_View.layout.components == layout.components &&
                         m_View.layout.pixelStride == layout.pixelStride;
    auto *frame = const_cast<uint8_t *>(m_View.data);
    if (!isReady) {
        frame = m_Rows.Get(layout.bytes);
        if (frame == nullptr) return DICOM_ERROR_MEMORY;
        RearrangeFrame(m_View, layout, frame);
    }
    return m_DataSet.InsertBinaryValue(m_Change.pixelData, frame, m_Change.pixelData->nLength,
                                       static_cast<uint32_t>(layout.bytes))
               ? DICOM_SUCCESS
               : DICOM_ERROR_WRITE;
}

/** Frames of single bits follow each other without a gap (PS 3.5, 8.1.1). */
Status FrameTranscoder::AppendBits() {
    const uint64_t shift = m_WrittenBits % 8;
    const uint64_t frameBits = uint64_t{m_View.columns} * m_View.rows;
    const uint64_t bytes = (shift + frameBits + 7) / 8;
    uint8_t *target = m_Rows.Get(bytes);
    if (target == nullptr) return DICOM_ERROR_MEMORY;
    std::memset(target, 0, bytes);
    target[0] = m_RestBits;
    for (uint32_t row = 0; row < m_View.rows; ++row) {
        StoreBits(m_View.data + row * m_View.layout.rowStride, m_View.columns, {target, bytes},
                  shift + uint64_t{row} * m_View.columns);
    }
    m_WrittenBits += frameBits;
    const uint64_t whole = (shift + frameBits) / 8;
    m_RestBits = m_WrittenBits % 8 != 0 ? target[whole] : uint8_t{0};
    if (whole == 0) return DICOM_SUCCESS;
    return m_DataSet.InsertBinaryValue(m_Change.pixelData, target, m_Change.pixelData->nLength,
                                       static_cast<uint32_t>(whole))
               ? DICOM_SUCCESS
               : DICOM_ERROR_WRITE;
}

} // namespace mdicom
