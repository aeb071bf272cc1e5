// Pictures, and their way through the codec.

#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "companions/MFCMPX/Encoder.h"
#include "companions/MFCMPX/MFCMPX.h"
#include "support/Bitmaps.h"

namespace jpegtest {

enum class Content { Constant, Smooth, Noise, Extremes };
constexpr Content kContents[] = {Content::Constant, Content::Smooth, Content::Noise,
                                 Content::Extremes};

/** Samples of a number of bits, pixel after pixel. */
inline Words MakeSamples(uint32_t width, uint32_t height, size_t components, unsigned bits,
                         Content content) {
    std::minstd_rand random(width * 31 + height * 7 + bits);
    const uint32_t most = MaskOf(bits);
    Words samples;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            for (uint32_t i = 0; i < components; ++i) {
                const uint32_t noise = static_cast<uint32_t>(random()) >> 8;
                const uint32_t ramp = (x + 2 * y + 20 * i) * most / (width + 2 * height + 40);
                const uint32_t value = content == Content::Constant ? most / 3
                                       : content == Content::Smooth ? ramp + noise % (most / 64 + 1)
                                       : content == Content::Noise  ? noise & most
                                       : noise % 3 == 0             ? most / 2 + 1
                                                                    : noise % 3 / 2 * most;
                samples.push_back(static_cast<uint16_t>(std::min(value, most)));
            }
        }
    }
    return samples;
}

inline size_t Stride(size_t width, size_t depth) {
    return (width * depth + 31) / 32 * 4;
}

/** Rows as a bitmap has them. Samples are in the order of the bitmap. */
inline Bytes PackRows(const Words &samples, size_t height, size_t depth) {
    const size_t perRow = samples.size() / height;
    const size_t stride = Stride(perRow, SampleBits(depth));
    Bytes rows(stride * height);
    for (size_t i = 0; i < samples.size(); ++i) {
        PutSample(rows.data() + i / perRow * stride, i % perRow, SampleBits(depth), samples[i]);
    }
    return rows;
}

inline Words UnpackRows(const Bytes &rows, size_t width, size_t height, size_t depth) {
    const size_t perRow = width * (depth == 32 ? 4 : SamplesOfPixel(depth));
    const size_t bits = depth == 32 ? 8 : SampleBits(depth);
    Words samples;
    for (size_t i = 0; i < perRow * height; ++i) {
        const uint8_t *row = rows.data() + i / perRow * Stride(width, depth);
        samples.push_back(static_cast<uint16_t>(GetSample(row, i % perRow, bits)));
    }
    return samples;
}

inline _MFCMPXBITMAP HeaderOf(uint32_t width, uint32_t height, int depth) {
    _MFCMPXBITMAP header = {};
    header.nSize = 40;
    header.nWidth = static_cast<int32_t>(width);
    header.nHeight = -static_cast<int32_t>(height);
    header.nPlanes = 1;
    header.nBitCount = static_cast<uint16_t>(depth);
    return header;
}

/** The stream of a bitmap, or nothing. */
inline Bytes Save(const Bytes &rows, const _MFCMPXBITMAP &header, int quality, uint32_t flags = 0) {
    Bytes stream(rows.size() * 2 + 4096);
    auto size = static_cast<uint32_t>(stream.size());
    const int32_t result = fltSaveBuffer(rows.data(), &header, stream.data(), &size, quality, flags,
                                         0, nullptr, nullptr);
    stream.resize(result == MFCMPX_SUCCESS ? size : 0);
    return stream;
}

struct Loaded {
    int32_t result = 0;
    Words samples;
};

/** Decodes into rows of exactly the size that they need, which begin as ones. */
inline Loaded Load(const Bytes &stream, uint32_t width, uint32_t height, int depth,
                   int32_t color = MFCMPX_COLOR_FROM_STREAM) {
    Bytes rows(Stride(width, static_cast<size_t>(depth)) * height, 0xFF);
    // A copy without spare room: a read beyond the stream shows under a sanitizer.
    const Bytes exact(stream.begin(), stream.end());
    Loaded loaded;
    loaded.result = fltLoadBuffer(exact.data(), static_cast<uint32_t>(exact.size()), rows.data(),
                                  color, width, height, depth, nullptr, nullptr);
    loaded.samples = UnpackRows(rows, width, height, static_cast<size_t>(depth));
    return loaded;
}

/** A lossless stream of words, of options that fltSaveBuffer does not offer. */
inline Bytes SaveLossless(const Words &samples, uint32_t width, uint32_t height, size_t components,
                          const jpeg::LosslessOptions &options) {
    const int depth = components == 3 ? 48 : 16;
    const Bytes rows = PackRows(samples, height, static_cast<size_t>(depth));
    Bytes stream(rows.size() * 3 + 4096);
    size_t written = 0;
    const auto image = jpeg::SourceOf(rows.data(), HeaderOf(width, height, depth));
    const int32_t result = jpeg::EncodeLossless(*image, options, stream, &written);
    stream.resize(result == MFCMPX_SUCCESS ? written : 0);
    return stream;
}

/** The place behind the first marker of a kind. */
inline size_t Behind(const Bytes &stream, uint8_t marker) {
    for (size_t i = 0; i + 1 < stream.size(); ++i) {
        if (stream[i] == 0xFF && stream[i + 1] == marker) return i + 2;
    }
    return stream.size();
}

} // namespace jpegtest
