// Marker segments of the streams that the encoders make.

#include "companions/MFCMPX/StreamWriter.h"

#include <algorithm>
#include <numeric>

namespace jpeg {

void PutFrame(BitWriter &writer, const Frame &frame) {
    PutMarker(writer, frame.process);
    writer.Put16(8 + 3 * frame.count);
    writer.Put8(frame.precision);
    writer.Put16(frame.height);
    writer.Put16(frame.width);
    writer.Put8(static_cast<unsigned>(frame.count));
    for (const Component &component : std::span(frame.components).first(frame.count)) {
        writer.Put8(component.id);
        writer.Put8(component.horizontal * 16u + component.vertical);
        writer.Put8(component.quantization);
    }
}

void PutHuffman(BitWriter &writer, unsigned tableClass, const HuffmanSpec &spec) {
    const auto total =
        static_cast<size_t>(std::accumulate(spec.counts.begin(), spec.counts.end(), 0));
    PutMarker(writer, DHT);
    writer.Put16(19 + total);
    writer.Put8(tableClass << 4);
    for (const uint8_t count : spec.counts) writer.Put8(count);
    for (const uint8_t symbol : std::span(spec.symbols).first(total)) writer.Put8(symbol);
}

void PutQuantization(BitWriter &writer, std::span<const uint16_t, 64> table) {
    const bool isWide = *std::max_element(table.begin(), table.end()) > 255;
    PutMarker(writer, DQT);
    writer.Put16(isWide ? 131 : 67);
    writer.Put8(isWide ? 0x10 : 0);
    for (const uint16_t value : table) {
        if (isWide) writer.Put8(value >> 8);
        writer.Put8(value & 255u);
    }
}

void PutRestartInterval(BitWriter &writer, size_t interval) {
    PutMarker(writer, DRI);
    writer.Put16(4);
    writer.Put16(interval);
}

void PutScan(BitWriter &writer, const Frame &frame, const Scan &scan) {
    PutMarker(writer, SOS);
    writer.Put16(6 + 2 * scan.count);
    writer.Put8(static_cast<unsigned>(scan.count));
    for (const ScanComponent &component : std::span(scan.components).first(scan.count)) {
        writer.Put8(frame.components[component.index].id);
        writer.Put8(component.dc * 16u + component.ac);
    }
    writer.Put8(scan.start);
    writer.Put8(scan.end);
    writer.Put8(scan.high * 16u + scan.low);
}

} // namespace jpeg
