// What the colours of one-bit bitmaps mean.

#pragma once

#include <array>

#include "Mvkrnx.h"

namespace mdicom {

/** True if a 0 is shown white and a 1 black. */
inline bool HasInvertedColors(const _BITMAPHANDLE &bitmap) {
    std::array<_RGBQUAD, 2> colors{};
    if (KernelGetBitmapColors(&bitmap, 0, 2, colors.data()) != KERNEL_SUCCESS) return false;
    const auto is = [](const _RGBQUAD &color, uint8_t value) {
        return color.rgbRed == value && color.rgbGreen == value && color.rgbBlue == value;
    };
    return is(colors[0], 255) && is(colors[1], 0);
}

} // namespace mdicom
