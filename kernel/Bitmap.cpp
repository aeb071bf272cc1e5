// Bitmap records: set-up, creation, copies and rows.

#include <algorithm>
#include <array>
#include <limits>

#include "BitmapStorage.h"

namespace kernel {

BitmapState StateOf(const _BITMAPHANDLE &bitmap) {
    BitmapState state;
    std::memcpy(&state.Data, bitmap.nReserved4, 8);
    std::memcpy(&state.Overlays, bitmap.nReserved4 + 8, 8);
    std::memcpy(&state.Bytes, bitmap.nReserved36, 8);
    std::memcpy(&state.MemoryKind, bitmap.nReserved36 + 8, 4);
    return state;
}

void SetState(_BITMAPHANDLE &bitmap, const BitmapState &state) {
    std::memcpy(bitmap.nReserved4, &state.Data, 8);
    std::memcpy(bitmap.nReserved4 + 8, &state.Overlays, 8);
    std::memcpy(bitmap.nReserved36, &state.Bytes, 8);
    std::memcpy(bitmap.nReserved36 + 8, &state.MemoryKind, 4);
}

std::optional<uint32_t> LineBytes(int32_t pixels, int32_t depth) {
    if (pixels <= 0 || depth <= 0 || depth > 32) return std::nullopt;
    const uint64_t bits = static_cast<uint64_t>(pixels) * static_cast<uint64_t>(depth);
    const uint64_t bytes = (bits + 31) / 32 * 4;
    if (bytes > std::numeric_limits<int32_t>::max()) return std::nullopt;
    return static_cast<uint32_t>(bytes);
}

namespace {

constexpr std::array depths{1, 8, 12, 16, 24, 32};

bool IsDepth(int32_t depth) {
    return std::ranges::find(depths, depth) != depths.end();
}

bool IsFormat(int32_t depth, int32_t order) {
    return IsDepth(depth) && order >= KERNEL_ORDER_RGB && order <= KERNEL_ORDER_GRAY &&
           !(depth == 24 && order == KERNEL_ORDER_GRAY);
}

/** No picture is larger; a system that promises memory freely would hand out more. */
constexpr uint64_t mostBytes = uint64_t{1} << 38;

/** The layout of stored rows, worked out from the fields of a record. */
struct Geometry {
    uint32_t LineBytes;
    uint64_t Bytes;
};

std::optional<Geometry> GeometryOf(const _BITMAPHANDLE &bitmap) {
    const std::optional<uint32_t> line = LineBytes(StoredWidth(bitmap), bitmap.nBitsPerPixel);
    if (!line || StoredRows(bitmap) <= 0) return std::nullopt;
    // 31 bits times 31 bits.
    const uint64_t bytes = uint64_t{*line} * static_cast<uint64_t>(StoredRows(bitmap));
    if (bytes > mostBytes) return std::nullopt;
    return Geometry{*line, bytes};
}

int32_t HighBitOf(int32_t depth) {
    return depth == 24 ? 7 : std::max(depth - 1, 0);
}

bool AttachData(_BITMAPHANDLE &bitmap, uint64_t bytes, int32_t kind, void *data) {
    BitmapState state;
    if (kind == KERNEL_MEMORY_OWN) data = AllocateZeroed(bytes);
    if (kind == KERNEL_MEMORY_UNCLEARED) data = KernelAlloc(1, bytes, 0, nullptr);
    state.Data = static_cast<uint8_t *>(data);
    state.Bytes = bytes;
    state.MemoryKind = kind == KERNEL_MEMORY_CALLER ? kind : int32_t{KERNEL_MEMORY_OWN};
    if (state.Data == nullptr) return false;
    SetState(bitmap, state);
    bitmap.nBitmapFlags |= KERNEL_BITMAP_ALLOCATED;
    return true;
}

bool AttachDefaultPalette(_BITMAPHANDLE &bitmap) {
    std::array<_RGBQUAD, 256> ramp;
    const int32_t last = bitmap.nBitsPerPixel == 1 ? 1 : 255;
    for (int32_t i = 0; i <= last; ++i) {
        const auto gray = static_cast<uint8_t>(i * 255 / last);
        ramp[static_cast<size_t>(i)] = {gray, gray, gray, 0};
    }
    return KernelSetBitmapPalette(&bitmap, ramp.data()) == KERNEL_SUCCESS;
}

/** Gives a record that was copied bytewise blocks of its own. */
bool CopyOwned(const _BITMAPHANDLE &source, LocalBitmap &target) {
    // The local copy must own nothing of the source's while a step can still fail.
    const BitmapState old = StateOf(source);
    BitmapState state;
    void *palette = nullptr;
    void *lut = nullptr;
    void *lut16 = nullptr;
    const bool done =
        CopyBlock(source.pPalette, uint64_t{source.nColors} * sizeof(_RGBQUAD), palette) &&
        CopyBlock(source.pLUT, uint64_t{source.nLUTLength} * sizeof(_RGBQUAD), lut) &&
        CopyBlock(source.pLUT16, uint64_t{source.nLUT16Length} * sizeof(_RGBQUAD16), lut16) &&
        CopyOverlays(old.Overlays, state.Overlays);
    *target = source;
    target->nBitmapFlags &= ~uint32_t{KERNEL_BITMAP_ALLOCATED};
    target->pPalette = palette;
    target->pLUT = lut;
    target->pLUT16 = lut16;
    SetState(*target, state);
    return done;
}

int32_t CopyRecord(const _BITMAPHANDLE &source, LocalBitmap &target) {
    if (!CopyOwned(source, target)) return KERNEL_ERROR_MEMORY;
    const BitmapState old = StateOf(source);
    if (!HasRows(&source)) return KERNEL_SUCCESS;
    BitmapState state = StateOf(*target);
    void *data = KernelAlloc(1, old.Bytes, 0, nullptr);
    if (data == nullptr) return KERNEL_ERROR_MEMORY;
    std::memcpy(data, old.Data, old.Bytes);
    state.Data = static_cast<uint8_t *>(data);
    state.Bytes = old.Bytes;
    state.MemoryKind = KERNEL_MEMORY_OWN;
    SetState(*target, state);
    target->nBitmapFlags |= KERNEL_BITMAP_ALLOCATED;
    return KERNEL_SUCCESS;
}

} // namespace

bool HasRows(const _BITMAPHANDLE *bitmap) {
    if (!IsRecord(bitmap) || (bitmap->nBitmapFlags & KERNEL_BITMAP_ALLOCATED) == 0) return false;
    const BitmapState state = StateOf(*bitmap);
    const std::optional<Geometry> geometry = GeometryOf(*bitmap);
    return state.Data != nullptr && geometry && IsFormat(bitmap->nBitsPerPixel, bitmap->nOrder) &&
           geometry->LineBytes == bitmap->nBytesPerLine && geometry->Bytes <= state.Bytes;
}

bool CopyBlock(void *source, uint64_t bytes, void *&target) {
    target = nullptr;
    if (source == nullptr || bytes == 0) return true;
    target = KernelAlloc(1, bytes, 0, nullptr);
    if (target != nullptr) std::memcpy(target, source, bytes);
    return target != nullptr;
}

void LocalBitmap::MoveTo(_BITMAPHANDLE &target) {
    target = m_Bitmap;
    KernelInitBitmap(&m_Bitmap, sizeof m_Bitmap, 0, 0, 0);
}

int32_t CreateLike(LocalBitmap &target, const _BITMAPHANDLE &source, int32_t depth, int32_t order,
                   const _RGBQUAD *palette) {
    const int32_t result = KernelCreateBitmap(&*target, sizeof(_BITMAPHANDLE), KERNEL_MEMORY_OWN,
                                              source.nWidth, source.nHeight, depth, order, palette,
                                              source.nViewPerspective, nullptr, 0);
    if (result != KERNEL_SUCCESS) return result;
    target->nXResolution = source.nXResolution;
    target->nYResolution = source.nYResolution;
    return KERNEL_SUCCESS;
}

void Replace(_BITMAPHANDLE &bitmap, LocalBitmap &converted) {
    BitmapState old = StateOf(bitmap);
    BitmapState state = StateOf(*converted);
    std::swap(old.Overlays, state.Overlays);
    SetState(bitmap, old);
    SetState(*converted, state);
    KernelFreeBitmap(&bitmap);
    converted.MoveTo(bitmap);
}

} // namespace kernel

