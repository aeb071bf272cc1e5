// Codestreams into rows.

#pragma once

#include "Codestream.h"
#include "Mvkrnx.h"

namespace j2k {

/** Decodes a codestream that has the bitmap's width and height and components for its depth, and
 *  hands each row to the argument's callback. The codestream is mended in place. Gives an MFJ2KX_
 * code or what the callback gave. */
int32_t Decode(MutableBytes codestream, const _FILTERLOAD &argument);

} // namespace j2k
