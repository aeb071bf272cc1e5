// What a JPEG stream says of its colour.

#include "Common/DSImage/JpegPhotometric.h"

#include <optional>

#include "Common/Utils/ByteOrder.h"

namespace mdicom {

namespace {

constexpr uint8_t kLosslessFrame = 0xC3;
constexpr uint8_t kAdobe = 0xEE;

struct Frame {
    uint8_t marker;
    bool hasAdobe; ///< an Adobe marker stands before it
};

bool IsFrameMarker(uint8_t marker) {
    const bool isTable = marker == 0xC4 || marker == 0xC8 || marker == 0xCC;
    return marker >= 0xC0 && marker <= 0xCF && !isTable;
}

/** The first frame header of a stream. */
std::optional<Frame> FindFrame(std::span<const uint8_t> stream) {
    bool hasAdobe = false;
    for (size_t place = 2; place + 4 <= stream.size();) {
        if (stream[place] != 0xFF) return std::nullopt;
        const uint8_t marker = stream[place + 1];
        if (marker == 0xFF) {
            ++place;
            continue;
        }
        const size_t length = Load16(stream.data() + place + 2, false);
        if (length < 2 || place + 2 + length > stream.size()) return std::nullopt;
        if (IsFrameMarker(marker)) return Frame{marker, hasAdobe};
        hasAdobe = hasAdobe || marker == kAdobe;
        place += 2 + length;
    }
    return std::nullopt;
}

} // namespace

std::string_view JpegPhotometric(std::span<const uint8_t> stream) {
    const std::optional<Frame> frame = FindFrame(stream);
    const bool isPlain = !frame || frame->marker == kLosslessFrame || frame->hasAdobe;
    return isPlain ? "RGB" : "YBR_FULL_422";
}

bool IsLosslessJpeg(std::span<const uint8_t> stream) {
    const std::optional<Frame> frame = FindFrame(stream);
    return frame && frame->marker == kLosslessFrame;
}

} // namespace mdicom