using namespace kernel;

extern "C" {

int32_t KernelInitBitmap(_BITMAPHANDLE *pBitmap, uint32_t nSize, int32_t nWidth, int32_t nHeight,
                         int32_t nBitsPerPixel) {
    if (pBitmap == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (nSize != sizeof(_BITMAPHANDLE)) return KERNEL_ERROR_STRUCT_SIZE;
    *pBitmap = {};
    pBitmap->nStructSize = nSize;
    pBitmap->nWidth = nWidth;
    pBitmap->nHeight = nHeight;
    pBitmap->nBitsPerPixel = nBitsPerPixel;
    pBitmap->nBytesPerLine = LineBytes(nWidth, nBitsPerPixel).value_or(0);
    pBitmap->nViewPerspective = 1;
    pBitmap->nHighBit = HighBitOf(nBitsPerPixel);
    pBitmap->nPaintHighBit = pBitmap->nHighBit;
    return KERNEL_SUCCESS;
}

int32_t KernelCreateBitmap(_BITMAPHANDLE *pBitmap, uint32_t nSize, int32_t nMemoryKind,
                           int32_t nWidth, int32_t nHeight, int32_t nBitsPerPixel, int32_t nOrder,
                           const _RGBQUAD *pPalette, int32_t nViewPerspective, void *pData,
                           uint64_t nDataSize) {
    const int32_t set = KernelInitBitmap(pBitmap, nSize, nWidth, nHeight, nBitsPerPixel);
    if (set != KERNEL_SUCCESS) return set;
    if (!IsFormat(nBitsPerPixel, nOrder)) return KERNEL_ERROR_FORMAT;
    if (nViewPerspective < 1 || nViewPerspective > 8) return KERNEL_ERROR_ARGUMENT;
    if (nMemoryKind < KERNEL_MEMORY_OWN || nMemoryKind > KERNEL_MEMORY_UNCLEARED) {
        return KERNEL_ERROR_ARGUMENT;
    }
    pBitmap->nOrder = nOrder;
    pBitmap->nViewPerspective = nViewPerspective;
    const std::optional<Geometry> geometry = GeometryOf(*pBitmap);
    if (!geometry) return KERNEL_ERROR_ARGUMENT;
    pBitmap->nBytesPerLine = geometry->LineBytes;
    if (nMemoryKind == KERNEL_MEMORY_CALLER && (pData == nullptr || nDataSize < geometry->Bytes)) {
        return KERNEL_ERROR_ARGUMENT;
    }
    bool done = AttachData(*pBitmap, geometry->Bytes, nMemoryKind, pData);
    if (done && nBitsPerPixel <= 8) {
        done = pPalette != nullptr ? KernelSetBitmapPalette(pBitmap, pPalette) == KERNEL_SUCCESS
                                   : AttachDefaultPalette(*pBitmap);
    }
    if (!done) KernelFreeBitmap(pBitmap);
    return done ? KERNEL_SUCCESS : KERNEL_ERROR_MEMORY;
}

int32_t KernelFreeBitmap(_BITMAPHANDLE *pBitmap) {
    if (!IsRecord(pBitmap)) return KERNEL_ERROR_STRUCT_SIZE;
    const BitmapState state = StateOf(*pBitmap);
    const bool allocated = (pBitmap->nBitmapFlags & KERNEL_BITMAP_ALLOCATED) != 0;
    if (allocated && state.MemoryKind == KERNEL_MEMORY_OWN) KernelFree(state.Data, 0, nullptr);
    FreeOverlays(state.Overlays);
    KernelFree(pBitmap->pPalette, 0, nullptr);
    KernelFree(pBitmap->pLUT, 0, nullptr);
    KernelFree(pBitmap->pLUT16, 0, nullptr);
    pBitmap->pPalette = nullptr;
    pBitmap->pLUT = nullptr;
    pBitmap->pLUT16 = nullptr;
    pBitmap->nColors = pBitmap->nLUTLength = pBitmap->nLUT16Length = 0;
    pBitmap->nBitmapFlags &= ~uint32_t{KERNEL_BITMAP_ALLOCATED | KERNEL_BITMAP_LUT_IN_USE};
    SetState(*pBitmap, {});
    return KERNEL_SUCCESS;
}

int32_t KernelCopyBitmap(_BITMAPHANDLE *pTarget, const _BITMAPHANDLE *pSource, uint32_t nSize) {
    if (pTarget == nullptr || pSource == nullptr || pTarget == pSource) {
        return KERNEL_ERROR_ARGUMENT;
    }
    if (nSize != sizeof(_BITMAPHANDLE) || !IsRecord(pSource)) return KERNEL_ERROR_STRUCT_SIZE;
    LocalBitmap copy;
    const int32_t result = CopyRecord(*pSource, copy);
    if (result == KERNEL_SUCCESS) copy.MoveTo(*pTarget);
    return result;
}

int32_t KernelAccessBitmap(_BITMAPHANDLE *pBitmap) {
    return HasRows(pBitmap) ? KERNEL_SUCCESS : KERNEL_ERROR_ARGUMENT;
}

int32_t KernelReleaseBitmap(_BITMAPHANDLE *pBitmap) {
    return IsRecord(pBitmap) ? KERNEL_SUCCESS : KERNEL_ERROR_ARGUMENT;
}

int64_t KernelGetBitmapRow(const _BITMAPHANDLE *pBitmap, void *pBuffer, int32_t nRow,
                           uint64_t nBytes) {
    if (pBuffer == nullptr || !HasRows(pBitmap)) return KERNEL_ERROR_ARGUMENT;
    if (nRow < 0 || nRow >= StoredRows(*pBitmap)) return KERNEL_ERROR_ARGUMENT;
    const uint64_t bytes = std::min<uint64_t>(nBytes, pBitmap->nBytesPerLine);
    std::memcpy(pBuffer, RowOf(*pBitmap, nRow), bytes);
    return static_cast<int64_t>(bytes);
}

int64_t KernelPutBitmapRow(_BITMAPHANDLE *pBitmap, const void *pBuffer, int32_t nRow,
                           uint64_t nBytes) {
    if (pBuffer == nullptr || !HasRows(pBitmap)) return KERNEL_ERROR_ARGUMENT;
    if (nRow < 0 || nRow >= StoredRows(*pBitmap)) return KERNEL_ERROR_ARGUMENT;
    const uint64_t bytes = std::min<uint64_t>(nBytes, pBitmap->nBytesPerLine);
    std::memcpy(RowOf(*pBitmap, nRow), pBuffer, bytes);
    return static_cast<int64_t>(bytes);
}

uint8_t *KernelLendBitmapRow(const _BITMAPHANDLE *pBitmap, int32_t nRow) {
    if (!HasRows(pBitmap) || nRow < 0 || nRow >= StoredRows(*pBitmap)) return nullptr;
    return RowOf(*pBitmap, nRow);
}

} // extern "C"
