// What a JPEG stream says of its colour.

#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace mdicom {

/** Photometric interpretation of a stream of three components that this library has made:
 *  YBR_FULL_422, which stands for luminance and chrominance however they are sampled (PS 3.5,
 *  8.2.1), or RGB for a stream that is lossless or has an Adobe marker. */
std::string_view JpegPhotometric(std::span<const uint8_t> stream);

/** True if the frame of a stream is a lossless one. */
bool IsLosslessJpeg(std::span<const uint8_t> stream);

} // namespace mdicom
