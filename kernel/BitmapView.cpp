// Copies into top left view perspective.

#include "BitmapRows.h"

using namespace kernel;

namespace {

/** Where the pixel at the top left is stored, and the way to its neighbours, in pixels. */
struct Walk {
    ptrdiff_t Start;
    ptrdiff_t Right;
    ptrdiff_t Down;
};

Walk WalkOf(const _BITMAPHANDLE &bitmap) {
    struct View {
        bool LastRowFirst;
        bool LastColumnFirst;
    };
    static constexpr View views[]{{false, false}, {false, true}, {true, true}, {true, false},
                                  {false, false}, {true, false}, {true, true}, {false, true}};
    const View &view = views[bitmap.nViewPerspective - 1];
    const ptrdiff_t width = StoredWidth(bitmap);
    const ptrdiff_t rows = StoredRows(bitmap);
    const ptrdiff_t alongRow = view.LastColumnFirst ? -1 : 1;
    const ptrdiff_t alongColumn = view.LastRowFirst ? -width : width;
    const ptrdiff_t start =
        (view.LastRowFirst ? (rows - 1) * width : 0) + (view.LastColumnFirst ? width - 1 : 0);
    if (IsTransposed(bitmap)) return {start, alongColumn, alongRow};
    return {start, alongRow, alongColumn};
}

Block<uint8_t> ReadAllUnits(const _BITMAPHANDLE &bitmap) {
    const size_t line = static_cast<size_t>(StoredWidth(bitmap)) * UnitBytes(bitmap);
    const auto rows = static_cast<size_t>(StoredRows(bitmap));
    Block<uint8_t> units(static_cast<uint8_t *>(KernelAlloc(rows, line, 0, nullptr)));
    if (!units) return units;
    for (size_t row = 0; row < rows; ++row) {
        ReadUnits(bitmap, static_cast<int32_t>(row), units.get() + row * line);
    }
    return units;
}

int32_t Turn(const _BITMAPHANDLE &source, _BITMAPHANDLE &target) {
    const Block<uint8_t> units = ReadAllUnits(source);
    const auto width = static_cast<size_t>(target.nWidth);
    const Block<uint8_t> row = MakeBlock<uint8_t>(width * 4);
    if (!units || !row) return KERNEL_ERROR_MEMORY;
    const Walk walk = WalkOf(source);
    for (int32_t y = 0; y < target.nHeight; ++y) {
        const ptrdiff_t start = walk.Start + walk.Down * y;
        GatherUnits(UnitBytes(source), units.get(), row.get(), width, [&](size_t x) {
            return static_cast<size_t>(start + walk.Right * static_cast<ptrdiff_t>(x));
        });
        WriteUnits(target, y, row.get());
    }
    return KERNEL_SUCCESS;
}

/** Gives a copy the rows of another bitmap, which takes the old ones. */
void SwapRows(_BITMAPHANDLE &copy, _BITMAPHANDLE &turned) {
    BitmapState state = StateOf(copy);
    BitmapState other = StateOf(turned);
    std::swap(state.Data, other.Data);
    std::swap(state.Bytes, other.Bytes);
    SetState(copy, state);
    SetState(turned, other);
    copy.nBytesPerLine = turned.nBytesPerLine;
    copy.nViewPerspective = turned.nViewPerspective;
}

} // namespace

extern "C" {

int32_t KernelCopyBitmapView(_BITMAPHANDLE *pTarget, const _BITMAPHANDLE *pSource, uint32_t nSize) {
    if (pTarget == nullptr || pTarget == pSource) return KERNEL_ERROR_ARGUMENT;
    LocalBitmap copy;
    int32_t result = KernelCopyBitmap(&*copy, pSource, nSize);
    if (result != KERNEL_SUCCESS) return result;
    const int32_t view = copy->nViewPerspective;
    if (view < 1 || view > 8) return KERNEL_ERROR_ARGUMENT;
    if (view != 1 && HasRows(&*copy)) {
        LocalBitmap turned;
        result = KernelCreateBitmap(&*turned, sizeof(_BITMAPHANDLE), KERNEL_MEMORY_OWN,
                                    copy->nWidth, copy->nHeight, copy->nBitsPerPixel, copy->nOrder,
                                    nullptr, 1, nullptr, 0);
        if (result == KERNEL_SUCCESS) result = Turn(*pSource, *turned);
        if (result != KERNEL_SUCCESS) return result;
        SwapRows(*copy, *turned);
    }
    copy->nViewPerspective = 1;
    copy.MoveTo(*pTarget);
    return KERNEL_SUCCESS;
}

} // extern "C"
