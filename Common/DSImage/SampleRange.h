// The range of the samples of a bitmap that has just been made.

#pragma once

#include <cstdint>

#include "Mvkrnx.h"

namespace mdicom {

/** The least and the greatest value of the significant bits of a bitmap. False for bitmaps of
 *  other forms than words of gray in rows from top to bottom. */
bool FindWordRange(const _BITMAPHANDLE &bitmap, int32_t *low, int32_t *high);

} // namespace mdicom
