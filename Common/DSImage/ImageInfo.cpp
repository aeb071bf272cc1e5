// Description of images (PS 3.3, C.7.6.3): what the attributes around Pixel Data say, how many
// frames it holds, and where a frame lies.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameLayout.h"
#include "Common/DSImage/ImageInfoFrames.h"
#include "Common/DSImage/ImageInfoPalette.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSImage/PackedPixels.h"
#include "Common/DSImage/Photometric.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/Text.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kViewTopLeft = 1;

/** The image that a Pixel Data element belongs to, as a source of numbers. */
struct Attributes {
    MDicomDS &dataSet;
    _DICOMELEMENT *pixelData;

    bool Read(uint32_t tag, uint32_t *number) const {
        return dataSet.FindGetValue(pixelData, tag, number, 0, 1, VALUE_ARRAY_DWORD) > 0;
    }
    uint32_t Get(uint32_t tag) const {
        uint32_t number = 0;
        Read(tag, &number);
        return number;
    }
};

void ReadPixelFormat(const Attributes &attributes, _IMAGEINFO &info) {
    info.nBitsStored = attributes.Get(kBitsStored);
    info.nBitsAllocated = attributes.Get(kBitsAllocated);
    info.nHighBit = attributes.Get(kHighBit);
    info.nPixelRepresentation = attributes.Get(kPixelRepresentation);
    info.nSamplesPerPixel = std::max(1u, attributes.Get(kSamplesPerPixel));
    if (info.nSamplesPerPixel > 1) info.nPlanarConfiguration = attributes.Get(kPlanarConfiguration);
}

/** A pixel value of the image, else of its series. Its 16 bits are signed if the pixels are. */
uint32_t ReadExtreme(const Attributes &attributes, uint32_t imageTag, uint32_t seriesTag,
                     bool isSigned, int32_t *value) {
    uint32_t number = 0;
    if (!attributes.Read(imageTag, &number) && !attributes.Read(seriesTag, &number)) return 0;
    *value = isSigned ? static_cast<int16_t>(number) : static_cast<int32_t>(number);
    return 1;
}

void ReadExtremes(const Attributes &attributes, _IMAGEINFO &info) {
    const bool isSigned = info.nPixelRepresentation != 0;
    info.bSmallestPixelValue = ReadExtreme(attributes, kSmallestPixelValue, 0x00280104, isSigned,
                                           &info.nSmallestPixelValue);
    info.bLargestPixelValue =
        ReadExtreme(attributes, kLargestPixelValue, 0x00280105, isSigned, &info.nLargestPixelValue);
}

/** First characters of a text as it is stored; empty where there is none. Takes no memory, so that
 *  a lack of it is never taken for a lack of the attribute. */
template <size_t Room>
std::string_view ReadText(MDicomDS &dataSet, _DICOMELEMENT *element, char (&text)[Room]) {
    if (element == nullptr || element->nLength == kUndefinedLength) return {};
    const uint32_t length = std::min<uint32_t>(element->nLength, Room - 1);
    if (length == 0 || !dataSet.GetBinaryValue(element, text, length)) return {};
    text[length] = '\0';
    return std::string_view(text);
}

/** The first number of an integer string; 0 where there is none. */
uint32_t NumberOf(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return 0;
    uint32_t number = 0;
    std::from_chars(text.data() + first, text.data() + text.size(), number);
    return number;
}

/** Takes (0028,0004), of which there may be no value; false for a text that names no photometric
 *  interpretation. */
bool TakePhotometric(std::string_view text, _IMAGEINFO &info) {
    constexpr size_t kRoom = std::size(_IMAGEINFO{}.szPhotometricInterpretation);
    const std::string_view trimmed = TrimBlanks(text).substr(0, kRoom - 1);
    std::transform(trimmed.begin(), trimmed.end(), info.szPhotometricInterpretation,
                   [](char c) { return static_cast<wchar_t>(static_cast<uint8_t>(c)); });
    if (trimmed.empty()) return true; // MONOCHROME1
    const auto *row =
        std::find_if(std::begin(kPhotometrics), std::end(kPhotometrics),
                     [trimmed](const PhotometricRow &each) { return each.text == trimmed; });
    if (row == std::end(kPhotometrics)) return false;
    info.nPhotometric = row->number;
    return true;
}

bool IsBilevel(const _IMAGEINFO &info) {
    return info.nBitsStored == 1 && info.nBitsAllocated == 1 && info.nHighBit == 0;
}

