// Loads one frame into a bitmap: the steps of GetImage.

#include "Common/DSImage/FrameLoader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/Compression.h"
#include "Common/DSImage/PaletteColors.h"
#include "Common/DSImage/RowCallback.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/System/ImageProcessing.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

constexpr uint32_t kIconImageSequence = 0x00880200;
constexpr uint32_t kManufacturer = 0x00080070;
constexpr uint32_t kLutFlags =
    DICOM_GETIMAGE_MODALITY_LUT | DICOM_GETIMAGE_VOI_LUT | DICOM_GETIMAGE_MODALITY_SIGNED;

bool IsIcon(_DICOMELEMENT *pixelData) {
    const _DICOMELEMENT *item = ParentOf(pixelData);
    const _DICOMELEMENT *sequence = item != nullptr ? ParentOf(item) : nullptr;
    return sequence != nullptr && sequence->nTag == kIconImageSequence;
}

/** Components that the rows of an image are made of. */
uint32_t NeededSamples(const _IMAGEINFO &info) {
    if (info.bGray || info.nBitsPerPixel == 1 || info.nPhotometric == PHOTOMETRIC_PALETTE_COLOR) {
        return 1;
    }
    return info.nPhotometric == PHOTOMETRIC_CMYK || info.nPhotometric == PHOTOMETRIC_ARGB ? 4 : 3;
}

bool IsGrayOf8(const _IMAGEINFO &info) {
    return info.bGray && info.nBitsPerPixel == 8;
}

/** A ramp, from white to black where the least value is white. */
std::array<_RGBQUAD, 256> GrayPaletteOf(const _IMAGEINFO &info) {
    std::array<_RGBQUAD, 256> palette;
    const bool ascending = info.nPhotometric == PHOTOMETRIC_MONOCHROME2;
    for (size_t i = 0; i < palette.size(); ++i) {
        const auto gray = static_cast<uint8_t>(ascending ? i : 255 - i);
        palette[i] = {gray, gray, gray, 0};
    }
    return palette;
}

/** Callbacks of rows know the two classes of JPEG 2000 by other names than the file filter. */
constexpr std::string_view kCompressionNames[] = {
    "None",    "Run Length", "JPEG Lossless",     "JPEG Lossy",
    "Unknown", "Unknown",    "JPEG2000 Lossless", "JPEG2000",
};

std::string_view CompressionName(uint32_t compression) {
    return compression < std::size(kCompressionNames) ? kCompressionNames[compression] : "Unknown";
}

/** Result of a kernel operation as a status: its low 16 bits where no status says it. */
Status StatusOfKernel(int32_t result) {
    if (result == KERNEL_ERROR_MEMORY) return DICOM_ERROR_MEMORY;
    return result == KERNEL_SUCCESS ? Status{DICOM_SUCCESS} : static_cast<Status>(result);
}

} // namespace

FrameLoader::FrameLoader(MDicomDS &dataSet, _DICOMELEMENT *pixelData, const FrameRequest &request)
    : m_DataSet(dataSet),
      m_PixelData(pixelData),
      m_Request(request),
      m_IsIntact((dataSet.m_nFlags & DS_KEEP_PIXEL_DATA_INTACT) != 0) {
    if (m_IsIntact) m_Request.flags &= ~kLutFlags;
}

FrameLoader::~FrameLoader() {
    m_DataSet.FreeInfoImage(&m_Info);
}

Status FrameLoader::Load() {
    if (m_DataSet.m_pExtra != nullptr) m_DataSet.m_pExtra->bAutoScale = 0;
    if (!image_processing::Has("M_GetMinMaxVal")) return DICOM_ERROR_IMAGE_LIBRARY;
    Status status = Describe();
    if (status != DICOM_SUCCESS) return status;
    status = MakePicture();
    if (status == DICOM_ERROR_JPEG_COLOR && m_Info.nBitsPerPixel == 8) {
        KernelFreeBitmap(m_Bitmap.Get());
        BecomeColor(m_Info);
        status = MakePicture();
    }
    return status == DICOM_SUCCESS ? Finish() : status;
}

