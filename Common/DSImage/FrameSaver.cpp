// Stores one bitmap as a frame: the steps of InsertImage.

#include "Common/DSImage/FrameSaver.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <vector>

#include "Common/DS/ElementNode.h"
#include "Common/DS/Encodings.h"
#include "Common/DSImage/BitRuns.h"
#include "Common/DSImage/BitmapColors.h"
#include "Common/DSImage/Compression.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSImage/JpegPhotometric.h"
#include "Common/DSImage/PackedPixels.h"
#include "Common/DSImage/PaletteColors.h"
#include "Common/DSImage/RowCallback.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/Overlay/Overlay.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

constexpr uint32_t kTimeSlices[] = {0x00540080, 0x00540070};

/** Attributes beside Pixel Data that storing a frame may set or delete. */
constexpr uint32_t kChangingTags[] = {
    kSamplesPerPixel,
    kPhotometricInterpretation,
    kPlanarConfiguration,
    kNumberOfFrames,
    kFrameIncrementPointer,
    kRows,
    kColumns,
    kBitsAllocated,
    kBitsStored,
    kHighBit,
    kPixelRepresentation,
    kSmallestPixelValue,
    kLargestPixelValue,
    kWindowCenter,
    kWindowWidth,
    kWindowExplanation,
    kRescaleIntercept,
    kRescaleSlope,
    kRescaleType,
    kLossyImageCompression,
    kPageNumberVector,
    kExtendedOffsets,
    kExtendedLengths,
    kTimeSlices[0],
    kTimeSlices[1],
    kPaletteDescriptors[0],
    kPaletteDescriptors[1],
    kPaletteDescriptors[2],
    kPaletteTables[0],
    kPaletteTables[1],
    kPaletteTables[2],
    kPaletteSegments[0],
    kPaletteSegments[1],
    kPaletteSegments[2],
    kPaletteUid,
};
constexpr std::string_view kJpegExtended = "1.2.840.10008.1.2.4.51";

bool IsGray(int32_t photometric) {
    return photometric == PHOTOMETRIC_MONOCHROME1 || photometric == PHOTOMETRIC_MONOCHROME2;
}

/** The depth that gray of any depth is stored with. */
int32_t RoundGrayDepth(int32_t depth) {
    if (depth == 1 || depth == 32) return depth;
    return depth <= 8 ? 8 : 16;
}

void ExchangeRedAndBlue(uint8_t *row, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, row += 3) std::swap(row[0], row[2]);
}

void KeepBeside(KeptElements &old, _DICOMELEMENT *parent) {
    old.Keep(nullptr, kTagTransferSyntax);
    for (const uint32_t tag : kChangingTags) old.Keep(parent, tag);
}

void KeepLutSequences(KeptElements &old) {
    old.Keep(nullptr, kModalityLutSequence);
    old.Keep(nullptr, kVoiLutSequence);
}

} // namespace

void KeepImage(KeptElements &old, _DICOMELEMENT *parent) {
    KeepBeside(old, parent);
    if (parent != nullptr) return; // an icon has neither LUTs nor overlays
    KeepLutSequences(old);
    KeepOverlays(old);
}

FrameSaver::FrameSaver(MDicomDS &dataSet, const SaveRequest &request)
    : m_DataSet(dataSet),
      m_Request(request),
      m_PixelData(request.pixelData),
      m_Compression(request.compression),
      m_Old(dataSet, dataSet.m_pIndex) {
    if (IsNested(m_PixelData)) m_Request.flags &= ~uint32_t{DICOM_SETIMAGE_AUTO_VOI_LUT};
}

FrameSaver::~FrameSaver() {
    KernelFree(m_Data, 0, nullptr);
    m_DataSet.FreeInfoImage(&m_Stored);
}

bool FrameSaver::IsCompressed() const {
    return m_Compression != IMAGE_COMPRESSION_NONE;
}

bool FrameSaver::IsIntact() const {
    return (m_DataSet.m_nFlags & DS_KEEP_PIXEL_DATA_INTACT) != 0;
}

