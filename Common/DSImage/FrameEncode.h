// Encoders of frames: RLE and JPEG, from samples in any layout.

#pragma once

#include <cstdint>

#include "Common/DSImage/FrameLayout.h"
#include "Common/Utils/Status.h"
#include "KernelBlock.h"

namespace mdicom {

/** Samples of a frame. */
struct FrameView {
    const uint8_t *data;
    FrameLayout layout;
    uint32_t columns;
    uint32_t rows;
    uint32_t samples; ///< per pixel
};

/** The stored form of a frame, in a block of KernelAlloc. */
struct EncodedFrame {
    kernel::Block<uint8_t> bytes;
    uint32_t size = 0;
};

/** Copies the samples of a frame into another layout of the same sample size. */
void RearrangeFrame(const FrameView &frame, const FrameLayout &layout, uint8_t *target);

/** Segments of PS 3.5, G: the most significant byte of a sample first. Single bits follow each
 * other without anything between rows. */
Status EncodeRleFrame(const FrameView &frame, EncodedFrame &encoded);

/** How a JPEG stream is to be made. */
struct JpegRequest {
    int32_t depth;   ///< 8, 12, 16, 24 or 48, as fltSaveBuffer takes it
    int32_t quality; ///< 0 lossless; 2 (best) to 255
    bool plain;      ///< keeps red, green and blue
    int32_t xResolution;
    int32_t yResolution;
};

/** Rows are padded to 4 bytes, and colour has blue first. */
Status EncodeJpegFrame(const uint8_t *rows, uint32_t columns, uint32_t height,
                       const JpegRequest &request, EncodedFrame &encoded);

} // namespace mdicom