Status FrameLoader::Describe() {
    const Status status = m_DataSet.GetInfoImage(m_PixelData, &m_Info, m_Request.frame, 1);
    if (status != DICOM_SUCCESS) return status;
    if (IsIcon(m_PixelData) && m_PixelData->nLength != kUndefinedLength) {
        // Where the frame lies depends on that.
        m_Info.nCompression = IMAGE_COMPRESSION_NONE;
        m_Info.pFrameElement = nullptr;
        const Status located = m_DataSet.LocateFrame(m_PixelData, &m_Info, m_Request.frame);
        if (located != DICOM_SUCCESS) return located;
    }
    if (IsJ2k(m_Info.nCompression) && m_Info.nSamplesPerPixel == 3) TakeBytes(m_Info);
    const Status checked = CheckDescription();
    if (checked != DICOM_SUCCESS) return checked;
    return IsHollow(m_DataSet, m_Info) ? DICOM_ERROR_IMAGE : DICOM_SUCCESS;
}

bool FrameLoader::IsHollow(MDicomDS &dataSet, _IMAGEINFO &image) {
    constexpr uint32_t kLarge = 64 << 20;
    constexpr uint64_t kLeastPart = 100; // run length coding makes 64 bytes of one at best
    if (image.nCompression > IMAGE_COMPRESSION_RLE || image.nFrameSize < kLarge) return false;
    const bool isNative = image.nCompression == IMAGE_COMPRESSION_NONE;
    const uint64_t length = image.pFrameElement->nLength;
    const uint64_t bytes = isNative ? length - std::min<uint64_t>(length, image.nFrameOffset)
                                    : dataSet.CountFrameBytes(&image);
    return bytes < image.nFrameSize / kLeastPart;
}

bool FrameLoader::FillsLayout(const _IMAGEINFO &image, const FrameLayout &layout) {
    const uint64_t samples =
        uint64_t{image.nColumns} * image.nRows * image.nSamplesPerPixel * layout.sampleBytes;
    if (layout.rowBits != 0 || samples != layout.bytes) return false;
    if (image.nCompression == IMAGE_COMPRESSION_RLE || IsJpeg(image.nCompression)) return true;
    if (image.nCompression != IMAGE_COMPRESSION_NONE) return false;
    const uint64_t end = uint64_t{image.nFrameOffset} + image.nFrameSize;
    return image.nFrameSize == layout.bytes && end <= image.pFrameElement->nLength &&
           ValueIsPresent(image.pFrameElement);
}

Status FrameLoader::CheckDescription() const {
    constexpr uint32_t kMostSamples = 4;
    constexpr uint32_t kMostBits = 32;
    if (m_Info.nSamplesPerPixel > kMostSamples || m_Info.nBitsAllocated > kMostBits ||
        m_Info.nBitsStored > kMostBits || m_Info.nHighBit >= kMostBits) {
        return DICOM_ERROR_FORMAT;
    }
    if (IsJpegLs(m_Info.nCompression)) return DICOM_ERROR_COMPRESSION;
    if (m_Info.pFrameElement->nLength == 0) return DICOM_ERROR_IMAGE;
    if (!HasCodec(m_Info.nCompression)) return DICOM_ERROR_FAILURE;
    const bool wantsPalette =
        m_Info.nPhotometric == PHOTOMETRIC_PALETTE_COLOR || m_Info.nPhotometric == PHOTOMETRIC_ARGB;
    if (wantsPalette && m_Info.nMaxEntries == 0) {
        return m_Info.nPhotometric == PHOTOMETRIC_ARGB ? DICOM_ERROR_PHOTOMETRIC
                                                       : DICOM_ERROR_IMAGE_ATTRIBUTE;
    }
    return m_Info.nSamplesPerPixel < NeededSamples(m_Info) ? DICOM_ERROR_IMAGE : DICOM_SUCCESS;
}

/** The decoder gives the high 8 bits of samples. */
void FrameLoader::TakeBytes(_IMAGEINFO &image) {
    image.nBitsAllocated = image.nBitsStored = 8;
    image.nHighBit = 7;
}

