// The way back from a bitmap to the description of an image (PS 3.3, C.7.6.3): the record, and the
// attributes around Pixel Data.

#include <algorithm>
#include <iterator>
#include <numeric>
#include <optional>
#include <string_view>

#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameLayout.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSImage/Photometric.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kPaletteEntries = 256;
constexpr uint32_t kPaletteBits = 16;

bool IsDeepGray(const _IMAGEINFO &info) {
    return info.nBitsPerPixel >= 9 && info.nBitsPerPixel <= 16;
}

bool HasPalette(const _IMAGEINFO &info) {
    return info.nBitsPerPixel == 8 && !info.bGray;
}

uint32_t IsGray(const _IMAGEINFO &info) {
    switch (info.nPhotometric) {
        case PHOTOMETRIC_MONOCHROME1:
            return 1;
        case PHOTOMETRIC_MONOCHROME2:
            return info.nBitsPerPixel != 1 ? 1 : 0;
        case PHOTOMETRIC_PALETTE_COLOR:
        case PHOTOMETRIC_RGB:
        case PHOTOMETRIC_ARGB:
        case PHOTOMETRIC_CMYK:
            return 0;
        default: // luminance with or without chrominance
            return info.nSamplesPerPixel != 3 ? 1 : 0;
    }
}

void DescribeGeometry(const _BITMAPHANDLE &bitmap, _IMAGEINFO &info) {
    constexpr uint32_t kViewTopLeft = 1;
    info.nColumns = static_cast<uint32_t>(bitmap.nWidth);
    info.nRows = static_cast<uint32_t>(bitmap.nHeight);
    info.nOrder = static_cast<uint32_t>(bitmap.nOrder);
    info.nXResolution = static_cast<uint32_t>(std::max(0, bitmap.nXResolution));
    info.nYResolution = static_cast<uint32_t>(std::max(0, bitmap.nYResolution));
    info.nBitsPerPixel = static_cast<uint32_t>(bitmap.nBitsPerPixel);
    info.nViewPerspective = kViewTopLeft;
}

/** Bits and samples of a pixel. False for significant bits that the depth does not have. */
bool DescribePixel(const _BITMAPHANDLE &bitmap, _IMAGEINFO &info) {
    const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    const uint32_t depth = info.nBitsPerPixel;
    info.nSamplesPerPixel = depth == 24 ? 3 : 1;
    info.nBitsAllocated = depth == 24 ? 8 : depth;
    info.nBitsStored = info.nBitsAllocated;
    info.nHighBit = info.nBitsStored - 1;
    if (IsDeepGray(info)) {
        const int32_t low = std::max(0, bitmap.nLowBit);
        const int32_t high = bitmap.nHighBit < 0 ? bitmap.nBitsPerPixel - 1 : bitmap.nHighBit;
        if (high < low || high >= bitmap.nBitsPerPixel) return false;
        info.nBitsStored = static_cast<uint32_t>(high - low + 1);
        info.nHighBit = static_cast<uint32_t>(high);
    }
    info.nPixelRepresentation = isSigned && depth >= 8 && depth <= 16 ? 1 : 0;
    info.nPlanarConfiguration = depth < 24 && depth != 1 ? 1 : 0;
    return true;
}

/** The range that the bitmap tells of, else all that its samples can hold. */
void DescribeExtremes(const _BITMAPHANDLE &bitmap, _IMAGEINFO &info) {
    info.bSmallestPixelValue = 1;
    info.bLargestPixelValue = 1;
    info.nLargestPixelValue = 255;
    if (!IsDeepGray(info)) return;
    info.nSmallestPixelValue = bitmap.nMinVal;
    info.nLargestPixelValue = bitmap.nMaxVal;
    const bool isSigned = info.nPixelRepresentation != 0;
    if (bitmap.nMaxVal != 0 || (isSigned && bitmap.nMinVal != 0)) return;
    const int32_t values = 1 << info.nBitsStored;
    info.nLargestPixelValue = isSigned ? values / 2 - 1 : values - 1;
    if (isSigned) info.nSmallestPixelValue = -values / 2;
}

