// Lists of bitmaps that own them.

#include <cstring>

#include "BitmapStorage.h"

struct HBITMAPLIST__ {
    _BITMAPHANDLE *Items;
    uint32_t Count;
    uint32_t Capacity;
};

using namespace kernel;

namespace {

bool MakeRoom(HBITMAPLIST__ &list) {
    if (list.Count < list.Capacity) return true;
    if (list.Capacity > 0x3FFFFFFF) return false;
    const uint32_t capacity = list.Capacity == 0 ? 8 : list.Capacity * 2;
    void *items = KernelRealloc(list.Items, size_t{capacity} * sizeof(_BITMAPHANDLE), 0, nullptr);
    if (items == nullptr) return false;
    list.Items = static_cast<_BITMAPHANDLE *>(items);
    list.Capacity = capacity;
    return true;
}

/** Frees what the old bitmap owns and the new one does not share with it. */
void FreeUnshared(_BITMAPHANDLE &old, const _BITMAPHANDLE &next) {
    BitmapState state = StateOf(old);
    const BitmapState nextState = StateOf(next);
    if (state.Data == nextState.Data) state.Data = nullptr;
    if (state.Overlays == nextState.Overlays) state.Overlays = nullptr;
    SetState(old, state);
    if (old.pPalette == next.pPalette) old.pPalette = nullptr;
    if (old.pLUT == next.pLUT) old.pLUT = nullptr;
    if (old.pLUT16 == next.pLUT16) old.pLUT16 = nullptr;
    KernelFreeBitmap(&old);
}

int32_t CheckItem(const HBITMAPLIST__ *list, const _BITMAPHANDLE *bitmap, uint32_t size) {
    if (list == nullptr || bitmap == nullptr) return KERNEL_ERROR_ARGUMENT;
    return size == sizeof(_BITMAPHANDLE) ? KERNEL_SUCCESS : KERNEL_ERROR_STRUCT_SIZE;
}

} // namespace

extern "C" {

int32_t KernelCreateBitmapList(HBITMAPLIST__ **pList) {
    if (pList == nullptr) return KERNEL_ERROR_ARGUMENT;
    *pList = static_cast<HBITMAPLIST__ *>(KernelAlloc(1, sizeof(HBITMAPLIST__), 0, nullptr));
    if (*pList == nullptr) return KERNEL_ERROR_MEMORY;
    **pList = {};
    return KERNEL_SUCCESS;
}

int32_t KernelDestroyBitmapList(HBITMAPLIST__ *hList) {
    if (hList == nullptr) return KERNEL_ERROR_ARGUMENT;
    for (uint32_t i = 0; i < hList->Count; ++i) KernelFreeBitmap(&hList->Items[i]);
    KernelFree(hList->Items, 0, nullptr);
    KernelFree(hList, 0, nullptr);
    return KERNEL_SUCCESS;
}

int32_t KernelListItemCount(HBITMAPLIST__ *hList, uint32_t *pCount) {
    if (hList == nullptr || pCount == nullptr) return KERNEL_ERROR_ARGUMENT;
    *pCount = hList->Count;
    return KERNEL_SUCCESS;
}

int32_t KernelListGetItem(HBITMAPLIST__ *hList, uint32_t nIndex, _BITMAPHANDLE *pBitmap,
                          uint32_t nSize) {
    const int32_t result = CheckItem(hList, pBitmap, nSize);
    if (result != KERNEL_SUCCESS) return result;
    if (nIndex >= hList->Count) return KERNEL_ERROR_ARGUMENT;
    *pBitmap = hList->Items[nIndex];
    return KERNEL_SUCCESS;
}

int32_t KernelListSetItem(HBITMAPLIST__ *hList, uint32_t nIndex, const _BITMAPHANDLE *pBitmap,
                          uint32_t nSize) {
    const int32_t result = CheckItem(hList, pBitmap, nSize);
    if (result != KERNEL_SUCCESS) return result;
    if (!IsRecord(pBitmap)) return KERNEL_ERROR_STRUCT_SIZE;
    if (nIndex >= hList->Count) return KERNEL_ERROR_ARGUMENT;
    FreeUnshared(hList->Items[nIndex], *pBitmap);
    hList->Items[nIndex] = *pBitmap;
    return KERNEL_SUCCESS;
}

int32_t KernelListInsertItem(HBITMAPLIST__ *hList, uint32_t nIndex, const _BITMAPHANDLE *pBitmap,
                             uint32_t nSize) {
    const int32_t result = CheckItem(hList, pBitmap, nSize);
    if (result != KERNEL_SUCCESS) return result;
    if (!IsRecord(pBitmap)) return KERNEL_ERROR_STRUCT_SIZE;
    const uint32_t index = nIndex == 0xFFFFFFFF ? hList->Count : nIndex;
    if (index > hList->Count) return KERNEL_ERROR_ARGUMENT;
    if (!MakeRoom(*hList)) return KERNEL_ERROR_MEMORY;
    std::memmove(hList->Items + index + 1, hList->Items + index,
                 (hList->Count - index) * sizeof(_BITMAPHANDLE));
    hList->Items[index] = *pBitmap;
    ++hList->Count;
    return KERNEL_SUCCESS;
}

} // extern "C"