void FrameLoader::BecomeColor(_IMAGEINFO &image) {
    const bool isNamed = image.nPhotometric == PHOTOMETRIC_YBR_FULL ||
                         image.nPhotometric == PHOTOMETRIC_YBR_FULL_422 ||
                         image.nPhotometric == PHOTOMETRIC_RGB;
    // Else its markers tell what the components are, and samples are what the decoder makes of
    // them.
    if (!isNamed) image.nPhotometric = PHOTOMETRIC_YBR_RCT;
    image.nBitsPerPixel = 24;
    image.nSamplesPerPixel = 3;
    image.nOrder = KERNEL_ORDER_BGR;
    image.bGray = 0;
    image.nPlanarConfiguration = 0;
    TakeBytes(image);
    image.nPixelRepresentation = 0;
    image.nFrameSize = BytewiseFrameSize(image).value_or(0xFFFFFFFF);
}

/** The frame's samples as rows of a new bitmap. */
Status FrameLoader::MakePicture() {
    SettleBits(m_Info);
    const std::optional<FrameLayout> layout = LayoutOf(m_Info);
    if (!layout) return DICOM_ERROR_FORMAT;
    m_Layout = *layout;
    const bool fillsLayout = FillsLayout(m_Info, m_Layout);
    RowMaker maker = MakeMaker();
    if (maker.IsIdentity()) {
        Status status = CreateBitmap(fillsLayout ? KERNEL_MEMORY_UNCLEARED : KERNEL_MEMORY_OWN);
        if (status != DICOM_SUCCESS) return status;
        uint8_t *rows = KernelLendBitmapRow(m_Bitmap.Get(), 0);
        status = Decode(rows, uint64_t{m_Bitmap->nBytesPerLine} * m_Info.nRows);
        if (status != DICOM_SUCCESS) return status;
        PrepareMaker(maker, rows);
        return ConvertRows(maker, rows);
    }
    // A callback may look at rows that are still to come.
    const bool isSeen = m_Request.callback != nullptr;
    Status status = CreateBitmap(isSeen ? KERNEL_MEMORY_OWN : KERNEL_MEMORY_UNCLEARED);
    if (status != DICOM_SUCCESS) return status;
    const auto frame = MakeDataBlock<uint8_t>(m_Layout.bytes);
    if (!frame) return DICOM_ERROR_MEMORY;
    if (!fillsLayout) std::memset(frame.get(), 0, m_Layout.bytes);
    const _IMAGEINFO told = m_Info;
    status = Decode(frame.get(), m_Layout.bytes);
    if (status != DICOM_SUCCESS) return status;
    const bool isAsTold = m_Info.nBitsStored == told.nBitsStored &&
                          m_Info.nHighBit == told.nHighBit &&
                          m_Info.nPhotometric == told.nPhotometric;
    if (!isAsTold) maker = MakeMaker();
    PrepareMaker(maker, frame.get());
    return ConvertRows(maker, frame.get());
}

RowMaker FrameLoader::MakeMaker() const {
    return RowMaker(m_Info, m_Layout, m_Info.nPixelRepresentation != 0 && !m_IsIntact);
}

Status FrameLoader::CreateBitmap(int32_t memoryKind) {
    constexpr std::array<_RGBQUAD, 256> kBlackAndWhite = {{{0, 0, 0, 0}, {255, 255, 255, 0}}};
    std::array<_RGBQUAD, 256> palette = kBlackAndWhite;
    if (IsGrayOf8(m_Info)) palette = GrayPaletteOf(m_Info);
    if (m_Info.nPhotometric == PHOTOMETRIC_PALETTE_COLOR) palette = BitmapPaletteOf(m_Info);
    int32_t order = static_cast<int32_t>(m_Info.nOrder);
    if (m_Info.bGray) order = IsGrayOf8(m_Info) ? KERNEL_ORDER_RGB : KERNEL_ORDER_GRAY;
    const int32_t result = KernelCreateBitmap(
        m_Bitmap.Get(), sizeof(_BITMAPHANDLE), memoryKind, static_cast<int32_t>(m_Info.nColumns),
        static_cast<int32_t>(m_Info.nRows), static_cast<int32_t>(m_Info.nBitsPerPixel), order,
        palette.data(), static_cast<int32_t>(m_Info.nViewPerspective), nullptr, 0);
    if (result != KERNEL_SUCCESS) return DICOM_ERROR_IMAGE;
    if (m_Info.nXResolution != 0 && m_Info.nYResolution != 0) {
        m_Bitmap->nXResolution = static_cast<int32_t>(m_Info.nXResolution);
        m_Bitmap->nYResolution = static_cast<int32_t>(m_Info.nYResolution);
    }
    return DICOM_SUCCESS;
}