void DescribePalette(_IMAGEINFO &info) {
    info.nRedEntries = info.nGreenEntries = info.nBlueEntries = kPaletteEntries;
    info.nRedBits = info.nGreenBits = info.nBlueBits = kPaletteBits;
    info.nMaxEntries = kPaletteEntries;
}

uint16_t DescribeBitmap(const _BITMAPHANDLE &bitmap, uint32_t frame, uint32_t photometric,
                        _IMAGEINFO &info) {
    info = {};
    DescribeGeometry(bitmap, info);
    if (!DescribePixel(bitmap, info)) return DICOM_ERROR_PARAMETER;
    info.nFrameIndex = frame;
    info.nPhotometric = photometric;
    const std::string_view text = kPhotometrics[photometric].text;
    std::copy(text.begin(), text.end(), info.szPhotometricInterpretation);
    info.bGray = IsGray(info);
    const std::optional<uint32_t> frameSize = BytewiseFrameSize(info);
    if (!frameSize) return DICOM_ERROR_PARAMETER;
    info.nFrameSize = *frameSize;
    if (HasPalette(info)) {
        DescribePalette(info);
    } else if (info.nBitsPerPixel != 1) {
        DescribeExtremes(bitmap, info);
    }
    return DICOM_SUCCESS;
}

/** The level of an element, for writing. */
class Level {
  public:
    Level(MDicomDS &dataSet, _DICOMELEMENT *element) : m_DataSet(dataSet), m_Element(element) {}

    bool Write(uint32_t tag, uint32_t number) const {
        return Write(tag, &number, 1, VALUE_ARRAY_DWORD);
    }
    bool Write(uint32_t tag, const void *numbers, size_t count, uint32_t arrayType) const {
        return m_DataSet.FindSetValue(m_Element, tag, numbers, static_cast<uint32_t>(count),
                                      arrayType) != nullptr;
    }
    /** A value like those of the pixels, which are signed or not. */
    bool WritePixelValue(uint32_t tag, int32_t number, bool isSigned) const {
        const uint16_t code = isSigned ? vr::SS : vr::US;
        const _DICOMELEMENT *found = Find(tag);
        if (found != nullptr && found->nVR != code) Delete({tag});
        if (Find(tag) == nullptr && !m_DataSet.InsertElement(m_Element, 0, tag, code, 0, 0)) {
            return false;
        }
        return Write(tag, static_cast<uint32_t>(number));
    }
    template <typename Tags>
    void DeleteAll(const Tags &tags) const {
        for (const uint32_t tag : tags) {
            if (_DICOMELEMENT *found = Find(tag)) m_DataSet.DeleteElement(found);
        }
    }
    void Delete(std::initializer_list<uint32_t> tags) const { DeleteAll(tags); }
    _DICOMELEMENT *Find(uint32_t tag) const {
        return m_DataSet.FindFirstElement(m_Element, tag, 1);
    }

  private:
    MDicomDS &m_DataSet;
    _DICOMELEMENT *m_Element;
};

bool WritePixelFormat(const Level &level, const _IMAGEINFO &info) {
    const std::string_view text = kPhotometrics[info.nPhotometric].text;
    const bool written =
        level.Write(kBitsStored, info.nBitsStored) &&
        level.Write(kBitsAllocated, info.nBitsAllocated) && level.Write(kHighBit, info.nHighBit) &&
        level.Write(kPixelRepresentation, info.nPixelRepresentation) &&
        level.Write(kRows, info.nRows) && level.Write(kColumns, info.nColumns) &&
        level.Write(kSamplesPerPixel, info.nSamplesPerPixel) &&
        level.Write(kPhotometricInterpretation, text.data(), text.size(), VALUE_ARRAY_BYTE);
    if (!written) return false;
    if (info.nSamplesPerPixel == 3) {
        return level.Write(kPlanarConfiguration, info.nPlanarConfiguration);
    }
    level.Delete({kPlanarConfiguration});
    return true;
}

