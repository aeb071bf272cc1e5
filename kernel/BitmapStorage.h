// What the kernel keeps in a bitmap record, and the one guard in front of its rows.

#pragma once

#include <cstring>
#include <optional>

#include "KernelBlock.h"
#include "Mvkrnx.h"

namespace kernel {

struct OverlaySlots;

/** The kernel's part of the record. It lies in reserved fields that are not aligned for it. */
struct BitmapState {
    uint8_t *Data = nullptr;
    OverlaySlots *Overlays = nullptr;
    uint64_t Bytes = 0;
    int32_t MemoryKind = 0;
};

BitmapState StateOf(const _BITMAPHANDLE &bitmap);
void SetState(_BITMAPHANDLE &bitmap, const BitmapState &state);

/** True for a record of the right size. */
inline bool IsRecord(const _BITMAPHANDLE *bitmap) {
    return bitmap != nullptr && bitmap->nStructSize == sizeof(_BITMAPHANDLE);
}

/** True if the bitmap has data and its public fields, which anyone may write, agree with them. */
bool HasRows(const _BITMAPHANDLE *bitmap);

/** Bytes of a row, padded to 4; nothing when the size does not fit. */
std::optional<uint32_t> LineBytes(int32_t pixels, int32_t depth);

inline bool IsTransposed(const _BITMAPHANDLE &bitmap) {
    return bitmap.nViewPerspective >= 5;
}
/** Pixels of a stored row. */
inline int32_t StoredWidth(const _BITMAPHANDLE &bitmap) {
    return IsTransposed(bitmap) ? bitmap.nHeight : bitmap.nWidth;
}
inline int32_t StoredRows(const _BITMAPHANDLE &bitmap) {
    return IsTransposed(bitmap) ? bitmap.nWidth : bitmap.nHeight;
}
/** A stored row of a bitmap that HasRows. */
inline uint8_t *RowOf(const _BITMAPHANDLE &bitmap, int32_t row) {
    return StateOf(bitmap).Data + static_cast<size_t>(row) * bitmap.nBytesPerLine;
}

/** A block of the KernelAlloc family whose pages the system hands out as zeroes when they can be.
 */
void *AllocateZeroed(uint64_t bytes);

/** A bitmap that is freed with its scope unless it is taken. */
class LocalBitmap {
  public:
    LocalBitmap() { KernelInitBitmap(&m_Bitmap, sizeof m_Bitmap, 0, 0, 0); }
    ~LocalBitmap() { KernelFreeBitmap(&m_Bitmap); }
    LocalBitmap(const LocalBitmap &) = delete;
    LocalBitmap &operator=(const LocalBitmap &) = delete;

    _BITMAPHANDLE *operator->() { return &m_Bitmap; }
    _BITMAPHANDLE &operator*() { return m_Bitmap; }
    /** Hands the bitmap to a record that owns nothing. */
    void MoveTo(_BITMAPHANDLE &target);

  private:
    _BITMAPHANDLE m_Bitmap;
};

/** Creates a bitmap of another format with size, view and resolution of the source. */
int32_t CreateLike(LocalBitmap &target, const _BITMAPHANDLE &source, int32_t depth, int32_t order,
                   const _RGBQUAD *palette);
/** Puts a converted picture in the place of the old one, whose overlays it keeps. */
void Replace(_BITMAPHANDLE &bitmap, LocalBitmap &converted);

/** Copies a block of the KernelAlloc family; a null block gives true and null. */
bool CopyBlock(void *source, uint64_t bytes, void *&target);

void FreeOverlays(OverlaySlots *slots);
/** A deep copy; false when memory is short. */
bool CopyOverlays(const OverlaySlots *source, OverlaySlots *&target);

} // namespace kernel