/** Depth of the bitmap before the allocated bits have their say, and whether it is gray. */
void DecideDepth(_IMAGEINFO &info) {
    switch (info.nPhotometric) {
        case PHOTOMETRIC_MONOCHROME1:
            info.nBitsPerPixel = 8;
            info.bGray = 1;
            return;
        case PHOTOMETRIC_MONOCHROME2:
            info.nBitsPerPixel = IsBilevel(info) ? 1 : 8;
            info.bGray = IsBilevel(info) ? 0 : 1;
            return;
        case PHOTOMETRIC_PALETTE_COLOR:
            info.nBitsPerPixel = info.nMaxEntries <= 256 ? 8 : 24;
            return;
        case PHOTOMETRIC_RGB:
        case PHOTOMETRIC_ARGB:
        case PHOTOMETRIC_CMYK:
            info.nBitsPerPixel = 24;
            return;
        default: // luminance with or without chrominance
            info.bGray = info.nSamplesPerPixel == 3 ? 0 : 1;
            info.nBitsPerPixel = info.bGray ? 8 : 24;
    }
}

void WidenDepth(_IMAGEINFO &info) {
    if (info.nBitsPerPixel != 8 || info.nPhotometric == PHOTOMETRIC_PALETTE_COLOR) return;
    for (const uint32_t depth : {32u, 16u, 12u}) {
        if (info.nBitsAllocated == depth) info.nBitsPerPixel = depth;
    }
}

uint32_t OrderOf(uint32_t bitsPerPixel) {
    constexpr uint32_t kGray = 2;
    constexpr uint32_t kBgr = 1;
    return bitsPerPixel == 16 ? kGray : bitsPerPixel == 24 ? kBgr : 0;
}

/** Dots per inch of a distance in millimetres. */
uint32_t DotsPerInch(double spacing) {
    constexpr double kInch = 25.4;
    if (!(spacing > 0)) return 0;
    return static_cast<uint32_t>(std::min(kInch / spacing + 0.5, double{0xFFFFFFFF}));
}

void ReadResolution(const Attributes &attributes, _IMAGEINFO &info) {
    // Pixel Spacing, then the spacings at the imager, on the film and of the detector.
    for (const uint32_t tag : {0x00280030u, 0x00181164u, 0x00182010u, 0x00187022u}) {
        double spacing[2] = {};
        const uint32_t count = attributes.dataSet.FindGetValue(attributes.pixelData, tag, spacing,
                                                               0, 2, VALUE_ARRAY_DOUBLE);
        if (count < 2) continue;
        info.nYResolution = DotsPerInch(spacing[0]);
        info.nXResolution = DotsPerInch(spacing[1]);
        return;
    }
}

/** Bytes of a frame without compression; none if they pass 32 bits. */
std::optional<uint32_t> FrameSizeOf(const _IMAGEINFO &info) {
    if (info.nBitsAllocated == 1 && info.nSamplesPerPixel == 1) {
        return CheckedMultiply(info.nColumns / 8 + (info.nColumns % 8 != 0 ? 1 : 0), info.nRows);
    }
    return BytewiseFrameSize(info);
}

/** Frames of two luminance samples for each pair of chrominance samples take two thirds. Some
 *  writers store them in full all the same. */
void HalveChrominance(const _DICOMELEMENT *pixelData, uint32_t numberOfFrames, _IMAGEINFO &info) {
    const bool shared = info.nPhotometric == PHOTOMETRIC_YBR_FULL_422 &&
                        info.nSamplesPerPixel == 3 && info.nPlanarConfiguration == 0;
    const uint64_t full = uint64_t{info.nFrameSize} * std::max(1u, numberOfFrames);
    if (shared && pixelData->nLength < full) info.nFrameSize = info.nFrameSize / 3 * 2;
}

/** Frames in a value of defined length. */
uint32_t CountStoredFrames(const _DICOMELEMENT *pixelData, uint32_t numberOfFrames,
                           const _IMAGEINFO &info) {
    if (pixelData->nLength == 0) return info.nFrameSize == 0 && info.nCompression == 0 ? 1 : 0;
    if (info.nCompression != IMAGE_COMPRESSION_NONE || info.nFrameSize == 0) return 1;
    if (HasPackedPixels(info)) return CountPackedFrames(pixelData->nLength, numberOfFrames, info);
    return std::max(1u, pixelData->nLength / info.nFrameSize);
}

/** Byte of the value that a native frame begins in. */
uint32_t OffsetOfFrame(_IMAGEINFO info, uint32_t frame) {
    info.nFrameIndex = frame;
    info.nFrameOffset = info.nFrameSize * frame;
    if (!HasPackedPixels(info)) return info.nFrameOffset;
    return static_cast<uint32_t>(PixelBitsOf(info).first / 8);
}