bool WritePalette(const Level &level, const _BITMAPHANDLE &bitmap) {
    constexpr uint8_t _RGBQUAD::*kChannels[] = {&_RGBQUAD::rgbRed, &_RGBQUAD::rgbGreen,
                                                &_RGBQUAD::rgbBlue};
    constexpr uint32_t kDescriptor[] = {kPaletteEntries, 0, kPaletteBits};
    _RGBQUAD colors[kPaletteEntries];
    if (KernelGetBitmapColors(&bitmap, 0, kPaletteEntries, colors) != KERNEL_SUCCESS) return false;
    for (size_t i = 0; i < std::size(kChannels); ++i) {
        uint16_t table[kPaletteEntries];
        std::transform(std::begin(colors), std::end(colors), table, [&](const _RGBQUAD &color) {
            return static_cast<uint16_t>(color.*kChannels[i] * 65535 / 255);
        });
        const bool written =
            level.Write(kPaletteDescriptors[i], kDescriptor, 3, VALUE_ARRAY_DWORD) &&
            level.Write(kPaletteTables[i], table, kPaletteEntries, VALUE_ARRAY_WORD);
        if (!written) return false;
    }
    level.Delete({kPaletteUid});
    level.DeleteAll(kPaletteSegments);
    level.Delete({kSmallestPixelValue, kLargestPixelValue});
    return true;
}

void DeletePalette(const Level &level) {
    level.DeleteAll(kPaletteDescriptors);
    level.DeleteAll(kPaletteTables);
    level.DeleteAll(kPaletteSegments);
    level.Delete({kPaletteUid});
}

/** A window over the range of the pixels. */
bool WriteWindow(const Level &level, const _IMAGEINFO &info) {
    const int64_t least = info.nSmallestPixelValue;
    const int64_t greatest = info.nLargestPixelValue;
    const auto center = static_cast<double>((greatest + least) / 2);
    const auto width = static_cast<double>(std::max<int64_t>(1, greatest - least));
    return level.Write(kWindowCenter, &center, 1, VALUE_ARRAY_DOUBLE) &&
           level.Write(kWindowWidth, &width, 1, VALUE_ARRAY_DOUBLE);
}

bool WriteExtremes(const Level &level, const _IMAGEINFO &info) {
    const bool isSigned = info.nPixelRepresentation != 0;
    return level.WritePixelValue(kSmallestPixelValue, info.nSmallestPixelValue, isSigned) &&
           level.WritePixelValue(kLargestPixelValue, info.nLargestPixelValue, isSigned);
}

/** Extremes and window of an image without a palette. What holds for all frames is left unless it
 *  may be changed. */
bool WriteGrayLevels(MDicomDS &dataSet, _DICOMELEMENT *element, const _IMAGEINFO &info,
                     const LutPlace &voi, const LutPlace &modality, bool mayUpdate) {
    const Level level(dataSet, element);
    if (info.nBitsPerPixel != 32) {
        const Level place(dataSet, voi.element != nullptr ? voi.element : element);
        if (!WriteExtremes(level, info)) return false;
        if ((mayUpdate || !voi.isShared) && !WriteWindow(place, info)) return false;
    }
    if (mayUpdate || !modality.isShared) {
        const Level place(dataSet, modality.element != nullptr ? modality.element : element);
        // The place may be one of the two, so both are looked up before one goes.
        _DICOMELEMENT *found[] = {place.Find(kRescaleIntercept), place.Find(kRescaleSlope)};
        for (_DICOMELEMENT *each : found) {
            if (each != nullptr) dataSet.DeleteElement(each);
        }
    }
    DeletePalette(level);
    return true;
}

} // namespace

