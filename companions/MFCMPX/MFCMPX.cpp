// The entry points of the JPEG codec.

#include "companions/MFCMPX/MFCMPX.h"

#include <new>
#include <optional>

#include "companions/MFCMPX/Decoder.h"
#include "companions/MFCMPX/Encoder.h"

namespace jpeg {
namespace {

std::optional<Target> TargetOf(uint8_t *pixels, uint32_t width, uint32_t height, int32_t depth) {
    switch (depth) {
        case 8:
            return Target{pixels, width, height, 1, 1};
        case 16:
            return Target{pixels, width, height, 1, 2};
        case 24:
            return Target{pixels, width, height, 3, 1};
        case 32:
            return Target{pixels, width, height, 4, 1};
        case 48:
            return Target{pixels, width, height, 3, 2};
        default:
            return std::nullopt;
    }
}

/** Rows are sized by the caller: nothing is decoded that does not fit them. */
int32_t CheckFrame(const Frame &frame, const Target &target) {
    if (frame.count == 3 && target.components == 1) return MFCMPX_ERROR_COLOR;
    const bool fits = frame.width == target.width && frame.height == target.height &&
                      frame.count == target.components && frame.width > 0 && frame.height > 0 &&
                      frame.precision <= 8 * target.sampleBytes;
    return fits ? MFCMPX_SUCCESS : MFCMPX_ERROR_FORMAT;
}

int32_t Decode(std::span<const uint8_t> stream, const Target &target, int32_t color) {
    StreamParser parser(stream);
    if (!parser.Begin() || parser.Next() != Step::FrameFound) return MFCMPX_ERROR_FORMAT;
    const Frame &frame = parser.TheFrame();
    if (const int32_t result = CheckFrame(frame, target); result != MFCMPX_SUCCESS) return result;
    if (frame.process == SOF3) return DecodeLossless(parser, target);
    if (frame.precision == 8) return DecodeDct8(stream, target, color);
    if (frame.precision == 12 && frame.process != SOF0) return DecodeDct12(parser, target, color);
    return MFCMPX_ERROR_FORMAT;
}

} // namespace
} // namespace jpeg

using namespace jpeg;

int32_t fltLoadBuffer(const uint8_t *pData, uint32_t nSize, uint8_t *pPixels, int32_t nColor,
                      uint32_t nWidth, uint32_t nHeight, int32_t nBitsPerPixel, void *, void *) {
    const std::optional<Target> target = TargetOf(pPixels, nWidth, nHeight, nBitsPerPixel);
    if (pData == nullptr || pPixels == nullptr || !target) return MFCMPX_ERROR_ARGUMENT;
    try {
        return Decode({pData, nSize}, *target, nColor);
    } catch (const std::bad_alloc &) {
        return MFCMPX_ERROR_MEMORY;
    }
}

int32_t fltSaveBuffer(const uint8_t *pPixels, const void *pHeader, uint8_t *pOutput,
                      uint32_t *pSize, int32_t nQuality, uint32_t nFlags, int32_t, void *, void *) {
    if (pPixels == nullptr || pHeader == nullptr || pOutput == nullptr || pSize == nullptr) {
        return MFCMPX_ERROR_ARGUMENT;
    }
    _MFCMPXBITMAP header;
    std::memcpy(&header, pHeader, sizeof header);
    const std::optional<SourceImage> image = SourceOf(pPixels, header);
    if (!image || nQuality < 0 || nQuality == 1 || nQuality > 255) return MFCMPX_ERROR_ARGUMENT;
    try {
        size_t written = 0;
        const int32_t result =
            Encode(*image, nQuality, nFlags, std::span(pOutput, *pSize), &written);
        if (result == MFCMPX_SUCCESS) *pSize = static_cast<uint32_t>(written);
        return result;
    } catch (const std::bad_alloc &) {
        return MFCMPX_ERROR_MEMORY;
    }
}
