// File filter: hands the rows of a page out.

#include "Common/DSImage/ScopedBitmap.h"
#include "Common/DSValue/ValueAccess.h"
#include "Filters/Dicom/DicomFilter.h"

using namespace mdicom;

namespace {

/** Moves what belongs to a picture beside its rows. The rows stay, and are freed with source. */
int32_t MoveAttributes(_BITMAPHANDLE &source, _BITMAPHANDLE &target) {
    constexpr uint32_t kFlags = KERNEL_BITMAP_LUT_IN_USE | KERNEL_BITMAP_SIGNED;
    const int32_t result = KernelInitBitmap(&target, target.nStructSize, source.nWidth,
                                            source.nHeight, source.nBitsPerPixel);
    if (result != KERNEL_SUCCESS) return result;
    target.nColors = source.nColors;
    // The pointers lie off their alignment: no reference may be bound to them.
    target.pPalette = source.pPalette;
    target.pLUT = source.pLUT;
    target.nLUTLength = source.nLUTLength;
    target.pLUT16 = source.pLUT16;
    target.nLUT16Length = source.nLUT16Length;
    source.pPalette = source.pLUT = source.pLUT16 = nullptr;
    source.nColors = source.nLUTLength = source.nLUT16Length = 0;
    target.nViewPerspective = source.nViewPerspective;
    target.nOrder = source.nOrder;
    target.nLowBit = source.nLowBit;
    target.nHighBit = source.nHighBit;
    target.nBitmapFlags = (target.nBitmapFlags & ~kFlags) | (source.nBitmapFlags & kFlags);
    target.nMinVal = source.nMinVal;
    target.nMaxVal = source.nMaxVal;
    target.nPaintLowBit = source.nPaintLowBit;
    target.nPaintHighBit = source.nPaintHighBit;
    target.nXResolution = source.nXResolution;
    target.nYResolution = source.nYResolution;
    return KERNEL_SUCCESS;
}

int32_t HandOutRows(const _FILTERLOAD &argument, const _BITMAPHANDLE &bitmap) {
    for (int32_t row = 0; row < bitmap.nHeight; ++row) {
        uint32_t flags = KERNEL_ROW;
        if (row == 0) flags |= KERNEL_ROW_FIRST;
        if (row == bitmap.nHeight - 1) flags |= KERNEL_ROW_LAST;
        // The callback may write to the row: nobody else reads it any more.
        uint8_t *bytes = KernelLendBitmapRow(&bitmap, row);
        if (bytes == nullptr) return FILTER_ERROR_MEMORY;
        const int32_t result = argument.pfnCallback(argument.pFileInfo, argument.pBitmap, bytes,
                                                    flags, row, 1, argument.pUserData);
        if (result != FILTER_SUCCESS) return result;
    }
    return FILTER_SUCCESS;
}

int32_t Load(const _FILTERLOAD &argument) {
    constexpr uint32_t kFlags =
        DICOM_GETIMAGE_MODALITY_LUT | DICOM_GETIMAGE_VOI_LUT | DICOM_GETIMAGE_MODALITY_SIGNED;
    OwnedDataSet dataSet;
    const int32_t code = LoadFile(argument.pszName, dataSet);
    if (code != FILTER_SUCCESS) return code;
    const Page page = FindPage(*dataSet, argument.pOptions);
    _BITMAPHANDLE &target = *argument.pBitmap;
    ScopedBitmap bitmap;
    const Status status =
        dataSet->GetImage(page.pixelData, bitmap.Get(), sizeof target, page.frame,
                          target.nBitsPerPixel, target.nOrder, kFlags, nullptr, nullptr);
    if (status != DICOM_SUCCESS) return FilterCode(status);
    const int32_t moved = MoveAttributes(*bitmap.Get(), target);
    if (moved != KERNEL_SUCCESS) return moved;
    const int32_t access = KernelAccessBitmap(bitmap.Get());
    if (access != KERNEL_SUCCESS) return access;
    const int32_t result = HandOutRows(argument, *bitmap.Get());
    KernelReleaseBitmap(bitmap.Get());
    return result;
}

} // namespace

int32_t fltLoad(void *pArgument) {
    const auto *argument = static_cast<const _FILTERLOAD *>(pArgument);
    const bool complete = argument != nullptr && argument->pszName != nullptr &&
                          argument->pBitmap != nullptr && argument->pfnCallback != nullptr;
    if (!complete) return FILTER_ERROR_ARGUMENT;
    return Guarded<int32_t>(FILTER_ERROR_MEMORY, [&] { return Load(*argument); });
}
