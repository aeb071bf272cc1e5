// Window or VOI LUT of a frame, from the LUT that its bitmap is shown with.

#include <cwchar>
#include <iterator>
#include <optional>
#include <string_view>

#include "Common/System/ImageProcessing.h"
#include "Common/Utils/Status.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

enum GrayKind { kNotGray = 0, kAscending = 1, kDescending = 2, kNonLinear = 3 };

tagDICOMMLUTATTRIBS IdentityModality() {
    tagDICOMMLUTATTRIBS modality{};
    modality.nStructSize = sizeof modality;
    modality.bIsRescaleSlopeIntercept = 1;
    modality.fRescaleSlope = 1.0;
    std::wcsncpy(modality.szRescaleType, L"UNSPECIFIED", std::size(modality.szRescaleType) - 1);
    return modality;
}

/** The window over a bitmap's range, in whole numbers; nothing where no range is known. */
std::optional<tagDICOMWINDOWATTRIBS> WindowOfRange(const _BITMAPHANDLE &bitmap) {
    if (bitmap.nMaxVal == bitmap.nMinVal || bitmap.nMaxVal == 0) return std::nullopt;
    tagDICOMWINDOWATTRIBS window{};
    window.fCenter = static_cast<double>((int64_t{bitmap.nMinVal} + bitmap.nMaxVal) / 2);
    window.fWidth = static_cast<double>(int64_t{bitmap.nMaxVal} - bitmap.nMinVal);
    return window;
}

} // namespace

uint16_t MDicomDS::SetVOIlUT(uint32_t nIndex, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                             uint32_t nFlags) {
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    const tagDICOMMLUTATTRIBS identity = IdentityModality();
    Status status = SetModalityLUT(nIndex, &identity, nullptr, 0, nFlags);
    if (status != DICOM_SUCCESS) return status;
    const int32_t kind = KernelIsGrayScaleBitmap(pBitmap);
    if (kind == kNotGray) return DICOM_SUCCESS;
    DeleteVOILUT(0);
    if (!CanAddMultiFrameFunctionalGroup()) DeleteWindow(nIndex, nFlags);
    if (kind == kNonLinear) return SetNonLinearVOILUT(nIndex, pElement, pBitmap);
    if (kind != kAscending && kind != kDescending) return DICOM_SUCCESS;

    tagDICOMWINDOWATTRIBS window{};
    const int32_t found =
        image_processing::GetLinearVoiLut(pBitmap, &window.fCenter, &window.fWidth);
    if (found == image_processing::kAbsent) return DICOM_ERROR_IMAGE_LIBRARY;
    if (found != KERNEL_SUCCESS) {
        const std::optional<tagDICOMWINDOWATTRIBS> range = WindowOfRange(*pBitmap);
        if (!range) return DICOM_SUCCESS;
        window = *range;
    }
    window.nStructSize = sizeof window;
    constexpr std::string_view kTexts[] = {"MONOCHROME2", "MONOCHROME1"};
    const std::string_view text = kTexts[kind == kDescending];
    if (FindSetValue(pElement, 0x00280004, text.data(), static_cast<uint32_t>(text.size()),
                     VALUE_ARRAY_BYTE) == nullptr) {
        return DICOM_ERROR_WRITE;
    }
    return SetWindow(nIndex, 0, &window, nFlags);
}
