// Sequential DCT-based encoding of 12 bits (ISO/IEC 10918-1, Annex F; process 4), of gray pictures.

#include <algorithm>
#include <array>
#include <vector>

#include "companions/MFCMPX/Dct.h"
#include "companions/MFCMPX/Encoder.h"
#include "companions/MFCMPX/HuffmanEncoder.h"
#include "companions/MFCMPX/StreamWriter.h"

namespace jpeg {
namespace {

/** Annex K, table K.1, row after row. */
constexpr std::array<uint8_t, kBlockSize> kLuminance{
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

/** The table of a quality factor, in zigzag order. */
std::array<uint16_t, kBlockSize> QuantizationOf(int qualityFactor) {
    const int percent = qualityFactor < 50 ? 5000 / qualityFactor : 200 - qualityFactor * 2;
    std::array<uint16_t, kBlockSize> table;
    for (size_t k = 0; k < kBlockSize; ++k) {
        const size_t place = kTransposedZigzag[k];
        const int step = (kLuminance[place % 8 * 8 + place / 8] * percent + 50) / 100;
        table[k] = static_cast<uint16_t>(std::clamp(step, 1, 32767));
    }
    return table;
}

/** Names the symbols of a block: calls onDc and onAc with a symbol and the value that it stands
 *  for. */
template <typename OnDc, typename OnAc>
void ForEachSymbol(const Block &block, int32_t dcBefore, OnDc onDc, OnAc onAc) {
    constexpr unsigned kZeros16 = 0xF0;
    constexpr unsigned kEndOfBlock = 0;
    onDc(block[0] - dcBefore);
    unsigned run = 0;
    for (size_t k = 1; k < kBlockSize; ++k) {
        const int32_t value = block[k];
        if (value == 0) {
            ++run;
            continue;
        }
        for (; run > 15; run -= 16) onAc(kZeros16, 0, 0u);
        const unsigned category = CategoryOf(value);
        onAc(run << 4 | category, value, category);
        run = 0;
    }
    if (run > 0) onAc(kEndOfBlock, 0, 0u);
}

class Dct12Encoder {
  public:
    Dct12Encoder(const SourceImage &image, int qualityFactor, BitWriter &writer)
        : image_(image),
          quantization_(QuantizationOf(qualityFactor)),
          blocksWide_((image.width + 7) / 8),
          writer_(writer) {}

    void Run() {
        Transform();
        CountSymbols();
        const HuffmanSpec dc = OptimalCodes(dcAmounts_);
        const HuffmanSpec ac = OptimalCodes(acAmounts_);
        PutHeaders(dc, ac);
        EncodeBlocks(HuffmanEncoder(dc), HuffmanEncoder(ac));
        writer_.Align();
        PutMarker(writer_, EOI);
    }

  private:
    void Transform();
    void ReadRow(size_t y, uint16_t *row) const;
    void CountSymbols();
    void PutHeaders(const HuffmanSpec &dc, const HuffmanSpec &ac);
    void EncodeBlocks(const HuffmanEncoder &dc, const HuffmanEncoder &ac);

    const SourceImage &image_;
    std::array<uint16_t, kBlockSize> quantization_;
    size_t blocksWide_;
    BitWriter &writer_;
    std::vector<Block> blocks_; ///< in zigzag order
    Histogram dcAmounts_{};
    Histogram acAmounts_{};
};

/** A row of whole blocks; what lies beyond the image repeats its edge. */
void Dct12Encoder::ReadRow(size_t y, uint16_t *row) const {
    image_.ReadRow(std::min(y, image_.height - 1), 0, row);
    std::fill(row + image_.width, row + blocksWide_ * 8, row[image_.width - 1]);
}

void Dct12Encoder::Transform() {
    const BlockFloats scales = DctScales(quantization_, false);
    const size_t stride = blocksWide_ * 8;
    std::vector<uint16_t> rows(stride * 8);
    blocks_.resize(blocksWide_ * ((image_.height + 7) / 8));
    for (size_t i = 0; i < blocks_.size(); ++i) {
        const size_t x = i % blocksWide_;
        if (x == 0) {
            const size_t top = i / blocksWide_ * 8;
            for (size_t y = 0; y < 8; ++y) ReadRow(top + y, rows.data() + y * stride);
        }
        Block transposed;
        ForwardDct12(rows.data() + x * 8, stride, scales, transposed);
        for (size_t k = 0; k < kBlockSize; ++k) blocks_[i][k] = transposed[kTransposedZigzag[k]];
    }
}

void Dct12Encoder::CountSymbols() {
    int32_t before = 0;
    for (const Block &block : blocks_) {
        ForEachSymbol(
            block, before, [this](int32_t difference) { ++dcAmounts_[CategoryOf(difference)]; },
            [this](unsigned symbol, int32_t, unsigned) { ++acAmounts_[symbol]; });
        before = block[0];
    }
}

void Dct12Encoder::PutHeaders(const HuffmanSpec &dc, const HuffmanSpec &ac) {
    Frame frame;
    frame.process = SOF1;
    frame.precision = 12;
    frame.height = static_cast<uint16_t>(image_.height);
    frame.width = static_cast<uint16_t>(image_.width);
    frame.count = 1;
    frame.components[0].id = 1;
    Scan scan;
    scan.count = 1;
    scan.end = 63;
    PutMarker(writer_, SOI);
    PutQuantization(writer_, quantization_);
    PutFrame(writer_, frame);
    PutHuffman(writer_, 0, dc);
    PutHuffman(writer_, 1, ac);
    PutScan(writer_, frame, scan);
}

void Dct12Encoder::EncodeBlocks(const HuffmanEncoder &dc, const HuffmanEncoder &ac) {
    int32_t before = 0;
    BitWriter writer = writer_; // lives in registers
    for (const Block &block : blocks_) {
        ForEachSymbol(
            block, before,
            [&](int32_t difference) {
                const unsigned category = CategoryOf(difference);
                dc.Put(writer, category, ExtraBits(difference, category), category);
            },
            [&](unsigned symbol, int32_t value, unsigned category) {
                ac.Put(writer, symbol, ExtraBits(value, category), category);
            });
        before = block[0];
    }
    writer_ = writer;
}

} // namespace

int32_t EncodeDct12(const SourceImage &image, int qualityFactor, std::span<uint8_t> output,
                    size_t *written) {
    BitWriter writer(output);
    Dct12Encoder(image, qualityFactor, writer).Run();
    *written = writer.Size();
    return writer.Overflowed() ? MFCMPX_ERROR_CAPACITY : MFCMPX_SUCCESS;
}

} // namespace jpeg