Status FrameSaver::Save() {
    constexpr Status (FrameSaver::*kSteps[])() = {
        &FrameSaver::CopySource,        &FrameSaver::KeepAttributes,
        &FrameSaver::SettleCompression, &FrameSaver::SettleElement,
        &FrameSaver::SettleFirstFrame,  &FrameSaver::DescribeStored,
        &FrameSaver::MatchStored,       &FrameSaver::StoreLuts,
        &FrameSaver::ConvertRows,       &FrameSaver::Encode,
        &FrameSaver::WritePhotometric,  &FrameSaver::WriteFrameAttributes,
        &FrameSaver::StoreFrame,
    };
    for (const auto step : kSteps) {
        const Status status = Guarded<Status>(DICOM_ERROR_MEMORY, [&] { return (this->*step)(); });
        if (status != DICOM_SUCCESS) {
            m_Old.Restore();
            return status;
        }
    }
    if (!IsIntact()) {
        for (const uint32_t tag : kTimeSlices) DeleteBeside(m_DataSet, m_PixelData, tag);
    }
    return DICOM_SUCCESS;
}

Status FrameSaver::KeepAttributes() {
    const bool isFirst = m_PixelData == nullptr || CountFrames(m_DataSet, m_PixelData) == 0;
    const bool automatic = (m_Request.flags & DICOM_SETIMAGE_AUTO_VOI_LUT) != 0;
    const bool overlays = (m_Request.flags & DICOM_SETIMAGE_OVERLAYS) != 0;
    _DICOMELEMENT *parent = IsNested(m_PixelData) ? ParentOf(m_PixelData) : nullptr;
    if (isFirst) {
        KeepImage(m_Old, parent);
        m_Old.Keep(parent, TAG_PIXEL_DATA);
    } else {
        KeepBeside(m_Old, parent);
        if (automatic) KeepLutSequences(m_Old);
        if (overlays) KeepOverlays(m_Old);
    }
    if (parent == nullptr && (isFirst || automatic)) {
        KeepPlace(m_Old, m_DataSet, kVoiMacro, m_Request.index);
        KeepPlace(m_Old, m_DataSet, kModalityMacro, m_Request.index);
    }
    return DICOM_SUCCESS;
}

Status FrameSaver::CopySource() {
    const Status status = CheckRequest();
    if (status != DICOM_SUCCESS) return status;
    const auto copy =
        m_Request.bitmap->nViewPerspective == 1 ? KernelCopyBitmap : KernelCopyBitmapView;
    const int32_t result = copy(m_Picture.Get(), m_Request.bitmap, sizeof(_BITMAPHANDLE));
    return result == KERNEL_SUCCESS ? DICOM_SUCCESS : DICOM_ERROR_BITMAP;
}

Status FrameSaver::CheckRequest() const {
    if (!HasCodec(m_Request.compression)) return DICOM_ERROR_COMPRESSION;
    if (m_Request.photometric < PHOTOMETRIC_MONOCHROME1 ||
        m_Request.photometric > PHOTOMETRIC_RGB) {
        return DICOM_ERROR_PARAMETER;
    }
    if (m_Request.bitmap->nBitsPerPixel == 1 && m_Request.compression > IMAGE_COMPRESSION_RLE) {
        return DICOM_ERROR_COMPRESSION;
    }
    const bool isPalette = m_Request.photometric == PHOTOMETRIC_PALETTE_COLOR;
    if (isPalette && IsLossy(m_Request.compression)) return DICOM_ERROR_PHOTOMETRIC;
    return KernelLendBitmapRow(m_Request.bitmap, 0) != nullptr ? DICOM_SUCCESS : DICOM_ERROR_BITMAP;
}

/** What is stored already decides; what is asked for counts for an element without frames. */
Status FrameSaver::SettleCompression() {
    uint16_t flags = 0;
    uint32_t existing = IMAGE_COMPRESSION_NONE;
    m_DataSet.GetTS(&flags, &existing, nullptr);
    m_Frames = m_PixelData != nullptr ? CountFrames(m_DataSet, m_PixelData) : 0;
    if (m_Frames > 0) {
        m_Compression = existing;
        const bool isEncapsulated = m_PixelData->nLength == kUndefinedLength;
        if (isEncapsulated != IsCompressed()) return DICOM_ERROR_IMAGE;
        return HasCodec(existing) ? DICOM_SUCCESS : DICOM_ERROR_COMPRESSION;
    }
    const bool isExplicitLittle = (m_DataSet.m_nFlags & kExplicitLittle) == kExplicitLittle;
    if (!isExplicitLittle) m_Compression = IMAGE_COMPRESSION_NONE;
    // Pixel Data that stands elsewhere, as that of icons, has the same transfer syntax.
    const bool isOther = CountFrames(m_DataSet, nullptr) > 0;
    if (isOther && m_Compression == IMAGE_COMPRESSION_NONE &&
        existing <= IMAGE_COMPRESSION_J2K_LOSSY) {
        m_Compression = existing;
    }
    if (m_Request.bitsPerPixel == 0) m_Request.bitsPerPixel = m_Picture->nBitsPerPixel;
    return HasCodec(m_Compression) ? SettleSyntax() : Status{DICOM_ERROR_COMPRESSION};
}

