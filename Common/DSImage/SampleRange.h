// The range of the samples of a bitmap that has just been made.

#pragma once

#include <cstdint>

#include "Mvkrnx.h"

namespace mdicom {

/** The least and the greatest value of the significant bits of a bitmap whose rows stand from top
 *  to bottom: of depth 8, of gray of 16, of all components of 24. False for other bitmaps. */
bool FindSampleRange(const _BITMAPHANDLE &bitmap, int32_t *low, int32_t *high);

} // namespace mdicom
