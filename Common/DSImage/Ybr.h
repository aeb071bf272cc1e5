// Luminance and chrominance to red, green and blue (PS 3.3, C.7.6.3.1.2).

#pragma once

#include <cstddef>
#include <cstdint>

namespace mdicom {

/** Which transformation the samples went through. */
enum class YbrRange {
    Studio, ///< ITU-R BT.601: luminance from 16 to 235
    Full    ///< the whole range of a byte, as YBR_FULL is defined
};

/** Converts pixels of three bytes, the chrominance of red first and luminance last, to blue, green
 *  and red in place. */
void ConvertYbrRow(uint8_t *row, size_t pixels, YbrRange range);

} // namespace mdicom
