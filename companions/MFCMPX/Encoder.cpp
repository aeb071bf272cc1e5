// Pictures to encode: rows of samples, and the choice of the process.

#include "companions/MFCMPX/Encoder.h"

#include <cstring>

namespace jpeg {
namespace {

template <typename Sample, size_t kStep>
void Gather(const uint8_t *row, size_t width, size_t place, uint16_t *samples) {
    for (size_t x = 0; x < width; ++x) {
        Sample sample;
        std::memcpy(&sample, row + (x * kStep + place) * sizeof(Sample), sizeof sample);
        samples[x] = sample;
    }
}

/** Two pixels in three bytes, the first in the low bits. */
void Unpack12(const uint8_t *row, size_t width, uint16_t *samples) {
    for (size_t x = 0; x + 1 < width; x += 2) {
        const uint8_t *pair = row + x / 2 * 3;
        const uint32_t bits = pair[0] | uint32_t{pair[1]} << 8 | uint32_t{pair[2]} << 16;
        samples[x] = static_cast<uint16_t>(bits & 0xFFF);
        samples[x + 1] = static_cast<uint16_t>(bits >> 12);
    }
    if (width % 2 == 0) return;
    const uint8_t *last = row + width / 2 * 3;
    samples[width - 1] = static_cast<uint16_t>(last[0] | (last[1] & 15) << 8);
}

int QualityFactor(int32_t quality) {
    return 98 - (97 * (quality - 2) + 126) / 253;
}

} // namespace

void SourceImage::ReadRow(size_t y, size_t component, uint16_t *samples) const {
    const uint8_t *row = Row(y);
    switch (depth) {
        case 8:
            return Gather<uint8_t, 1>(row, width, 0, samples);
        case 12:
            return Unpack12(row, width, samples);
        case 16:
            return Gather<uint16_t, 1>(row, width, 0, samples);
        case 24:
            return Gather<uint8_t, 3>(row, width, 2 - component, samples);
        default:
            return Gather<uint16_t, 3>(row, width, 2 - component, samples);
    }
}

std::optional<SourceImage> SourceOf(const uint8_t *pixels, const _MFCMPXBITMAP &header) {
    constexpr int64_t kMost = 65535;
    const int64_t height = header.nHeight < 0 ? -int64_t{header.nHeight} : header.nHeight;
    if (header.nSize != sizeof header || header.nPlanes != 1 || header.nCompression != 0 ||
        header.nWidth < 1 || header.nWidth > kMost || height < 1 || height > kMost) {
        return std::nullopt;
    }
    const int depth = header.nBitCount;
    if (depth != 8 && depth != 12 && depth != 16 && depth != 24 && depth != 48) return std::nullopt;
    SourceImage image;
    image.width = static_cast<size_t>(header.nWidth);
    image.height = static_cast<size_t>(height);
    image.depth = depth;
    image.components = depth >= 24 ? 3 : 1;
    image.stride = (int64_t{header.nWidth} * depth + 31) / 32 * 4;
    image.top = pixels;
    if (header.nHeight > 0) {
        image.top += (height - 1) * image.stride;
        image.stride = -image.stride;
    }
    return image;
}

int32_t Encode(const SourceImage &image, int32_t quality, uint32_t flags, std::span<uint8_t> output,
               size_t *written) {
    if (quality == 0) {
        LosslessOptions options;
        options.precision = static_cast<unsigned>(image.depth) / (image.components == 3 ? 3 : 1);
        return EncodeLossless(image, options, output, written);
    }
    switch (image.depth) {
        case 8:
        case 24:
            return EncodeDct8(image, QualityFactor(quality), (flags & MFCMPX_SAVE_RGB) != 0, output,
                              written);
        case 12:
            return EncodeDct12(image, QualityFactor(quality), output, written);
        default:
            return MFCMPX_ERROR_ARGUMENT;
    }
}

} // namespace jpeg