Status FrameLoader::Decode(uint8_t *target, uint64_t room) {
    const auto size = static_cast<size_t>(std::min<uint64_t>(room, 0xFFFFFFFF));
    return DecodeFrame(m_DataSet, m_Info, m_Layout, {target, size});
}

Status FrameLoader::DecodeFrame(MDicomDS &dataSet, _IMAGEINFO &image, const FrameLayout &layout,
                                std::span<uint8_t> target) {
    const auto size = static_cast<uint32_t>(target.size());
    switch (image.nCompression) {
        case IMAGE_COMPRESSION_NONE:
            return dataSet.DecodeNONE(&image, target.data(), size);
        case IMAGE_COMPRESSION_RLE:
            return dataSet.DecodeRLE(&image, target.data(), size);
        case IMAGE_COMPRESSION_JPEG_LOSSLESS:
        case IMAGE_COMPRESSION_JPEG_LOSSY:
            return dataSet.DecodeJPEG(&image, target.data(), size);
        default:
            return DecodeJ2k(dataSet, image, layout, target);
    }
}

/** The codec of JPEG 2000 is asked for samples, which may become something else in a bitmap. */
Status FrameLoader::DecodeJ2k(MDicomDS &dataSet, _IMAGEINFO &image, const FrameLayout &layout,
                              std::span<uint8_t> target) {
    _IMAGEINFO samples = image;
    const bool isColor = image.nSamplesPerPixel == 3;
    if (!isColor && image.nSamplesPerPixel != 1) return DICOM_ERROR_IMAGE;
    samples.nBitsPerPixel = isColor ? 24 : layout.sampleBytes * 8;
    samples.nOrder = isColor ? KERNEL_ORDER_BGR : KERNEL_ORDER_GRAY;
    if (samples.nBitsPerPixel == 8) samples.nOrder = KERNEL_ORDER_RGB;
    const Status status =
        dataSet.DecodeJ2K(&samples, target.data(), static_cast<uint32_t>(target.size()));
    image.nBitsStored = samples.nBitsStored;
    image.nHighBit = samples.nHighBit;
    return status;
}

/** The transformations of JPEG 2000 are undone by its decoder; that of lossy JPEG calls what it
 *  has converted RGB. */
bool FrameLoader::NeedsYbr() const {
    if (m_Info.bGray) return false;
    return m_Info.nPhotometric == PHOTOMETRIC_YBR_FULL ||
           m_Info.nPhotometric == PHOTOMETRIC_YBR_FULL_422;
}

/** Images of one maker tell extreme values that are not those of the pixels. */
bool FrameLoader::HasUnreliableExtremes() const {
    char name[9] = {};
    const uint32_t read = m_DataSet.FindGetValue(m_PixelData, kManufacturer, name, 0,
                                                 sizeof name - 1, VALUE_ARRAY_BYTE);
    return read > 0 && std::string_view(name) == "Toshiba";
}

void FrameLoader::PrepareMaker(RowMaker &maker, const uint8_t *frame) {
    if (NeedsYbr()) {
        const bool full = (m_Request.flags & DICOM_GETIMAGE_FULL_RANGE_YBR) != 0;
        maker.SetYbr(full ? YbrRange::Full : YbrRange::Studio);
    }
    if (m_Info.nPhotometric != PHOTOMETRIC_CMYK) return;
    uint32_t low = 0;
    uint32_t high = 0;
    FindRange(m_Info, m_Layout, maker, frame, &low, &high);
    const bool told =
        m_Info.nSmallestPixelValue != m_Info.nLargestPixelValue && !HasUnreliableExtremes();
    if (told && m_Info.bSmallestPixelValue && m_Info.nSmallestPixelValue >= 0) {
        low = static_cast<uint32_t>(m_Info.nSmallestPixelValue);
    }
    if (told && m_Info.bLargestPixelValue && m_Info.nLargestPixelValue >= 0) {
        high = static_cast<uint32_t>(m_Info.nLargestPixelValue);
    }
    maker.SetRange(low, high);
}