/**
 * Describes the image that a bitmap makes, and with bWriteElements sets the attributes on the level
 * of pElement. LUTs and windows that belonged to other pixels go. nFlags are DICOM_SETIMAGE_
 * options. 0; 5 not stored, 9 bad argument.
 */
uint16_t MDicomDS::SetInfoImage(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, _BITMAPHANDLE *pBitmap,
                                uint32_t nFrame, int32_t nPhotometric, int32_t bWriteElements,
                                uint32_t nFlags) {
    if (pInfo == nullptr || pBitmap == nullptr || HaveTwoPlaces(nFlags)) {
        return DICOM_ERROR_PARAMETER;
    }
    const bool isKnown =
        nPhotometric >= 0 && nPhotometric < static_cast<int32_t>(std::size(kPhotometrics));
    if (!isKnown || KernelAccessBitmap(pBitmap) != KERNEL_SUCCESS) return DICOM_ERROR_PARAMETER;
    KernelReleaseBitmap(pBitmap);
    const uint16_t status =
        DescribeBitmap(*pBitmap, nFrame, static_cast<uint32_t>(nPhotometric), *pInfo);
    if (status != DICOM_SUCCESS || !bWriteElements) return status;
    if (pInfo->nRows > 0xFFFF || pInfo->nColumns > 0xFFFF) return DICOM_ERROR_PARAMETER;
    const Level level(*this, pElement);
    const bool isNested = IsNested(pElement);
    if (!WritePixelFormat(level, *pInfo)) return DICOM_ERROR_WRITE;
    if (pInfo->nBitsPerPixel == 1) {
        level.Delete({kSmallestPixelValue, kLargestPixelValue});
        DeletePalette(level);
        if (isNested) return DICOM_SUCCESS;
        DeleteWindow(nFrame, nFlags);
        DeleteVOILUT(0);
        return DeleteAllOverlays(0);
    }
    if ((nFlags & DICOM_SETIMAGE_NO_LUT_ELEMENTS) != 0) return DICOM_SUCCESS;
    if (HasPalette(*pInfo)) {
        return WritePalette(level, *pBitmap) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    }
    const LutPlace voi = isNested ? LutPlace{} : PlaceOf(*this, kVoiMacro, nFlags, nFrame);
    const LutPlace modality =
        isNested ? LutPlace{} : PlaceOf(*this, kModalityMacro, nFlags, nFrame);
    for (const LutPlace &place : {voi, modality}) {
        if (place.status != DICOM_SUCCESS) return place.status;
    }
    const bool mayUpdate = (nFlags & DICOM_SETIMAGE_UPDATE_SHARED) != 0;
    const bool written = WriteGrayLevels(*this, pElement, *pInfo, voi, modality, mayUpdate);
    return written ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

/** What the class of the data set demands for frames: single-bit captures number their pages. */
uint16_t MDicomDS::AddIODSpecificElements(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo) {
    constexpr uint32_t kMultiFrameSingleBitCapture = 95; // of the IOD dictionary
    if (pInfo == nullptr) return DICOM_ERROR_PARAMETER;
    uint32_t number = 0;
    GetInfoDS(&number, nullptr);
    if (number != kMultiFrameSingleBitCapture) return DICOM_SUCCESS;
    const Level level(*this, pElement);
    // Two characters a page at least.
    if (pInfo->nFrameCount > kLongestValue / 2) return DICOM_ERROR_WRITE;
    const DataBlock<uint32_t> pages = MakeDataBlock<uint32_t>(pInfo->nFrameCount);
    if (!pages) return DICOM_ERROR_MEMORY;
    std::iota(pages.get(), pages.get() + pInfo->nFrameCount, 1u);
    if (!level.Write(kFrameIncrementPointer, kPageNumberVector)) return DICOM_ERROR_WRITE;
    level.Delete({kPageNumberVector});
    const bool written =
        level.Write(kPageNumberVector, pages.get(), pInfo->nFrameCount, VALUE_ARRAY_DWORD);
    return written ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}
