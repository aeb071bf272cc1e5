// The picture of a bitmap as the encoder takes it.

#pragma once

#include "Library.h"
#include "MDicomTypes.h"

namespace j2k {

/** Where an image lies on the reference grid. */
struct Origin {
    uint32_t left;
    uint32_t top;
};

/** Reads the bitmap's rows into components; gives an MFJ2KX_ code. */
int32_t ReadImage(const _FILTERSAVE &argument, Origin origin, Image &image);

} // namespace j2k