Status FrameLoader::ConvertRows(const RowMaker &maker, const uint8_t *frame) {
    uint8_t *row = KernelLendBitmapRow(m_Bitmap.Get(), 0);
    const bool areReady = frame == row && maker.LeavesRows();
    if (m_Request.callback == nullptr && areReady) return DICOM_SUCCESS;
    _FILEINFO file{};
    if (m_Request.callback != nullptr) DescribeFile(file);
    for (uint32_t i = 0; i < m_Info.nRows; ++i) {
        if (frame != row) maker.ClearPadding(row);
        maker.Make(frame + i * m_Layout.rowStride, row);
        if (m_Request.callback != nullptr) {
            const Status status = DeliverRow(file, static_cast<int32_t>(i));
            if (status != DICOM_SUCCESS) return status;
        }
        row += m_Bitmap->nBytesPerLine;
    }
    return DICOM_SUCCESS;
}

Status FrameLoader::DeliverRow(_FILEINFO &info, int32_t row) {
    uint32_t flags = KERNEL_ROW;
    if (row == 0) flags |= KERNEL_ROW_FIRST;
    if (row + 1 == m_Bitmap->nHeight) flags |= KERNEL_ROW_LAST;
    return StatusOfCallback(m_Request.callback(&info, m_Bitmap.Get(),
                                               KernelLendBitmapRow(m_Bitmap.Get(), row), flags, row,
                                               1, m_Request.userData));
}

void FrameLoader::DescribeFile(_FILEINFO &info) const {
    constexpr int32_t kGrayFormat = 89;
    constexpr int32_t kColorFormat = 90;
    info.nFormat = m_Info.bGray ? kGrayFormat : kColorFormat;
    info.nWidth = m_Bitmap->nWidth;
    info.nHeight = m_Bitmap->nHeight;
    info.nBitsPerPixel = m_Bitmap->nBitsPerPixel;
    info.nSizeDisk = m_Info.pFrameElement->nLength;
    info.nSizeMem = uint64_t{m_Bitmap->nBytesPerLine} * m_Info.nRows;
    const std::string_view name = CompressionName(m_Info.nCompression);
    std::copy(name.begin(), name.end(), info.szCompression);
    info.nViewPerspective = 1;
    info.nOrder = m_Bitmap->nOrder;
    info.nPageNumber = static_cast<int32_t>(m_Info.nFrameIndex);
    info.nTotalPages = static_cast<int32_t>(m_Info.nFrameCount);
    info.nXResolution = m_Bitmap->nXResolution;
    info.nYResolution = m_Bitmap->nYResolution;
}

/** What is done to the bitmap when its rows are there. */
Status FrameLoader::Finish() {
    if ((m_Request.flags & DICOM_GETIMAGE_OVERLAYS) != 0) {
        const Status status =
            m_DataSet.LoadOverlaysIntoBitmap(m_Bitmap.Get(), sizeof(_BITMAPHANDLE), 0);
        if (status != DICOM_SUCCESS) return status;
    }
    if (m_Info.bGray) SetPaintParams();
    Status status = ApplyLuts();
    if (status == DICOM_SUCCESS) status = WidenTwelveBits();
    return status == DICOM_SUCCESS ? ConvertDepth() : status;
}

void FrameLoader::SetPaintParams() {
    m_Bitmap->nLowBit = static_cast<int32_t>(m_Info.nHighBit + 1 - m_Info.nBitsStored);
    m_Bitmap->nHighBit = static_cast<int32_t>(m_Info.nHighBit);
    m_Bitmap->nPaintLowBit = m_Bitmap->nLowBit;
    m_Bitmap->nPaintHighBit = m_Bitmap->nHighBit;
    const bool isSigned = m_Info.nPixelRepresentation != 0;
    m_Bitmap->nBitmapFlags &= ~uint32_t{KERNEL_BITMAP_SIGNED};
    if (isSigned) m_Bitmap->nBitmapFlags |= KERNEL_BITMAP_SIGNED;
}