void CopyDescription(const _IMAGEINFO &info, _DICOMIMAGE &image) {
    constexpr size_t kRoom = std::size(_DICOMIMAGE{}.szPhotometricInterpretation);
    image = {};
    image.nCompression = info.nCompression;
    std::copy_n(info.szPhotometricInterpretation, kRoom - 1, image.szPhotometricInterpretation);
    image.nPhotometric = info.nPhotometric;
    image.nSamplesPerPixel = info.nSamplesPerPixel;
    image.nRows = info.nRows;
    image.nColumns = info.nColumns;
    image.nBitsAllocated = info.nBitsAllocated;
    image.nBitsStored = info.nBitsStored;
    image.nHighBit = info.nHighBit;
    image.nPixelRepresentation = info.nPixelRepresentation;
    image.nPlanarConfiguration = info.nPlanarConfiguration;
    image.nXResolution = info.nXResolution;
    image.nYResolution = info.nYResolution;
    image.nSmallestPixelValue = static_cast<uint32_t>(info.nSmallestPixelValue);
    image.bSmallestPixelValue = info.bSmallestPixelValue;
    image.nLargestPixelValue = static_cast<uint32_t>(info.nLargestPixelValue);
    image.bLargestPixelValue = info.bLargestPixelValue;
    image.nRedEntries = info.nRedEntries;
    image.nRedFirstValue = info.nRedFirstValue;
    image.nRedBits = info.nRedBits;
    image.nGreenEntries = info.nGreenEntries;
    image.nGreenFirstValue = info.nGreenFirstValue;
    image.nGreenBits = info.nGreenBits;
    image.nBlueEntries = info.nBlueEntries;
    image.nBlueFirstValue = info.nBlueFirstValue;
    image.nBlueBits = info.nBlueBits;
    image.nMaxEntries = info.nMaxEntries;
    image.nMinFirstValue = info.nMinFirstValue;
    image.nBitsPerPixel = info.nBitsPerPixel;
    image.bGray = info.bGray;
    image.nFrameCount = info.nFrameCount;
}

} // namespace

