// Rows of components become rows of pixels, and what their colors are.

#include "companions/MFCMPX/Decoder.h"

namespace jpeg {
namespace {

template <typename Sample, size_t kStep>
void Spread(uint8_t *row, size_t width, size_t place, const uint16_t *samples, unsigned shift) {
    for (size_t x = 0; x < width; ++x) {
        const auto sample = static_cast<Sample>(samples[x] << shift);
        // The caller's rows need not be aligned.
        std::memcpy(row + (x * kStep + place) * sizeof(Sample), &sample, sizeof sample);
    }
}

template <typename Sample>
void SpreadInto(const Target &target, size_t y, size_t place, const uint16_t *samples,
                unsigned shift) {
    uint8_t *row = target.Row(y);
    switch (target.components) {
        case 1:
            return Spread<Sample, 1>(row, target.width, 0, samples, shift);
        case 3:
            return Spread<Sample, 3>(row, target.width, place, samples, shift);
        default:
            return Spread<Sample, 4>(row, target.width, place, samples, shift);
    }
}

} // namespace

void StoreRow(const Target &target, size_t y, size_t component, const uint16_t *samples,
              unsigned shift) {
    const size_t place = target.PlaceOf(component);
    if (target.sampleBytes == 1) {
        SpreadInto<uint8_t>(target, y, place, samples, shift);
    } else {
        SpreadInto<uint16_t>(target, y, place, samples, shift);
    }
}

bool HasChrominance(const ColorMarks &marks, int32_t color) {
    constexpr std::array<int, 3> rgb{'R', 'G', 'B'};
    if (marks.adobeTransform) return *marks.adobeTransform != 0;
    if (marks.hasJfif || marks.isSubsampled) return true;
    if (color != MFCMPX_COLOR_FROM_STREAM) return color != MFCMPX_COLOR_RGB;
    return marks.ids != rgb;
}

} // namespace jpeg
