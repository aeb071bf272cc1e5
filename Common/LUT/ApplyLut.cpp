// Modality and VOI transformations on the bitmap of a frame, through the image processing
// companion. An image without a transformation is better than none: most failures are passed over.

#include <algorithm>
#include <cmath>

#include "Common/LUT/LutTable.h"
#include "Common/System/ImageProcessing.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kSpareEntries = 4;

void SetRange(_BITMAPHANDLE &bitmap, int32_t min, int32_t max) {
    bitmap.nMinVal = min;
    bitmap.nMaxVal = max;
}

/** Numbers that a bitmap's significant bits can hold. */
struct BitRange {
    double lower;
    double upper;
};

BitRange RangeOfBits(const _BITMAPHANDLE &bitmap) {
    const int bits = std::clamp(bitmap.nHighBit - bitmap.nLowBit, 0, 31);
    if ((bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0) {
        return {-std::ldexp(1.0, bits), std::ldexp(1.0, bits) - 1};
    }
    return {0, std::ldexp(1.0, bits + 1) - 1};
}

/** A linear map of numbers. */
struct Scaling {
    double factor = 1;
    double offset = 0;
};

/** Makes a rescale fill the range of the bitmap where its results would leave it. Gives what that
 *  does to its results. */
Scaling FitRescale(tagDICOMMLUTATTRIBS &rescale, double min, double max, const BitRange &range) {
    double low = min * rescale.fRescaleSlope + rescale.fRescaleIntercept;
    double high = max * rescale.fRescaleSlope + rescale.fRescaleIntercept;
    const bool descending = high < low;
    if (descending) std::swap(low, high);
    if (low >= range.lower && high <= range.upper) return {};
    if (max == min || rescale.fRescaleSlope == 0 || !std::isfinite(high - low)) return {};
    const double span = range.upper - range.lower;
    const double slope = (descending ? -1 : 1) * span / (max - min);
    Scaling scaling{slope / rescale.fRescaleSlope, 0};
    if (high != low) scaling.offset = range.lower - low * (span / (high - low));
    rescale.fRescaleSlope = slope;
    // The least pixel value has the end of the range that its result had.
    rescale.fRescaleIntercept = (descending ? range.upper : range.lower) - slope * min;
    return scaling;
}

/** A window over the range of the bitmap. */
void ApplyFullWindow(_BITMAPHANDLE &bitmap, uint32_t flags) {
    const int64_t min = bitmap.nMinVal;
    const int64_t max = bitmap.nMaxVal;
    image_processing::ApplyLinearVoiLut(&bitmap, static_cast<double>((min + max) / 2),
                                        static_cast<double>(max - min), flags);
}

/** Gives a bitmap of one colour a range. */
void OpenRange(_BITMAPHANDLE &bitmap) {
    if (bitmap.nMinVal == 0 && bitmap.nMaxVal == 0) bitmap.nMaxVal = 1;
    if (bitmap.nMinVal > 0 && bitmap.nMinVal == bitmap.nMaxVal) --bitmap.nMinVal;
}

} // namespace

void MDicomDS::AutoScaleModalityLUT(tagDICOMMLUTATTRIBS *pAttributes, _BITMAPHANDLE *pBitmap,
                                    uint32_t) {
    if (pAttributes == nullptr || pBitmap == nullptr) return;
    int32_t min = 0;
    int32_t max = 0;
    if (image_processing::GetMinMaxVal(pBitmap, &min, &max) != KERNEL_SUCCESS) min = max = 0;
    Scaling scaling;
    if (pAttributes->bIsRescaleSlopeIntercept) {
        scaling = FitRescale(*pAttributes, min, max, RangeOfBits(*pBitmap));
    }
    if (m_pExtra == nullptr) return;
    m_pExtra->bAutoScale = 1;
    m_pExtra->fAutoScaleFactor = scaling.factor;
    m_pExtra->fAutoScaleOffset = scaling.offset;
}

