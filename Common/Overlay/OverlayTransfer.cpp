// Overlays between a data set and the overlay slots of its image's bitmap.

#include "Common/Overlay/Overlay.h"
#include "Common/Overlay/OverlayGroups.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kDisplayFlags = 1 | 2;
constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kAllMembers = KERNEL_OVERLAY_ORIGIN | KERNEL_OVERLAY_COLOR |
                                 KERNEL_OVERLAY_FLAGS | KERNEL_OVERLAY_BIT_POSITION |
                                 KERNEL_OVERLAY_DESCRIPTION;
constexpr uint32_t kFromImage = 2;
constexpr uint32_t kToImage = 1;
constexpr uint32_t kLend = 1;
constexpr uint32_t kTakeOver = 3;

bool Succeeded(int32_t result) {
    return result == KERNEL_SUCCESS;
}

/** Gets the overlay out of the samples of the image: from then on it has a bitmap of its own. */
uint16_t LoadFromPlane(_BITMAPHANDLE *bitmap, uint32_t slot, _OVERLAYATTRIBUTES &attributes) {
    if (!Succeeded(KernelSetOverlayAttributes(bitmap, slot, &attributes, kAllMembers)) ||
        !Succeeded(KernelUpdateOverlayBits(bitmap, slot, kFromImage))) {
        return DICOM_ERROR_MEMORY;
    }
    attributes.nOverlayFlags &= ~uint32_t{OVERLAY_IN_BIT_PLANE};
    attributes.nBitPosition = 0;
    const auto set = KernelSetOverlayAttributes(bitmap, slot, &attributes,
                                                KERNEL_OVERLAY_FLAGS | KERNEL_OVERLAY_BIT_POSITION);
    return Succeeded(set) ? DICOM_SUCCESS : DICOM_ERROR_MEMORY;
}

/** Reads the data before there is a slot, so that no slot stays without a bitmap. */
uint16_t LoadFromData(MDicomDS &dataSet, uint32_t mask, _BITMAPHANDLE *bitmap, uint32_t slot,
                      const _OVERLAYATTRIBUTES &attributes) {
    _BITMAPHANDLE overlay;
    const uint16_t status = ReadOverlayFrame(dataSet, mask, attributes, 0, overlay);
    if (status != DICOM_SUCCESS) return status;
    const auto set = KernelSetOverlayAttributes(bitmap, slot, &attributes,
                                                kAllMembers & ~KERNEL_OVERLAY_BIT_POSITION);
    if (Succeeded(set) && Succeeded(KernelSetOverlayBitmap(bitmap, slot, &overlay, kTakeOver))) {
        return DICOM_SUCCESS;
    }
    KernelFreeBitmap(&overlay);
    return DICOM_ERROR_MEMORY;
}

} // namespace

/** Every overlay of a sound data set, also those that activation layers hide from an index. */
uint16_t MDicomDS::LoadOverlaysIntoBitmap(_BITMAPHANDLE *pBitmap, uint32_t nStructSize,
                                          uint32_t /*nFlags*/) {
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    const OverlayGroups groups(*this);
    if (groups.Count() == 0) return DICOM_SUCCESS;
    if (nStructSize != sizeof(_BITMAPHANDLE)) return DICOM_ERROR_STRUCT_SIZE;
    uint32_t slot = 0;
    for (uint32_t i = 0; i < kOverlayGroupCount; ++i) {
        const uint32_t mask = OverlayMaskOf(i);
        _OVERLAYATTRIBUTES attributes;
        if (!groups.IsPlane(i)) continue;
        if (ReadOverlayAttributes(*this, mask, attributes) != DICOM_SUCCESS) continue;
        const bool inPlane = (attributes.nOverlayFlags & OVERLAY_IN_BIT_PLANE) != 0;
        attributes.nOverlayFlags |= kDisplayFlags;
        attributes.crColor = kWhite;
        const uint16_t status = inPlane ? LoadFromPlane(pBitmap, slot, attributes)
                                        : LoadFromData(*this, mask, pBitmap, slot, attributes);
        if (status != DICOM_SUCCESS) return status;
        ++slot;
    }
    return DICOM_SUCCESS;
}

/** A bitmap without overlays leaves those of the data set. */
uint16_t MDicomDS::SaveOverlaysFromBitmap(_BITMAPHANDLE *pBitmap, uint32_t /*nFlags*/) {
    uint32_t count = 0;
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (!Succeeded(KernelGetOverlayCount(pBitmap, &count, 0)) || count == 0) return DICOM_SUCCESS;
    uint16_t status = DeleteAllOverlays(0);
    for (uint32_t i = 0; status == DICOM_SUCCESS && i < count; ++i) {
        _OVERLAYATTRIBUTES attributes;
        const auto got = KernelGetOverlayAttributes(pBitmap, i, &attributes, sizeof attributes,
                                                    kAllMembers & ~KERNEL_OVERLAY_COLOR);
        if (!Succeeded(got)) return DICOM_ERROR_PARAMETER;
        attributes.nFramesInOverlay = 1; // a slot has one bitmap, whatever it was loaded from
        status = SetOverlayAttributes(i, &attributes, 0);
        if (status != DICOM_SUCCESS) return status;
        const bool inPlane = (attributes.nOverlayFlags & OVERLAY_IN_BIT_PLANE) != 0;
        _BITMAPHANDLE overlay;
        if ((inPlane && !Succeeded(KernelUpdateOverlayBits(pBitmap, i, kToImage))) ||
            !Succeeded(KernelGetOverlayBitmap(pBitmap, i, &overlay, sizeof overlay, kLend))) {
            return DICOM_ERROR_PARAMETER;
        }
        status = SetOverlayBitmap(i, &overlay, 0);
    }
    return status;
}
