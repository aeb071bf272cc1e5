// From planes of components to rows of pixels: upsampling and conversion of colors of 12 bits.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "companions/MFCMPX/Decoder.h"

namespace jpeg {

/** Samples of a component, in rows that whole blocks fill. */
struct Plane {
    size_t width = 0; ///< without what only fills up blocks
    size_t height = 0;
    size_t stride = 0;
    std::vector<uint16_t> samples;

    uint16_t *BlockAt(size_t x, size_t y) { return samples.data() + y * 8 * stride + x * 8; }
    const uint16_t *Row(size_t y) const { return samples.data() + y * stride; }
};

/** A plane that has one sample for several pixels. */
struct Upsampled {
    const Plane &plane;
    size_t horizontal = 1; ///< pixels per sample
    size_t vertical = 1;
};

/** Stores all rows of one or three planes, as they stand or converted to RGB. */
void StorePlanes(const Target &target, std::span<const Upsampled> planes, bool convertsColors);

} // namespace jpeg