uint16_t MDicomDS::ApplyModalityLUT(_BITMAPHANDLE *pBitmap, uint32_t, _IMAGEINFO *pImage,
                                    int32_t nMin, int32_t nMax, uint32_t nFlags) {
    if (pBitmap == nullptr || pImage == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (pBitmap->nBitsPerPixel == 32) return DICOM_SUCCESS;
    if (!image_processing::Has("M_ApplyModalityLUT") ||
        !image_processing::Has("M_ApplyLinearModalityLUT")) {
        return DICOM_ERROR_IMAGE_LIBRARY;
    }
    tagDICOMMLUTATTRIBS attributes;
    const uint16_t status = GetModalityLUTAttributes(pImage->nFrameIndex, &attributes,
                                                     sizeof attributes, pBitmap, nFlags);
    if (status != DICOM_SUCCESS) {
        SetRange(*pBitmap, nMin, nMax);
    } else if (attributes.bIsModalityLUT) {
        ApplyModalityTable(pBitmap, attributes);
    } else {
        const double slope = attributes.fRescaleSlope == 0 ? 1 : attributes.fRescaleSlope;
        const double intercept = attributes.fRescaleIntercept;
        const bool isSigned = (nFlags & DICOM_GETIMAGE_MODALITY_SIGNED) != 0;
        const uint32_t flags = MVIMGCORX_ALWAYS | (isSigned ? uint32_t{MVIMGCORX_SIGNED} : 0);
        if (intercept == 0 && slope == 1) {
            SetRange(*pBitmap, nMin, nMax);
        } else {
            image_processing::ApplyLinearModalityLut(pBitmap, intercept, slope, flags);
        }
    }
    return DICOM_SUCCESS;
}

void MDicomDS::ApplyModalityTable(_BITMAPHANDLE *pBitmap, const tagDICOMMLUTATTRIBS &Attributes) {
    const _DICOMLUTDESCRIPTOR &descriptor = Attributes.LUTDescriptor;
    const auto table = MakeDataBlock<uint16_t>(descriptor.nNumberOfEntries + kSpareEntries);
    if (!table) return;
    const uint16_t status = GetModalityLUTData(table.get(), descriptor.nNumberOfEntries, 0);
    if (status != DICOM_SUCCESS) return;
    image_processing::ApplyModalityLut(pBitmap, table.get(), &descriptor, MVIMGCORX_ALWAYS);
}

uint16_t MDicomDS::ApplyVOILUT(_BITMAPHANDLE *pBitmap, uint32_t, _IMAGEINFO *pImage,
                               uint32_t nFlags) {
    if (pBitmap == nullptr || pImage == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (!image_processing::Has("M_ApplyVOILUT") || !image_processing::Has("M_ApplyLinearVOILUT")) {
        return DICOM_ERROR_IMAGE_LIBRARY;
    }
    if (pImage->nPhotometric > PHOTOMETRIC_MONOCHROME2) return DICOM_ERROR_PARAMETER;
    const bool invert = pImage->nPhotometric == PHOTOMETRIC_MONOCHROME1;
    const uint32_t flags = invert ? uint32_t{MVIMGCORX_INVERT} : 0;
    uint32_t windows = 0;
    uint32_t luts = 0;
    GetWindowCount(pImage->nFrameIndex, &windows);
    GetVOILUTCount(&luts);
    if (windows > 0) {
        ApplyWindow(pBitmap, pImage->nFrameIndex, flags, nFlags);
    } else if (luts > 0) {
        ApplyVOITable(pBitmap, flags);
    } else {
        OpenRange(*pBitmap);
        ApplyFullWindow(*pBitmap, flags);
    }
    return DICOM_SUCCESS;
}

void MDicomDS::ApplyWindow(_BITMAPHANDLE *pBitmap, uint32_t nFrame, uint32_t nCompanionFlags,
                           uint32_t nFlags) {
    constexpr uint32_t kBoth = DICOM_GETIMAGE_AUTOSCALE_MODALITY | DICOM_GETIMAGE_AUTOSCALE_VOI;
    tagDICOMWINDOWATTRIBS window;
    OpenRange(*pBitmap);
    if (GetWindow(nFrame, 0, &window, sizeof window, 0) != DICOM_SUCCESS) {
        ApplyFullWindow(*pBitmap, nCompanionFlags);
        return;
    }
    if ((nFlags & kBoth) == kBoth && m_pExtra != nullptr && m_pExtra->bAutoScale) {
        window.fCenter = window.fCenter * m_pExtra->fAutoScaleFactor + m_pExtra->fAutoScaleOffset;
        window.fWidth *= m_pExtra->fAutoScaleFactor;
    }
    image_processing::ApplyLinearVoiLut(pBitmap, window.fCenter, window.fWidth, nCompanionFlags);
}

void MDicomDS::ApplyVOITable(_BITMAPHANDLE *pBitmap, uint32_t nCompanionFlags) {
    tagDICOMVOILUTATTRIBS attributes;
    if (GetVOILUT(0, &attributes, sizeof attributes, 0) != DICOM_SUCCESS) return;
    const _DICOMLUTDESCRIPTOR &descriptor = attributes.LUTDescriptor;
    const auto table = MakeDataBlock<uint16_t>(descriptor.nNumberOfEntries + kSpareEntries);
    if (!table) return;
    const uint16_t status = GetVOILUTData(0, table.get(), descriptor.nNumberOfEntries, 0);
    if (status != DICOM_SUCCESS) return;
    image_processing::ApplyVoiLut(pBitmap, table.get(), &descriptor, nCompanionFlags);
}
