// Overlay slots of a bitmap, and overlays in bit planes of its samples.

#include <algorithm>

#include "BitmapRows.h"

namespace kernel {

struct OverlaySlot {
    _OVERLAYATTRIBUTES Attributes;
    _BITMAPHANDLE Bitmap;
};

/** DICOM has sixteen overlay groups. */
constexpr uint32_t overlayLimit = 16;

struct OverlaySlots {
    uint32_t Count;
    OverlaySlot Slots[overlayLimit];
};

void FreeOverlays(OverlaySlots *slots) {
    if (slots == nullptr) return;
    for (uint32_t i = 0; i < slots->Count; ++i) KernelFreeBitmap(&slots->Slots[i].Bitmap);
    KernelFree(slots, 0, nullptr);
}

bool CopyOverlays(const OverlaySlots *source, OverlaySlots *&target) {
    target = nullptr;
    if (source == nullptr) return true;
    auto *copy = static_cast<OverlaySlots *>(AllocateZeroed(sizeof(OverlaySlots)));
    if (copy == nullptr) return false;
    for (uint32_t i = 0; i < source->Count; ++i) {
        const OverlaySlot &slot = source->Slots[i];
        copy->Slots[i].Attributes = slot.Attributes;
        if (KernelCopyBitmap(&copy->Slots[i].Bitmap, &slot.Bitmap, sizeof(_BITMAPHANDLE)) !=
            KERNEL_SUCCESS) {
            FreeOverlays(copy);
            return false;
        }
        ++copy->Count;
    }
    target = copy;
    return true;
}

namespace {

OverlaySlot *SlotOf(const _BITMAPHANDLE *bitmap, uint32_t index) {
    if (!IsRecord(bitmap)) return nullptr;
    OverlaySlots *slots = StateOf(*bitmap).Overlays;
    return slots != nullptr && index < slots->Count ? &slots->Slots[index] : nullptr;
}

/** The slot, made if it is the next one; null when memory is short or the index too high. */
OverlaySlot *MakeSlot(_BITMAPHANDLE &bitmap, uint32_t index) {
    BitmapState state = StateOf(bitmap);
    const uint32_t count = state.Overlays != nullptr ? state.Overlays->Count : 0;
    if (index < count) return &state.Overlays->Slots[index];
    if (index != count || count == overlayLimit) return nullptr;
    if (state.Overlays == nullptr) {
        state.Overlays = static_cast<OverlaySlots *>(AllocateZeroed(sizeof(OverlaySlots)));
        if (state.Overlays == nullptr) return nullptr;
        SetState(bitmap, state);
    }
    OverlaySlot &slot = state.Overlays->Slots[state.Overlays->Count++];
    slot.Attributes = {};
    slot.Attributes.nStructSize = sizeof(_OVERLAYATTRIBUTES);
    KernelInitBitmap(&slot.Bitmap, sizeof slot.Bitmap, 0, 0, 1);
    return &slot;
}

void CopyMembers(_OVERLAYATTRIBUTES &target, const _OVERLAYATTRIBUTES &source, uint32_t mask) {
    const _OVERLAYATTRIBUTES old = target;
    if ((mask & KERNEL_OVERLAY_DESCRIPTION) != 0) {
        target = source;
        target.nOriginX = old.nOriginX;
        target.nOriginY = old.nOriginY;
        target.crColor = old.crColor;
        target.nOverlayFlags = old.nOverlayFlags;
        target.nBitPosition = old.nBitPosition;
    }
    if ((mask & KERNEL_OVERLAY_ORIGIN) != 0) {
        target.nOriginX = source.nOriginX;
        target.nOriginY = source.nOriginY;
    }
    if ((mask & KERNEL_OVERLAY_COLOR) != 0) target.crColor = source.crColor;
    if ((mask & KERNEL_OVERLAY_FLAGS) != 0) target.nOverlayFlags = source.nOverlayFlags;
    if ((mask & KERNEL_OVERLAY_BIT_POSITION) != 0) target.nBitPosition = source.nBitPosition;
}

/** The part of the overlay that lies over stored pixels of the image. */
struct Cover {
    int64_t First; ///< overlay column or row
    int64_t Image; ///< the image's under it
    int64_t Count;
};

Cover CoverOf(int64_t origin, int64_t overlay, int64_t image) {
    const int64_t first = std::max<int64_t>(0, -origin);
    const int64_t end = std::min(overlay, image - origin);
    return {first, first + origin, std::max<int64_t>(0, end - first)};
}

/** Both ways for one row; samples of Bytes bytes, overlay pixels of one. */
template <typename Sample>
void MoveBits(Sample *samples, uint8_t *overlay, size_t count, uint32_t bit, bool toImage) {
    const auto mask = static_cast<Sample>(Sample{1} << bit);
    if (toImage) {
        for (size_t i = 0; i < count; ++i) {
            const auto plane = static_cast<Sample>(Sample{overlay[i]} << bit);
            samples[i] = static_cast<Sample>((samples[i] & ~mask) | plane);
        }
    } else {
        for (size_t i = 0; i < count; ++i) {
            overlay[i] = static_cast<uint8_t>(samples[i] >> bit & 1);
        }
    }
}

void MoveUnits(uint8_t *units, size_t bytes, size_t first, uint8_t *overlay, size_t count,
               uint32_t bit, bool toImage) {
    switch (bytes) {
        case 1:
            return MoveBits(units + first, overlay, count, bit, toImage);
        case 2:
            return MoveBits(reinterpret_cast<uint16_t *>(units) + first, overlay, count, bit,
                            toImage);
        default:
            return MoveBits(reinterpret_cast<uint32_t *>(units) + first, overlay, count, bit,
                            toImage);
    }
}

/** Overlay rows count from the top, as the image's stored rows do in this view. */
int32_t TopRow(const _BITMAPHANDLE &bitmap, int64_t row) {
    const bool upward = bitmap.nViewPerspective == 3 || bitmap.nViewPerspective == 4;
    return static_cast<int32_t>(upward ? bitmap.nHeight - 1 - row : row);
}

int32_t UpdateBits(_BITMAPHANDLE &bitmap, OverlaySlot &slot, bool toImage) {
    const _OVERLAYATTRIBUTES &attributes = slot.Attributes;
    const Cover columns = CoverOf(attributes.nOriginX, slot.Bitmap.nWidth, bitmap.nWidth);
    const Cover rows = CoverOf(attributes.nOriginY, slot.Bitmap.nHeight, bitmap.nHeight);
    const size_t bytes = UnitBytes(bitmap);
    const Block<uint8_t> units = MakeBlock<uint8_t>(static_cast<size_t>(bitmap.nWidth) * 4);
    const Block<uint8_t> overlay = MakeBlock<uint8_t>(static_cast<size_t>(slot.Bitmap.nWidth));
    if (!units || !overlay) return KERNEL_ERROR_MEMORY;
    for (int64_t i = 0; columns.Count > 0 && i < rows.Count; ++i) {
        const int32_t imageRow = TopRow(bitmap, rows.Image + i);
        const int32_t overlayRow = TopRow(slot.Bitmap, rows.First + i);
        ReadUnits(bitmap, imageRow, units.get());
        ReadUnits(slot.Bitmap, overlayRow, overlay.get());
        MoveUnits(units.get(), bytes, static_cast<size_t>(columns.Image),
                  overlay.get() + columns.First, static_cast<size_t>(columns.Count),
                  attributes.nBitPosition, toImage);
        if (toImage) {
            WriteUnits(bitmap, imageRow, units.get());
        } else {
            WriteUnits(slot.Bitmap, overlayRow, overlay.get());
        }
    }
    return KERNEL_SUCCESS;
}

/** Mirrored and turned views would need other columns; nobody stores bit planes that way. */
bool IsUpright(const _BITMAPHANDLE &bitmap) {
    return bitmap.nViewPerspective == 1 || bitmap.nViewPerspective == 4;
}

/** An empty bitmap of the size that the attributes name, unless there is one. */
int32_t EnsureBitmap(OverlaySlot &slot) {
    const _OVERLAYATTRIBUTES &attributes = slot.Attributes;
    if (HasRows(&slot.Bitmap) && slot.Bitmap.nWidth == attributes.nColumns &&
        slot.Bitmap.nHeight == attributes.nRows) {
        return KERNEL_SUCCESS;
    }
    LocalBitmap made;
    const int32_t result =
        KernelCreateBitmap(&*made, sizeof(_BITMAPHANDLE), KERNEL_MEMORY_OWN, attributes.nColumns,
                           attributes.nRows, 1, KERNEL_ORDER_BGR, nullptr, 1, nullptr, 0);
    if (result != KERNEL_SUCCESS) return result;
    KernelFreeBitmap(&slot.Bitmap);
    made.MoveTo(slot.Bitmap);
    return KERNEL_SUCCESS;
}

} // namespace
} // namespace kernel

