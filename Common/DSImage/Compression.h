// What a compression class of an image means for its frames.

#pragma once

#include <cstdint>

#include "MDicomConstants.h"

namespace mdicom {

constexpr bool IsJpeg(uint32_t compression) {
    return compression == IMAGE_COMPRESSION_JPEG_LOSSLESS ||
           compression == IMAGE_COMPRESSION_JPEG_LOSSY;
}

constexpr bool IsJpegLs(uint32_t compression) {
    return compression == IMAGE_COMPRESSION_JPEG_LS_LOSSLESS ||
           compression == IMAGE_COMPRESSION_JPEG_LS_LOSSY;
}

constexpr bool IsJ2k(uint32_t compression) {
    return compression == IMAGE_COMPRESSION_J2K_LOSSLESS ||
           compression == IMAGE_COMPRESSION_J2K_LOSSY;
}

/** True for a class whose frames this library decodes and encodes. */
constexpr bool HasCodec(uint32_t compression) {
    return compression <= IMAGE_COMPRESSION_RLE || IsJpeg(compression) || IsJ2k(compression);
}

/** True if encoding in this class loses something. */
constexpr bool IsLossy(uint32_t compression) {
    return compression == IMAGE_COMPRESSION_JPEG_LOSSY ||
           compression == IMAGE_COMPRESSION_J2K_LOSSY;
}

} // namespace mdicom
