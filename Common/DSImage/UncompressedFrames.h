// Native frames that a caller holds as samples.

#pragma once

#include <cstdint>

#include "MDicomTypes.h"

namespace mdicom {

/** The way in for the flat function, which has no member of its own, and what all that insert
 *  native frames share. */
struct UncompressedFrames {
    static int32_t Insert(MDicomDS &dataSet, _DICOMELEMENT *pixelData, void *data, uint32_t size,
                          uint32_t index);
    /** Leaves no more than a pad byte behind frames of so many bytes together. */
    static void TrimPadding(MDicomDS &dataSet, _DICOMELEMENT *pixelData, uint64_t bytes);
};

} // namespace mdicom
