// Bitmaps into codestreams.

#pragma once

#include "Mvkrnx.h"

namespace j2k {

/** Encodes the argument's bitmap into a file. Gives an MFJ2KX_ code, or that of the write that
 *  failed. */
int32_t Encode(const _FILTERSAVE &argument, M_HFILE__ *file);

} // namespace j2k
