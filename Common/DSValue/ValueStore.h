// Where the bytes of a value lie: the list of blocks of an element.

#pragma once

#include <cstdint>

#include "MDicomTypes.h"

namespace mdicom {

/** A run of bytes in a stream. */
struct ValueBlock {
    MDicomFile *file;
    uint32_t offset;
    uint32_t length;
};

/** True if all bytes of the value lie within their streams. A declared length may pass the end
 *  of its file: no memory is taken for such a value. */
bool ValueIsPresent(const _DICOMELEMENT *pElement);

/** A block of an element by its place in the list. */
ValueBlock BlockAt(const _DICOMELEMENT *pElement, uint32_t nIndex);

/** Sets the arrays of a fresh element to one empty block in the room behind its record. */
void InitBlocks(_DICOMELEMENT *pElement, MDicomFile *pFile);

/** Frees the arrays of an element that is about to go. */
void FreeBlocks(_DICOMELEMENT *pElement);

/** Makes room for nCount blocks; false when memory is short, the list unchanged. */
bool ReserveBlocks(_DICOMELEMENT *pElement, uint32_t nCount);

/** Puts a block before place nIndex. The room has to be reserved. */
void InsertBlock(_DICOMELEMENT *pElement, uint32_t nIndex, const ValueBlock &block);

/** Takes the blocks from nFirst up to nEnd out. */
void RemoveBlocks(_DICOMELEMENT *pElement, uint32_t nFirst, uint32_t nEnd);

/** Removes the empty block of an element without a value, so that a list of blocks with bytes
 *  can begin. */
void DropEmptyBlock(_DICOMELEMENT *pElement);

/** Gives an element a value of a single block; its caches stay as they are. */
void ReplaceBlocks(_DICOMELEMENT *pElement, const ValueBlock &block) noexcept;

/** Exchanges the lists of two elements. */
void ExchangeBlocks(_DICOMELEMENT *pFirst, _DICOMELEMENT *pSecond) noexcept;

/** Place of the block that holds byte nOffset, which becomes relative to the block. The offset
 *  has to lie within the value. */
uint32_t FindBlock(const _DICOMELEMENT *pElement, uint32_t *pOffset);

/** Pad byte of a VR (PS 3.5, 6.2): NUL for UI, OB and values of larger units, blank for texts and
 *  for UN, which may be one. */
uint8_t PadByteOf(uint16_t nVR);

} // namespace mdicom
