// Marker segments of the streams that the encoders make.

#pragma once

#include <span>

#include "companions/MFCMPX/BitWriter.h"
#include "companions/MFCMPX/JpegMarkers.h"

namespace jpeg {

inline void PutMarker(BitWriter &writer, uint8_t marker) {
    writer.Put8(0xFF);
    writer.Put8(marker);
}

void PutFrame(BitWriter &writer, const Frame &frame);
/** @param tableClass 0 for DC and lossless, 1 for AC */
void PutHuffman(BitWriter &writer, unsigned tableClass, const HuffmanSpec &spec);
void PutQuantization(BitWriter &writer, std::span<const uint16_t, 64> table);
void PutRestartInterval(BitWriter &writer, size_t interval);
void PutScan(BitWriter &writer, const Frame &frame, const Scan &scan);

} // namespace jpeg
