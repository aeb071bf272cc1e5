// Native frames that a caller holds as samples.

#pragma once

#include <cstdint>

#include "MDicomTypes.h"

namespace mdicom {

/** The way in for the flat function, which has no member of its own. */
struct UncompressedFrames {
    static int32_t Insert(MDicomDS &dataSet, _DICOMELEMENT *pixelData, void *data, uint32_t size,
                          uint32_t index);
};

} // namespace mdicom