Status FrameLoader::ApplyLuts() {
    int32_t low = 0;
    int32_t high = 0;
    const bool is32 = m_Bitmap->nBitsPerPixel == 32;
    if (!is32 && image_processing::GetMinMaxVal(m_Bitmap.Get(), &low, &high) != KERNEL_SUCCESS) {
        low = high = 0;
    }
    const bool modality = m_Info.bGray && (m_Request.flags & DICOM_GETIMAGE_MODALITY_LUT) != 0;
    m_Bitmap->nMinVal = low;
    m_Bitmap->nMaxVal = high;
    if (modality) {
        const Status status =
            m_DataSet.ApplyModalityLUT(m_Bitmap.Get(), sizeof(_BITMAPHANDLE), &m_Info, low, high,
                                       m_Request.flags | DICOM_GETIMAGE_MODALITY_SIGNED);
        if (status != DICOM_SUCCESS) return status;
    }
    m_Bitmap->nPaintLowBit = m_Bitmap->nLowBit;
    m_Bitmap->nPaintHighBit = m_Bitmap->nHighBit;
    if (m_Info.bGray && !is32 && (m_Request.flags & DICOM_GETIMAGE_VOI_LUT) != 0) {
        const Status status =
            m_DataSet.ApplyVOILUT(m_Bitmap.Get(), sizeof(_BITMAPHANDLE), &m_Info, m_Request.flags);
        if (status != DICOM_SUCCESS) return status;
    }
    int64_t least = 0;
    int64_t greatest = 0;
    if (is32 && KernelGetBitmapRange(m_Bitmap.Get(), &least, &greatest) == KERNEL_SUCCESS) {
        m_Bitmap->nMinVal = static_cast<int32_t>(least);
        m_Bitmap->nMaxVal = static_cast<int32_t>(greatest);
    }
    return DICOM_SUCCESS;
}

/** Words for packed samples of 12 bits where 16 were asked for. */
Status FrameLoader::WidenTwelveBits() {
    if (m_Bitmap->nBitsPerPixel != 12 || m_Request.bitsPerPixel != 16) return DICOM_SUCCESS;
    _BITMAPHANDLE wide;
    const int32_t result = image_processing::ShiftBitmapData(&wide, m_Bitmap.Get(), {0, 11, 0, 16});
    if (result == image_processing::kAbsent) return DICOM_SUCCESS;
    if (result != KERNEL_SUCCESS) return StatusOfKernel(result);
    wide.nPaintLowBit = m_Bitmap->nPaintLowBit;
    wide.nPaintHighBit = m_Bitmap->nPaintHighBit;
    wide.nLowBit = m_Bitmap->nLowBit;
    wide.nHighBit = m_Bitmap->nHighBit;
    wide.nMinVal = m_Bitmap->nMinVal;
    wide.nMaxVal = m_Bitmap->nMaxVal;
    KernelFreeBitmap(m_Bitmap.Get());
    *m_Bitmap.Get() = wide;
    return DICOM_SUCCESS;
}

Status FrameLoader::ConvertDepth() {
    const int32_t depth = m_Request.bitsPerPixel;
    const int32_t order = depth >= 24 ? int32_t{KERNEL_ORDER_BGR} : -1;
    if (depth == 0 || depth == m_Bitmap->nBitsPerPixel) return DICOM_SUCCESS;
    if (m_Info.bGray && (depth == 8 || depth == 12 || depth == 16)) {
        return StatusOfKernel(KernelGrayScaleBitmap(m_Bitmap.Get(), depth));
    }
    return StatusOfKernel(KernelColorResBitmap(m_Bitmap.Get(), m_Bitmap.Get(),
                                               sizeof(_BITMAPHANDLE), depth, order, nullptr,
                                               KERNEL_COLORRES_DITHER));
}

} // namespace mdicom
