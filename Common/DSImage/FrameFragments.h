// Values and items (PS 3.5, A.4) of Pixel Data while frames come and go.

#pragma once

#include <cstdint>

#include "Common/DS/ElementNode.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

inline bool IsEncapsulated(const _DICOMELEMENT *pixelData) {
    return pixelData->nLength == kUndefinedLength;
}

/** True for Pixel Data below the top level: windows, LUTs, overlays and functional groups are those
 *  of the image. */
inline bool IsNested(const _DICOMELEMENT *pixelData) {
    return pixelData != nullptr && ParentOf(pixelData) != nullptr;
}

/** Frames of an element, or of all Pixel Data for null. Throws std::bad_alloc where memory is too
 *  short to count them, which is not the same as none. */
uint32_t CountFrames(MDicomDS &dataSet, _DICOMELEMENT *pixelData);

/** Deletes the element with a tag that stands on the level of another one, if there is one. */
void DeleteBeside(MDicomDS &dataSet, _DICOMELEMENT *neighbor, uint32_t tag);

/** Number of items in front of one. */
uint32_t PlaceOfItem(const _DICOMELEMENT *item);

/**
 * Makes the offset table ready for a change of the frames: there is one, it is empty, and so are
 * the tables of long offsets beside the element. False if it could not be made; then nothing has
 * changed.
 * @param firstFrame first fragment of the first frame; null without frames
 */
bool PrepareOffsetTable(MDicomDS &dataSet, _DICOMELEMENT *pixelData,
                        const _DICOMELEMENT *firstFrame);

/** True if a value has more bytes than native frames that end there, and the one that fills an odd
 *  value. Each change of frames of odd size leaves such a filling behind. */
constexpr bool HasRest(uint64_t length, uint64_t end) {
    return length > end + end % 2;
}

} // namespace mdicom