uint16_t MDicomDS::GetInfoImage(_DICOMELEMENT *pElement, _DICOMIMAGE *pImage, uint32_t nIndex) {
    if (pImage == nullptr || !CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    _IMAGEINFO info;
    const uint16_t status = GetInfoImage(pElement, &info, nIndex, 0);
    CopyDescription(info, *pImage);
    return status;
}

uint16_t MDicomDS::GetInfoImage(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint32_t nFrame,
                                int32_t bWithTables) {
    const uint16_t status = DescribeImage(pElement, pInfo, bWithTables);
    return status != DICOM_SUCCESS ? status : LocateFrame(pElement, pInfo, nFrame);
}

void MDicomDS::FreeInfoImage(_IMAGEINFO *pInfo) {
    for (uint16_t **table : {&pInfo->pRedTable, &pInfo->pGreenTable, &pInfo->pBlueTable}) {
        DataFree(*table);
        *table = nullptr;
    }
}

/** Fills the record but for its frames. */
uint16_t MDicomDS::DescribeImage(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, int32_t bWithTables) {
    _IMAGEINFO &info = *pInfo;
    info = {};
    uint16_t flags = 0;
    GetTS(&flags, &info.nCompression, nullptr);
    const Attributes attributes{*this, pElement};
    const bool sized =
        attributes.Read(kRows, &info.nRows) && attributes.Read(kColumns, &info.nColumns);
    if (!sized) return DICOM_ERROR_IMAGE_ATTRIBUTE;
    DescribePalettes(*this, pElement, info);
    if (bWithTables) {
        const uint16_t status = LoadPalettes(*this, pElement, info);
        if (status == DICOM_ERROR_MEMORY) FreeInfoImage(pInfo);
        if (status != DICOM_SUCCESS) return status;
    }
    ReadPixelFormat(attributes, info);
    ReadExtremes(attributes, info);
    char text[std::size(_IMAGEINFO{}.szPhotometricInterpretation)];
    _DICOMELEMENT *photometric = FindOutward(pElement, kPhotometricInterpretation);
    if (!TakePhotometric(ReadText(*this, photometric, text), info)) {
        return DICOM_ERROR_PHOTOMETRIC;
    }
    DecideDepth(info);
    if (info.bGray && info.nBitsAllocated == 24) return DICOM_ERROR_IMAGE;
    WidenDepth(info);
    ReadResolution(attributes, info);
    info.nViewPerspective = kViewTopLeft;
    info.nOrder = OrderOf(info.nBitsPerPixel);
    const std::optional<uint32_t> frameSize = FrameSizeOf(info);
    if (!frameSize) return DICOM_ERROR_IMAGE_ATTRIBUTE;
    info.nFrameSize = *frameSize;
    return DICOM_SUCCESS;
}

/** Counts the frames of a described image and finds one of them. */
uint16_t MDicomDS::LocateFrame(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint32_t nFrame) {
    _IMAGEINFO &info = *pInfo;
    if (pElement == nullptr || pElement->nTag != TAG_PIXEL_DATA) return DICOM_ERROR_IMAGE;
    char text[17];
    uint32_t numberOfFrames =
        NumberOf(ReadText(*this, FindOutward(pElement, kNumberOfFrames), text));
    // Not a text, as it should be.
    if (numberOfFrames == 0) Attributes{*this, pElement}.Read(kNumberOfFrames, &numberOfFrames);
    if (IsEncapsulated(pElement)) {
        const uint16_t status =
            LocateFragment(pElement, pInfo, {info.nCompression, numberOfFrames}, nFrame);
        if (status != DICOM_SUCCESS) return status;
    } else {
        const bool native = info.nCompression == IMAGE_COMPRESSION_NONE;
        if (native) HalveChrominance(pElement, numberOfFrames, info);
        if (native) SizePackedFrame(pElement->nLength, numberOfFrames, info);
        info.nFrameCount = CountStoredFrames(pElement, numberOfFrames, info);
        if (nFrame < info.nFrameCount) info.pFrameElement = pElement;
        if (nFrame < info.nFrameCount && native) info.nFrameOffset = OffsetOfFrame(info, nFrame);
    }
    if (info.pFrameElement == nullptr) return DICOM_ERROR_IMAGE;
    info.nFrameIndex = nFrame;
    if (info.nSamplesPerPixel == 3) info.nPixelRepresentation = 0;
    return DICOM_SUCCESS;
}

/** Counts the frames of encapsulated Pixel Data and finds the first fragment of one of them. */
uint16_t MDicomDS::LocateFragment(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo,
                                  const FrameRules &Rules, uint32_t nFrame) {
    const auto take = [&](const FrameList &list) -> uint16_t {
        pInfo->nFrameCount = static_cast<uint32_t>(list.starts.size());
        if (nFrame < list.starts.size()) pInfo->pFrameElement = list.starts[nFrame];
        return list.status;
    };
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&] {
        if (m_pIndex == nullptr) return take(ListFrames(*this, pElement, Rules));
        std::shared_ptr<FrameIndex> &frames = m_pIndex->Frames();
        const uint64_t version = m_pIndex->FragmentChanges();
        if (!frames || frames->Version() != version) frames = std::make_shared<FrameIndex>(version);
        return take(frames->Get(*this, pElement, Rules));
    });
}

uint32_t MDicomDS::GetCountImage(_DICOMELEMENT *pElement) {
    if (!CheckElement(pElement)) return 0;
    _IMAGEINFO info;
    if (pElement != nullptr) {
        GetInfoImage(pElement, &info, 0, 0);
        return info.nFrameCount;
    }
    uint32_t total = 0;
    for (pElement = FindFirstElement(nullptr, TAG_PIXEL_DATA, 0); pElement != nullptr;
         pElement = FindNextElement(pElement, 0)) {
        GetInfoImage(pElement, &info, 0, 0);
        total = CheckedAdd(total, info.nFrameCount).value_or(0xFFFFFFFF);
    }
    return total;
}

int32_t MDicomDS::IsBadPixelData(uint32_t *pBadCount, uint32_t *pGoodCount) {
    uint32_t bad = 0;
    uint32_t good = 0;
    _DICOMELEMENT *element = FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    _IMAGEINFO info{};
    if (element != nullptr) {
        const bool described = DescribeImage(element, &info, 1) == DICOM_SUCCESS;
        if (described) LocateFrame(element, &info, 0);
        // A value of defined length has bytes for each frame that is counted, or for none.
        if (!IsEncapsulated(element)) (element->nLength > 0 ? good : bad) = info.nFrameCount;
        for (uint32_t i = 0; IsEncapsulated(element) && i < info.nFrameCount; ++i) {
            info.pFrameElement = nullptr;
            const bool found = LocateFrame(element, &info, i) == DICOM_SUCCESS;
            ++(found && info.pFrameElement->nLength > 0 ? good : bad);
        }
        FreeInfoImage(&info);
    }
    if (pBadCount != nullptr) *pBadCount = bad;
    if (pGoodCount != nullptr) *pGoodCount = good;
    return element == nullptr || bad > 0 ? 1 : 0;
}
