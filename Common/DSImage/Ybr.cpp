// Luminance and chrominance to red, green and blue.

#include "Common/DSImage/Ybr.h"

#include <algorithm>

namespace mdicom {

namespace {

uint8_t ToByte(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

/** Thousandths, cut. */
void ConvertStudio(uint8_t *row, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, row += 3) {
        const int y = 1164 * std::max(row[2] - 16, 0);
        const int u = row[1] - 128;
        const int v = row[0] - 128;
        row[0] = ToByte((y + 2018 * u) / 1000);
        row[1] = ToByte((y - 391 * u - 813 * v) / 1000);
        row[2] = ToByte((y + 1596 * v) / 1000);
    }
}

/** The inverse of the standard's matrix, in 16 bits of fraction, rounded. */
void ConvertFull(uint8_t *row, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, row += 3) {
        const int y = row[2] * 65536 + 32768;
        const int u = row[1] - 128;
        const int v = row[0] - 128;
        row[0] = ToByte((y + 116130 * u) >> 16);
        row[1] = ToByte((y - 22554 * u - 46802 * v) >> 16);
        row[2] = ToByte((y + 91881 * v) >> 16);
    }
}

} // namespace

void ConvertYbrRow(uint8_t *row, size_t pixels, YbrRange range) {
    range == YbrRange::Full ? ConvertFull(row, pixels) : ConvertStudio(row, pixels);
}

} // namespace mdicom