using namespace kernel;

extern "C" {

int32_t KernelGetOverlayCount(const _BITMAPHANDLE *pBitmap, uint32_t *pCount, uint32_t) {
    if (!IsRecord(pBitmap)) return KERNEL_ERROR_STRUCT_SIZE;
    if (pCount == nullptr) return KERNEL_ERROR_ARGUMENT;
    const OverlaySlots *slots = StateOf(*pBitmap).Overlays;
    *pCount = slots != nullptr ? slots->Count : 0;
    return KERNEL_SUCCESS;
}

int32_t KernelGetOverlayAttributes(const _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                   _OVERLAYATTRIBUTES *pAttributes, uint32_t nSize,
                                   uint32_t nMask) {
    const OverlaySlot *slot = SlotOf(pBitmap, nIndex);
    if (slot == nullptr || pAttributes == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (nSize != sizeof(_OVERLAYATTRIBUTES)) return KERNEL_ERROR_STRUCT_SIZE;
    *pAttributes = {};
    CopyMembers(*pAttributes, slot->Attributes, nMask);
    pAttributes->nStructSize = nSize;
    return KERNEL_SUCCESS;
}

int32_t KernelSetOverlayAttributes(_BITMAPHANDLE *pBitmap, uint32_t nIndex,
                                   const _OVERLAYATTRIBUTES *pAttributes, uint32_t nMask) {
    if (!IsRecord(pBitmap) || pAttributes == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (pAttributes->nStructSize != sizeof(_OVERLAYATTRIBUTES)) return KERNEL_ERROR_STRUCT_SIZE;
    uint32_t count = 0;
    KernelGetOverlayCount(pBitmap, &count, 0);
    if (nIndex > count || nIndex >= overlayLimit) return KERNEL_ERROR_ARGUMENT;
    OverlaySlot *slot = MakeSlot(*pBitmap, nIndex);
    if (slot == nullptr) return KERNEL_ERROR_MEMORY;
    CopyMembers(slot->Attributes, *pAttributes, nMask);
    return KERNEL_SUCCESS;
}

int32_t KernelGetOverlayBitmap(const _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                               _BITMAPHANDLE *pOverlay, uint32_t nSize, uint32_t nFlags) {
    const OverlaySlot *slot = SlotOf(pBitmap, nIndex);
    if (slot == nullptr || pOverlay == nullptr || !HasRows(&slot->Bitmap)) {
        return KERNEL_ERROR_ARGUMENT;
    }
    if (nSize != sizeof(_BITMAPHANDLE)) return KERNEL_ERROR_STRUCT_SIZE;
    if (nFlags != 1) return KernelCopyBitmap(pOverlay, &slot->Bitmap, nSize);
    *pOverlay = slot->Bitmap;
    return KERNEL_SUCCESS;
}

int32_t KernelSetOverlayBitmap(_BITMAPHANDLE *pBitmap, uint32_t nIndex, _BITMAPHANDLE *pOverlay,
                               uint32_t nFlags) {
    OverlaySlot *slot = SlotOf(pBitmap, nIndex);
    if (slot == nullptr || !HasRows(pOverlay)) return KERNEL_ERROR_ARGUMENT;
    if (pOverlay->nBitsPerPixel != 1) return KERNEL_ERROR_FORMAT;
    _BITMAPHANDLE given = *pOverlay;
    if (StateOf(given).Data == StateOf(slot->Bitmap).Data) return KERNEL_SUCCESS;
    if (nFlags != 3) {
        const int32_t result = KernelCopyBitmap(&given, pOverlay, sizeof given);
        if (result != KERNEL_SUCCESS) return result;
    }
    KernelFreeBitmap(&slot->Bitmap);
    slot->Bitmap = given;
    return KERNEL_SUCCESS;
}

int32_t KernelUpdateOverlayBits(_BITMAPHANDLE *pBitmap, uint32_t nIndex, uint32_t nDirection) {
    OverlaySlot *slot = SlotOf(pBitmap, nIndex);
    if (slot == nullptr || !HasRows(pBitmap) || !IsUpright(*pBitmap)) return KERNEL_ERROR_ARGUMENT;
    if (KindOf(*pBitmap) == PixelKind::Colour) return KERNEL_ERROR_FORMAT;
    if (nDirection != 1 && nDirection != 2) return KERNEL_ERROR_ARGUMENT;
    if (slot->Attributes.nBitPosition >= pBitmap->nBitsPerPixel) return KERNEL_ERROR_ARGUMENT;
    const int32_t result = nDirection == 2 ? EnsureBitmap(*slot) : KERNEL_SUCCESS;
    if (result != KERNEL_SUCCESS) return result;
    if (!HasRows(&slot->Bitmap) || slot->Bitmap.nBitsPerPixel != 1 || !IsUpright(slot->Bitmap)) {
        return KERNEL_ERROR_ARGUMENT;
    }
    return UpdateBits(*pBitmap, *slot, nDirection == 1);
}

} // extern "C"