Status FrameSaver::SettleSyntax() {
    bool done = m_DataSet.SetTS(m_DataSet.m_nFlags, m_Compression) != 0;
    const bool isExtended = m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY && FirstDepth() == 12;
    if (isExtended) {
        done = m_DataSet.FindSetValue(nullptr, kTagTransferSyntax, kJpegExtended.data(),
                                      static_cast<uint32_t>(kJpegExtended.size()),
                                      VALUE_ARRAY_BYTE) != nullptr;
    }
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

Status FrameSaver::SettleElement() {
    if (m_PixelData == nullptr) {
        const uint16_t vr = IsCompressed() ? vr::OB : vr::OW;
        m_PixelData = m_DataSet.InsertElement(nullptr, 0, TAG_PIXEL_DATA, vr, IsCompressed(), 0);
        m_Request.index = 0;
    }
    if (m_PixelData == nullptr) return DICOM_ERROR_MEMORY;
    m_Request.index = std::min(m_Request.index, m_Frames);
    return DICOM_SUCCESS;
}

/** The depth that the first frame of an image is stored with. */
int32_t FrameSaver::FirstDepth() const {
    const int32_t wanted = m_Request.bitsPerPixel;
    switch (m_Request.photometric) {
        case PHOTOMETRIC_PALETTE_COLOR:
            return 8;
        case PHOTOMETRIC_RGB:
            return 24;
        default:
            if (m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY) return wanted > 8 ? 12 : 8;
            return RoundGrayDepth(wanted);
    }
}

/** The first frame decides what kind of image this is. */
Status FrameSaver::SettleFirstFrame() {
    if (m_Frames > 0) return DICOM_SUCCESS;
    const bool isColor32 = m_Picture->nBitsPerPixel == 32 && m_Picture->nOrder != KERNEL_ORDER_GRAY;
    const int32_t wanted = m_Request.bitsPerPixel;
    if (wanted == 1 || (wanted == 32 && !isColor32)) {
        const uint32_t most = wanted == 1 ? IMAGE_COMPRESSION_RLE : IMAGE_COMPRESSION_NONE;
        if (m_Compression > most) return DICOM_ERROR_COMPRESSION;
        m_Request.photometric = PHOTOMETRIC_MONOCHROME2;
    }
    const int32_t depth = FirstDepth();
    const bool gray = IsGray(m_Request.photometric) && depth != 1;
    const Status status = ConvertTo(depth, gray);
    if (status != DICOM_SUCCESS) return status;
    SettleLutFlags();
    _IMAGEINFO written{};
    Status result = m_DataSet.SetInfoImage(m_PixelData, &written, m_Picture.Get(), m_Request.index,
                                           m_Request.photometric, 1, m_Request.flags);
    m_DataSet.FreeInfoImage(&written);
    // Decoders of 12 bits give words (PS 3.5, 8.2.1).
    const uint32_t word = 16;
    if (result == DICOM_SUCCESS && depth == 12 &&
        m_DataSet.FindSetValue(m_PixelData, kBitsAllocated, &word, 1, VALUE_ARRAY_DWORD) ==
            nullptr) {
        result = DICOM_ERROR_WRITE;
    }
    return result;
}

Status FrameSaver::ConvertTo(int32_t depth, bool gray) {
    int32_t result = KERNEL_SUCCESS;
    if (gray) {
        const bool is =
            m_Picture->nBitsPerPixel == depth && KernelIsGrayScaleBitmap(m_Picture.Get()) != 0;
        if (!is) result = KernelGrayScaleBitmap(m_Picture.Get(), depth);
    } else if (m_Picture->nBitsPerPixel != depth) {
        result = KernelColorResBitmap(m_Picture.Get(), m_Picture.Get(), sizeof(_BITMAPHANDLE),
                                      depth, depth == 24 ? KERNEL_ORDER_BGR : -1, nullptr,
                                      KERNEL_COLORRES_DITHER);
    }
    return result == KERNEL_SUCCESS ? DICOM_SUCCESS : DICOM_ERROR_BITMAP;
}

/** Which LUT attributes gray images get. */
void FrameSaver::SettleLutFlags() {
    const bool automatic = (m_Request.flags & DICOM_SETIMAGE_AUTO_VOI_LUT) != 0;
    if (IsGray(m_Request.photometric) && m_Picture->nBitsPerPixel != 1 && !automatic) {
        m_Request.flags |= DICOM_SETIMAGE_NO_LUT_ELEMENTS;
    }
}

Status FrameSaver::DescribeStored() {
    const Status status = m_DataSet.DescribeImage(m_PixelData, &m_Stored, 1);
    if (status != DICOM_SUCCESS) return status;
    if (m_Stored.nSamplesPerPixel == 3) m_Stored.nPixelRepresentation = 0;
    const Status located =
        m_Frames > 0 ? m_DataSet.LocateFrame(m_PixelData, &m_Stored, 0) : Status{DICOM_SUCCESS};
    if (located != DICOM_SUCCESS) return located;
    m_Stored.nFrameIndex = m_Request.index;
    if (m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY && m_Stored.bGray &&
        m_Stored.nBitsStored == 12) {
        m_Stored.nBitsPerPixel = 12;
    }
    // Segments are of whole bytes.
    const bool isRle = m_Compression == IMAGE_COMPRESSION_RLE;
    if (isRle && m_Stored.nBitsPerPixel == 12) m_Stored.nBitsPerPixel = 16;
    return CheckStored();
}

/** Refuses images whose frames cannot be made of bitmaps, or not so that all of them are called the
 *  same. */
Status FrameSaver::CheckStored() const {
    const uint32_t samples = m_Stored.nSamplesPerPixel;
    const bool fits = samples == 1 || (samples == 3 && m_Stored.nBitsAllocated == 8);
    if (!fits || m_Stored.nPlanarConfiguration != 0) return DICOM_ERROR_BITMAP;
    if (m_Stored.nPhotometric == PHOTOMETRIC_PALETTE_COLOR) {
        return IsLossy(m_Compression) ? DICOM_ERROR_PHOTOMETRIC : DICOM_SUCCESS;
    }
    const bool isYbr = m_Stored.nPhotometric == PHOTOMETRIC_YBR_FULL ||
                       m_Stored.nPhotometric == PHOTOMETRIC_YBR_FULL_422;
    const bool isPlain = m_DataSet.m_pExtra != nullptr && m_DataSet.m_pExtra->bCodecFlag != 0;
    const bool becomesYbr = m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY && !isPlain;
    const bool agrees = m_Frames == 0 || samples != 3 || m_Stored.bGray || isYbr == becomesYbr;
    return agrees ? DICOM_SUCCESS : DICOM_ERROR_PHOTOMETRIC;
}

/** Gives the picture the size and the depth of the stored image. */
Status FrameSaver::MatchStored() {
    const auto width = static_cast<int32_t>(m_Stored.nColumns);
    const auto height = static_cast<int32_t>(m_Stored.nRows);
    if (m_Picture->nWidth != width || m_Picture->nHeight != height) {
        const int32_t result = KernelSizeBitmap(m_Picture.Get(), width, height, KERNEL_SIZE_SMOOTH);
        if (result != KERNEL_SUCCESS) return DICOM_ERROR_BITMAP;
    }
    const bool isPalette = m_Stored.nPhotometric == PHOTOMETRIC_PALETTE_COLOR;
    const Status status =
        isPalette && m_Frames > 0
            ? ConvertToPalette()
            : ConvertTo(static_cast<int32_t>(m_Stored.nBitsPerPixel), m_Stored.bGray != 0);
    if (status != DICOM_SUCCESS) return status;
    if (!IsIntact() && (!m_Stored.bSmallestPixelValue || !m_Stored.bLargestPixelValue)) {
        DeleteBeside(m_DataSet, m_PixelData, kSmallestPixelValue);
        DeleteBeside(m_DataSet, m_PixelData, kLargestPixelValue);
    }
    SettleLutFlags();
    const Status described =
        m_DataSet.SetInfoImage(m_PixelData, &m_Source, m_Picture.Get(), m_Request.index,
                               m_Request.photometric, 0, m_Request.flags);
    m_IsInverted = m_Picture->nBitsPerPixel == 1 && HasInvertedColors(*m_Picture.Get());
    return described;
}

Status FrameSaver::ConvertToPalette() {
    if (m_Stored.nMaxEntries > 256) return DICOM_ERROR_BITMAP;
    const std::array<_RGBQUAD, 256> palette = BitmapPaletteOf(m_Stored);
    std::array<_RGBQUAD, 256> own{};
    const bool same =
        m_Picture->nBitsPerPixel == 8 &&
        KernelGetBitmapColors(m_Picture.Get(), 0, 256, own.data()) == KERNEL_SUCCESS &&
        std::memcmp(own.data(), palette.data(), sizeof palette) == 0;
    if (same) return DICOM_SUCCESS;
    const int32_t result =
        KernelColorResBitmap(m_Picture.Get(), m_Picture.Get(), sizeof(_BITMAPHANDLE), 8, -1,
                             palette.data(), KERNEL_COLORRES_NEAREST);
    return result == KERNEL_SUCCESS ? DICOM_SUCCESS : DICOM_ERROR_BITMAP;
}

Status FrameSaver::StoreLuts() {
    const bool automatic = (m_Request.flags & DICOM_SETIMAGE_AUTO_VOI_LUT) != 0;
    if (!m_Stored.bGray || !automatic || m_Stored.nBitsPerPixel == 32) return DICOM_SUCCESS;
    return m_DataSet.SetVOIlUT(m_Request.index, m_PixelData, m_Picture.Get(), m_Request.flags);
}

Status FrameSaver::ConvertRows() {
    for (int32_t row = 0; row < m_Picture->nHeight; ++row) {
        const Status status = ConvertRow(KernelLendBitmapRow(m_Picture.Get(), row), row);
        if (status != DICOM_SUCCESS) return status;
    }
    if (m_Picture->nBitsPerPixel == 24) {
        m_Picture->nOrder = IsJpeg(m_Compression) ? KERNEL_ORDER_BGR : KERNEL_ORDER_RGB;
    }
    return DICOM_SUCCESS;
}

Status FrameSaver::ConvertRow(uint8_t *row, int32_t number) {
    if (row == nullptr) return DICOM_ERROR_IMAGE;
    if (m_Picture->nBitsPerPixel == 1) {
        const std::span<uint8_t> bits(row, m_Picture->nBytesPerLine);
        if (m_IsInverted) std::ranges::transform(bits, row, [](uint8_t b) { return ~b; });
        ReverseBits(bits);
    }
    if (m_Request.callback != nullptr) {
        const int32_t result = m_Request.callback(
            m_Picture.Get(), row, static_cast<uint32_t>(number), 0, m_Request.userData);
        const Status status = StatusOfCallback(result);
        if (status != DICOM_SUCCESS) return status;
    }
    ShiftSamples(row);
    // Codecs of JPEG take pixels with blue first, all else is stored with red first.
    const int32_t wanted = IsJpeg(m_Compression) ? KERNEL_ORDER_BGR : KERNEL_ORDER_RGB;
    if (m_Picture->nBitsPerPixel == 24 && m_Picture->nOrder != wanted) {
        ExchangeRedAndBlue(row, static_cast<size_t>(m_Picture->nWidth));
    }
    return DICOM_SUCCESS;
}

/** Moves the significant bits to their place in the stored image. */
void FrameSaver::ShiftSamples(uint8_t *row) const {
    if (m_Picture->nBitsPerPixel != 16) return;
    const auto lowBit = [](const _IMAGEINFO &info) { return info.nHighBit + 1 - info.nBitsStored; };
    const uint32_t from = lowBit(m_Source);
    const uint32_t to = lowBit(m_Stored);
    if (from == to || from > 15 || to > 15) return;
    for (int32_t i = 0; i < m_Picture->nWidth; ++i, row += 2) {
        const auto sample = LoadNative<uint16_t>(row);
        Store16(row, static_cast<uint16_t>(sample >> from << to), true);
    }
}

Status FrameSaver::Encode() {
    const bool isLossy = IsLossy(m_Compression);
    const int32_t quality = isLossy ? std::clamp(m_Request.quality, 2, 255) : 0;
    if ((m_Request.flags & DICOM_SETIMAGE_OVERLAYS) != 0) {
        auto *source = const_cast<_BITMAPHANDLE *>(m_Request.bitmap);
        const Status status = m_DataSet.SaveOverlaysFromBitmap(source, 0);
        if (status != DICOM_SUCCESS) return status;
    }
    switch (m_Compression) {
        case IMAGE_COMPRESSION_NONE:
            return m_DataSet.EncodeNONE(&m_Data, m_Picture.Get(), &m_Size);
        case IMAGE_COMPRESSION_RLE:
            return m_DataSet.EncodeRLE(&m_Data, m_Picture.Get(), &m_Size);
        case IMAGE_COMPRESSION_JPEG_LOSSLESS:
        case IMAGE_COMPRESSION_JPEG_LOSSY:
            return m_DataSet.EncodeJPEG(&m_Data, m_Picture.Get(), quality, &m_Size);
        default:
            return m_DataSet.EncodeJ2K(&m_Data, m_Picture.Get(), quality, &m_Size, !isLossy);
    }
}

Status FrameSaver::StoreFrame() {
    if (IsCompressed()) return StoreFragment();
    // Of items without frames only an offset table may go.
    const bool isEncapsulated = m_PixelData->nLength == kUndefinedLength;
    const _DICOMELEMENT *table = isEncapsulated ? FirstChildOf(m_PixelData) : nullptr;
    if (table != nullptr && NextOf(table) != nullptr) return DICOM_ERROR_IMAGE;
    const Status counted = WriteFrameCount();
    if (counted != DICOM_SUCCESS) return counted;
    if (isEncapsulated) BecomeNative();
    return HasPackedPixels(m_Stored) ? StorePacked() : StoreNative();
}

/** An offset table has no place beside a value. */
void FrameSaver::BecomeNative() {
    m_DataSet.DeleteElement(FirstChildOf(m_PixelData));
    m_PixelData->nLength = 0;
}

/** An item for the frame, behind an offset table that holds no offsets any more. */
Status FrameSaver::StoreFragment() {
    const _DICOMELEMENT *first = FindFrame(0);
    const _DICOMELEMENT *before = FindFrame(m_Request.index);
    const _DICOMELEMENT *table = FirstChildOf(m_PixelData);
    const bool hasTable = table != nullptr && table != first;
    const uint32_t place = before != nullptr ? PlaceOfItem(before) : 0xFFFFFFFF;
    m_PixelData->nLength = kUndefinedLength;
    _DICOMELEMENT *fragment = m_DataSet.InsertElement(m_PixelData, 1, TAG_ITEM, vr::OB, 0, place);
    if (fragment == nullptr) return DICOM_ERROR_MEMORY;
    const bool stored = m_DataSet.SetFileBinaryValue(fragment, m_Data, 0, m_Size) != 0;
    Status status = stored ? WriteFrameCount() : Status{DICOM_ERROR_WRITE};
    first = hasTable ? nullptr : FirstChildOf(m_PixelData);
    if (status == DICOM_SUCCESS && !PrepareOffsetTable(m_DataSet, m_PixelData, first)) {
        status = DICOM_ERROR_MEMORY;
    }
    if (status == DICOM_SUCCESS) {
        m_PixelData->nVR = vr::OB;
    } else {
        m_DataSet.DeleteElement(fragment);
    }
    return status;
}

/** First fragment of a stored frame; null past the last one. */
_DICOMELEMENT *FrameSaver::FindFrame(uint32_t frame) {
    _IMAGEINFO info = m_Stored;
    info.pFrameElement = nullptr;
    if (frame >= m_Frames) return nullptr;
    const Status status = m_DataSet.LocateFrame(m_PixelData, &info, frame);
    if (status == DICOM_ERROR_MEMORY) throw std::bad_alloc();
    return info.pFrameElement;
}

Status FrameSaver::StoreNative() {
    if (m_Frames == 0) m_PixelData->nVR = vr::OW;
    const uint64_t offset = uint64_t{m_Request.index} * m_Stored.nFrameSize;
    if (m_Size != m_Stored.nFrameSize || offset > 0xFFFFFFFF) return DICOM_ERROR_WRITE;
    if (m_Frames == 0) {
        return ReplaceValue(m_DataSet, m_PixelData, m_Data, m_Size) ? DICOM_SUCCESS
                                                                    : DICOM_ERROR_WRITE;
    }
    if (offset > m_PixelData->nLength) return DICOM_ERROR_IMAGE; // the last frame is cut
    const int32_t stored =
        m_DataSet.InsertFileBinaryValue(m_PixelData, m_Data, static_cast<uint32_t>(offset), m_Size);
    const uint64_t end = (uint64_t{m_Frames} + 1) * m_Size;
    if (stored && HasRest(m_PixelData->nLength, end)) {
        m_DataSet.DeleteFileBinaryValue(m_PixelData, static_cast<uint32_t>(end), kUndefinedLength);
    }
    return stored ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

/** Frames of single bits begin wherever the one before ends: the value is put together anew. */
Status FrameSaver::StorePacked() {
    std::vector<uint8_t> old;
    if (m_Frames > 0 && !ValueIsPresent(m_PixelData)) return DICOM_ERROR_READ;
    if (m_Frames > 0) old.resize(m_PixelData->nLength);
    if (!old.empty() && !m_DataSet.GetFileBinaryValue(m_PixelData, old.data(), 0,
                                                      static_cast<uint32_t>(old.size()))) {
        return DICOM_ERROR_READ;
    }
    const std::vector<uint8_t> value =
        InsertPackedFrame(old, m_Stored, m_Frames, m_Request.index, m_Data);
    if (value.empty()) return DICOM_ERROR_WRITE;
    if (m_Frames == 0) m_PixelData->nVR = vr::OB;
    return ReplaceValue(m_DataSet, m_PixelData, value.data(), value.size()) ? DICOM_SUCCESS
                                                                            : DICOM_ERROR_WRITE;
}

/** What is told of the image besides its pixels. */
Status FrameSaver::WriteFrameAttributes() {
    constexpr std::string_view kLossy = "01";
    if (!IsIntact() && IsLossy(m_Compression) &&
        m_DataSet.FindSetValue(m_PixelData, kLossyImageCompression, kLossy.data(),
                               static_cast<uint32_t>(kLossy.size()), VALUE_ARRAY_BYTE) == nullptr) {
        return DICOM_ERROR_WRITE;
    }
    _IMAGEINFO info{};
    info.nFrameCount = m_Frames + 1;
    return m_DataSet.AddIODSpecificElements(m_PixelData, &info);
}

/** Where fragments are frames may depend on their number: this comes when the place is found. */
Status FrameSaver::WriteFrameCount() {
    if (IsIntact()) return DICOM_SUCCESS;
    const uint32_t frames = m_Frames + 1;
    const bool done = m_DataSet.FindSetValue(m_PixelData, kNumberOfFrames, &frames, 1,
                                             VALUE_ARRAY_DWORD) != nullptr;
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

/** Colour is called what it is within the code stream. */
Status FrameSaver::WritePhotometric() {
    if (m_Picture->nBitsPerPixel != 24 || !IsCompressed()) return DICOM_SUCCESS;
    std::string_view text = "RGB";
    const bool transformed =
        m_DataSet.m_pExtra != nullptr && m_DataSet.m_pExtra->J2KOptions.bUseColorTransform != 0;
    if (IsJ2k(m_Compression) && transformed) {
        text = m_Compression == IMAGE_COMPRESSION_J2K_LOSSLESS ? "YBR_RCT" : "YBR_ICT";
    }
    if (IsJpeg(m_Compression)) text = JpegPhotometric({m_Data, m_Size});
    const bool done =
        m_DataSet.FindSetValue(m_PixelData, kPhotometricInterpretation, text.data(),
                               static_cast<uint32_t>(text.size()), VALUE_ARRAY_BYTE) != nullptr;
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

} // namespace mdicom
