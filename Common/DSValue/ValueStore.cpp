// The list of blocks of an element: growing, shrinking, finding.

#include "Common/DSValue/ValueStore.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "Common/DS/ElementNode.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Vr.h"
#include "MDicomFile.h"

namespace mdicom {

namespace {

ElementNode *NodeOf(_DICOMELEMENT *element) {
    return reinterpret_cast<ElementNode *>(element);
}

bool IsInline(_DICOMELEMENT *element) {
    return element->pBlockFiles == &NodeOf(element)->file;
}

/** Lets the arrays of an element be those behind its own record. */
void PointInline(_DICOMELEMENT *element) {
    ElementNode *node = NodeOf(element);
    element->pBlockFiles = &node->file;
    element->pBlockOffsets = &node->offset;
    element->pBlockLengths = &node->length;
}

/** The arrays of a list stand behind each other in one allocation: files, offsets, lengths. */
uint32_t CapacityOf(const _DICOMELEMENT *element) {
    return static_cast<uint32_t>(element->pBlockLengths - element->pBlockOffsets);
}

template <typename T>
void ShiftUp(T *array, uint32_t index, uint32_t count) {
    std::memmove(array + index + 1, array + index, (count - index) * sizeof(T));
}

template <typename T>
void CloseGap(T *array, uint32_t first, uint32_t end, uint32_t count) {
    std::memmove(array + first, array + end, (count - end) * sizeof(T));
}

} // namespace

bool ValueIsPresent(const _DICOMELEMENT *pElement) {
    for (uint32_t i = 0; i < pElement->nBlockCount; ++i) {
        const ValueBlock block = BlockAt(pElement, i);
        if (uint64_t{block.offset} + block.length > block.file->nLength && block.length > 0) {
            return false;
        }
    }
    return true;
}

ValueBlock BlockAt(const _DICOMELEMENT *pElement, uint32_t nIndex) {
    return {pElement->pBlockFiles[nIndex], pElement->pBlockOffsets[nIndex],
            pElement->pBlockLengths[nIndex]};
}

void InitBlocks(_DICOMELEMENT *pElement, MDicomFile *pFile) {
    ElementNode *node = NodeOf(pElement);
    node->file = pFile;
    node->offset = 0xFFFFFFFF;
    node->length = 0;
    PointInline(pElement);
    pElement->nBlockCount = 1;
}

void FreeBlocks(_DICOMELEMENT *pElement) {
    if (!IsInline(pElement)) DataFree(pElement->pBlockFiles);
}

bool ReserveBlocks(_DICOMELEMENT *pElement, uint32_t nCount) {
    if (nCount <= CapacityOf(pElement)) return true;
    const uint32_t capacity = std::max(4u, std::bit_ceil(nCount));
    constexpr size_t kEntry = sizeof(MDicomFile *) + 2 * sizeof(uint32_t);
    void *block = DataAlloc(capacity, kEntry);
    if (block == nullptr) return false;
    auto **files = static_cast<MDicomFile **>(block);
    auto *offsets = reinterpret_cast<uint32_t *>(files + capacity);
    uint32_t *lengths = offsets + capacity;
    std::copy_n(pElement->pBlockFiles, pElement->nBlockCount, files);
    std::copy_n(pElement->pBlockOffsets, pElement->nBlockCount, offsets);
    std::copy_n(pElement->pBlockLengths, pElement->nBlockCount, lengths);
    FreeBlocks(pElement);
    pElement->pBlockFiles = files;
    pElement->pBlockOffsets = offsets;
    pElement->pBlockLengths = lengths;
    return true;
}

void InsertBlock(_DICOMELEMENT *pElement, uint32_t nIndex, const ValueBlock &block) {
    ShiftUp(pElement->pBlockFiles, nIndex, pElement->nBlockCount);
    ShiftUp(pElement->pBlockOffsets, nIndex, pElement->nBlockCount);
    ShiftUp(pElement->pBlockLengths, nIndex, pElement->nBlockCount);
    pElement->pBlockFiles[nIndex] = block.file;
    pElement->pBlockOffsets[nIndex] = block.offset;
    pElement->pBlockLengths[nIndex] = block.length;
    ++pElement->nBlockCount;
}

void RemoveBlocks(_DICOMELEMENT *pElement, uint32_t nFirst, uint32_t nEnd) {
    if (nFirst >= nEnd) return;
    CloseGap(pElement->pBlockFiles, nFirst, nEnd, pElement->nBlockCount);
    CloseGap(pElement->pBlockOffsets, nFirst, nEnd, pElement->nBlockCount);
    CloseGap(pElement->pBlockLengths, nFirst, nEnd, pElement->nBlockCount);
    pElement->nBlockCount -= nEnd - nFirst;
}

void DropEmptyBlock(_DICOMELEMENT *pElement) {
    if (pElement->nBlockCount == 1 && pElement->pBlockLengths[0] == 0) pElement->nBlockCount = 0;
}

void ReplaceBlocks(_DICOMELEMENT *pElement, const ValueBlock &block) noexcept {
    FreeBlocks(pElement);
    InitBlocks(pElement, block.file);
    pElement->pBlockOffsets[0] = block.offset;
    pElement->pBlockLengths[0] = block.length;
    pElement->nLength = block.length;
}

void ExchangeBlocks(_DICOMELEMENT *pFirst, _DICOMELEMENT *pSecond) noexcept {
    const bool firstInline = IsInline(pFirst);
    const bool secondInline = IsInline(pSecond);
    std::swap(pFirst->pBlockFiles, pSecond->pBlockFiles);
    std::swap(pFirst->pBlockOffsets, pSecond->pBlockOffsets);
    std::swap(pFirst->pBlockLengths, pSecond->pBlockLengths);
    std::swap(pFirst->nBlockCount, pSecond->nBlockCount);
    std::swap(NodeOf(pFirst)->file, NodeOf(pSecond)->file);
    std::swap(NodeOf(pFirst)->offset, NodeOf(pSecond)->offset);
    std::swap(NodeOf(pFirst)->length, NodeOf(pSecond)->length);
    if (secondInline) PointInline(pFirst);
    if (firstInline) PointInline(pSecond);
}

uint32_t FindBlock(const _DICOMELEMENT *pElement, uint32_t *pOffset) {
    uint32_t index = 0;
    while (index + 1 < pElement->nBlockCount && *pOffset >= pElement->pBlockLengths[index]) {
        *pOffset -= pElement->pBlockLengths[index];
        ++index;
    }
    return index;
}

uint8_t PadByteOf(uint16_t nVR) {
    const bool isBinary = nVR == vr::OB || SwapUnitOf(nVR) > 1;
    return isBinary || nVR == vr::UI ? 0 : ' ';
}

} // namespace mdicom
