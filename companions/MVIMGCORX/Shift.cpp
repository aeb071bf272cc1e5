// Bits of samples at another place, in a bitmap of another depth.

#include "companions/MVIMGCORX/MVIMGCORX.h"
#include "companions/MVIMGCORX/Samples.h"

namespace imgcore {

namespace {

/** Which bits move where. */
struct Move {
    uint32_t First;
    uint32_t Last;
    uint32_t Target;
    uint32_t Depth;

    uint32_t Count() const { return Last - First + 1; }
    bool Fits(uint32_t sourceDepth) const {
        if (Depth != 8 && Depth != 12 && Depth != 16) return false;
        return First <= Last && Last < sourceDepth && Target < Depth && Count() <= Depth - Target;
    }
    uint32_t Of(uint32_t sample) const {
        return (sample >> First & ((1u << Count()) - 1)) << Target;
    }
};

template <typename From, typename To>
void MoveBits(std::span<const From> from, std::span<To> to, const Move &move) {
    const Move own = move;
    for (size_t i = 0; i < to.size(); ++i) to[i] = static_cast<To>(own.Of(from[i]));
}

int32_t MoveRows(const _BITMAPHANDLE &source, _BITMAPHANDLE &target, const Move &move) {
    RowBuffer from(source);
    RowBuffer to(target);
    if (!from.IsReady() || !to.IsReady()) return KERNEL_ERROR_MEMORY;
    const auto withTarget = [&](auto samples) {
        if (move.Depth == 8) return MoveBits(samples, to.Bytes(), move);
        MoveBits(samples, to.Words(), move);
    };
    for (int32_t row = 0; row < StoredRows(source); ++row) {
        if (!from.Read(source, row)) return KERNEL_ERROR_ARGUMENT;
        if (source.nBitsPerPixel == 8) {
            withTarget(std::span<const uint8_t>(from.Bytes()));
        } else {
            withTarget(std::span<const uint16_t>(from.Words()));
        }
        if (!to.Write(target, row)) return KERNEL_ERROR_ARGUMENT;
    }
    return KERNEL_SUCCESS;
}

/** What the record of the source says holds on where all its significant bits are taken. */
void Describe(const _BITMAPHANDLE &bitmap, const SampleFormat &source, const Move &move,
              _BITMAPHANDLE &target) {
    const auto low = static_cast<uint32_t>(source.Low);
    const auto high = low + static_cast<uint32_t>(source.Count) - 1;
    const bool all = move.First <= low && move.Last >= high;
    const uint32_t lowBit = all ? low - move.First + move.Target : move.Target;
    const uint32_t highBit = all ? high - move.First + move.Target : move.Target + move.Count() - 1;
    target.nLowBit = target.nPaintLowBit = static_cast<int32_t>(lowBit);
    target.nHighBit = target.nPaintHighBit = static_cast<int32_t>(highBit);
    target.nBitmapFlags &= ~uint32_t{KERNEL_BITMAP_SIGNED};
    if (source.Signed && move.Last >= high) target.nBitmapFlags |= KERNEL_BITMAP_SIGNED;
    target.nMinVal = all ? bitmap.nMinVal : 0;
    target.nMaxVal = all ? bitmap.nMaxVal : 0;
    if (!all) SetLuts(target, nullptr, nullptr, 0);
}

} // namespace

} // namespace imgcore

using namespace imgcore;

extern "C" {

int32_t M_ShiftBitmapData(_BITMAPHANDLE *pTarget, const _BITMAPHANDLE *pSource, uint32_t nSize,
                          uint32_t nFirstBit, uint32_t nLastBit, uint32_t nTargetBit,
                          uint32_t nTargetBits) {
    const auto format = FormatOf(pSource);
    if (!format || pTarget == nullptr || pTarget == pSource) return KERNEL_ERROR_ARGUMENT;
    if (nSize != sizeof *pTarget) return KERNEL_ERROR_STRUCT_SIZE;
    const Move move{nFirstBit, nLastBit, nTargetBit, nTargetBits};
    if (!move.Fits(static_cast<uint32_t>(format->Depth))) return KERNEL_ERROR_ARGUMENT;
    // The kernel's own conversion brings along what belongs to the picture: LUT, overlays, view.
    int32_t result = KernelCopyBitmap(pTarget, pSource, nSize);
    if (result != KERNEL_SUCCESS) return result;
    result = KernelGrayScaleBitmap(pTarget, static_cast<int32_t>(nTargetBits));
    if (result == KERNEL_SUCCESS) result = MoveRows(*pSource, *pTarget, move);
    if (result == KERNEL_SUCCESS) {
        Describe(*pSource, *format, move, *pTarget);
    } else {
        KernelFreeBitmap(pTarget);
    }
    return result;
}

} // extern "C"
