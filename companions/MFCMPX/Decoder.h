// The decoders, and the rows that they fill.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "companions/MFCMPX/JpegMarkers.h"
#include "companions/MFCMPX/MFCMPX.h"

namespace jpeg {

/** The caller's rows. */
struct Target {
    uint8_t *pixels = nullptr;
    uint32_t width = 0;
    uint32_t height = 0;
    size_t components = 0; ///< 1, 3 or 4
    size_t sampleBytes = 0;

    size_t RowBytes() const { return width * components * sampleBytes; }
    size_t Stride() const { return (RowBytes() + 3) / 4 * 4; }
    uint8_t *Row(size_t y) const { return pixels + y * Stride(); }
    /** Where a component stands among the samples of a pixel. */
    size_t PlaceOf(size_t component) const { return components == 3 ? 2 - component : component; }
    void Clear(size_t firstRow) const {
        std::memset(Row(firstRow), 0, (height - firstRow) * Stride());
    }
};

/** Puts a row of a component into its places. */
void StoreRow(const Target &target, size_t y, size_t component, const uint16_t *samples,
              unsigned shift);

/** What tells luminance and chrominance from RGB in a lossy stream of three components. */
struct ColorMarks {
    std::optional<uint8_t> adobeTransform;
    bool hasJfif = false;
    std::array<int, 3> ids{};  ///< of the components
    bool isSubsampled = false; ///< the second component is smaller than the first
};

/** An Adobe marker decides. Without one a stream that can only be luminance and chrominance is, for
 *  callers are told RGB by files that hold no such thing; else the caller knows, and where he does
 *  not the stream has to be guessed at. */
bool HasChrominance(const ColorMarks &marks, int32_t color);

/** What became of the entropy-coded data of a scan. */
enum class Outcome {
    Complete,
    EndsEarly, ///< the stream ends within it; what was there is decoded
    Corrupt
};

/// The parser stands behind the frame header, which agrees with the target. Results are
/// MFCMPX_SUCCESS or an error.
///@{
int32_t DecodeLossless(StreamParser &parser, const Target &target);
/** Sequential and progressive DCT of 12 bits. */
int32_t DecodeDct12(StreamParser &parser, const Target &target, int32_t color);
///@}
/** Sequential and progressive DCT of 8 bits. */
int32_t DecodeDct8(std::span<const uint8_t> stream, const Target &target, int32_t color);

} // namespace jpeg
