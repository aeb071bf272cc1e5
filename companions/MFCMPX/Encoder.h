// The encoders, and the pictures that they read.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "companions/MFCMPX/MFCMPX.h"

namespace jpeg {

/** The caller's rows, from the top. */
struct SourceImage {
    const uint8_t *top = nullptr;
    ptrdiff_t stride = 0;
    size_t width = 0;
    size_t height = 0;
    int depth = 0;
    size_t components = 0;

    const uint8_t *Row(size_t y) const { return top + static_cast<ptrdiff_t>(y) * stride; }
    /** The samples of a component, red first. */
    void ReadRow(size_t y, size_t component, uint16_t *samples) const;
};

/** The picture that a header tells of; nothing if there is none of that kind. */
std::optional<SourceImage> SourceOf(const uint8_t *pixels, const _MFCMPXBITMAP &header);

int32_t Encode(const SourceImage &image, int32_t quality, uint32_t flags, std::span<uint8_t> output,
               size_t *written);

struct LosslessOptions {
    unsigned precision = 16;
    unsigned predictor = 1;
    unsigned pointTransform = 0;
    size_t restartRows = 0;    ///< 0: no restarts
    bool isInterleaved = true; ///< else a scan per component
};

/// Results are MFCMPX_SUCCESS or an error.
///@{
int32_t EncodeLossless(const SourceImage &image, const LosslessOptions &options,
                       std::span<uint8_t> output, size_t *written);
/** @param qualityFactor 1 to 100 */
int32_t EncodeDct12(const SourceImage &image, int qualityFactor, std::span<uint8_t> output,
                    size_t *written);
int32_t EncodeDct8(const SourceImage &image, int qualityFactor, bool keepsRgb,
                   std::span<uint8_t> output, size_t *written);
///@}

} // namespace jpeg
