// Lossless sequential encoding with Huffman codes (ISO/IEC 10918-1, Annex H; process 14).

#include <algorithm>
#include <array>
#include <vector>

#include "companions/MFCMPX/Encoder.h"
#include "companions/MFCMPX/HuffmanEncoder.h"
#include "companions/MFCMPX/Predictors.h"
#include "companions/MFCMPX/StreamWriter.h"

namespace jpeg {
namespace {

/** Walks over the rows of differences of some components. */
class DifferenceRows {
  public:
    DifferenceRows(const SourceImage &image, const LosslessOptions &options, size_t first,
                   size_t count)
        : image_(image), options_(options), first_(first), lanes_(count) {
        for (Lane &lane : lanes_) {
            lane.row.resize(image.width);
            lane.above.resize(image.width);
            lane.differences.resize(image.width);
        }
    }

    bool StartsAnew(size_t y) const {
        return options_.restartRows > 0 ? y % options_.restartRows == 0 : y == 0;
    }
    /** Rows come in order from the top. */
    void Go(size_t y) {
        for (size_t i = 0; i < lanes_.size(); ++i) GoLane(lanes_[i], first_ + i, y);
    }
    size_t Count() const { return lanes_.size(); }
    const int16_t *Of(size_t lane) const { return lanes_[lane].differences.data(); }

  private:
    struct Lane {
        std::vector<uint16_t> row;
        std::vector<uint16_t> above;
        std::vector<int16_t> differences;
    };

    void GoLane(Lane &lane, size_t component, size_t y) {
        std::swap(lane.row, lane.above);
        image_.ReadRow(y, component, lane.row.data());
        if (options_.pointTransform > 0) {
            for (uint16_t &sample : lane.row) {
                sample = static_cast<uint16_t>(sample >> options_.pointTransform);
            }
        }
        const bool isFirst = StartsAnew(y);
        const int32_t middle = 1 << (options_.precision - options_.pointTransform) >> 1;
        kSubtractPrediction[isFirst ? 1 : options_.predictor](
            lane.row.data(), lane.above.data(), isFirst ? middle : lane.above[0],
            lane.differences.data(), image_.width);
    }

    const SourceImage &image_;
    const LosslessOptions &options_;
    size_t first_;
    std::vector<Lane> lanes_;
};

class LosslessEncoder {
  public:
    LosslessEncoder(const SourceImage &image, const LosslessOptions &options, BitWriter &writer)
        : image_(image), options_(options), writer_(writer) {}

    void Run();

  private:
    Frame MakeFrame() const;
    void EncodeScan(const Frame &frame, size_t first, size_t count);
    HuffmanSpec CodesFor(size_t first, size_t count) const;
    void EncodeRows(const HuffmanEncoder &codes, DifferenceRows &rows);

    const SourceImage &image_;
    const LosslessOptions &options_;
    BitWriter &writer_;
};

Frame LosslessEncoder::MakeFrame() const {
    Frame frame;
    frame.process = SOF3;
    frame.precision = static_cast<uint8_t>(options_.precision);
    frame.height = static_cast<uint16_t>(image_.height);
    frame.width = static_cast<uint16_t>(image_.width);
    frame.count = image_.components;
    for (size_t i = 0; i < frame.count; ++i) frame.components[i].id = static_cast<uint8_t>(i + 1);
    return frame;
}

void LosslessEncoder::Run() {
    const Frame frame = MakeFrame();
    PutMarker(writer_, SOI);
    PutFrame(writer_, frame);
    if (options_.restartRows > 0) {
        PutRestartInterval(writer_, options_.restartRows * image_.width);
    }
    const size_t perScan = options_.isInterleaved ? frame.count : 1;
    for (size_t first = 0; first < frame.count; first += perScan) {
        EncodeScan(frame, first, perScan);
    }
    PutMarker(writer_, EOI);
}

/** A scan with a table of its own, which its components share. */
void LosslessEncoder::EncodeScan(const Frame &frame, size_t first, size_t count) {
    Scan scan;
    scan.count = count;
    for (size_t i = 0; i < count; ++i) scan.components[i].index = first + i;
    scan.start = static_cast<uint8_t>(options_.predictor);
    scan.low = static_cast<uint8_t>(options_.pointTransform);
    const HuffmanSpec spec = CodesFor(first, count);
    PutHuffman(writer_, 0, spec);
    PutScan(writer_, frame, scan);
    DifferenceRows rows(image_, options_, first, count);
    EncodeRows(HuffmanEncoder(spec), rows);
    writer_.Align();
}

HuffmanSpec LosslessEncoder::CodesFor(size_t first, size_t count) const {
    // In turns, so that counting up does not wait for the memory of the count before.
    std::array<std::array<uint32_t, 17>, 4> turns;
    Histogram histogram{};
    DifferenceRows rows(image_, options_, first, count);
    for (size_t y = 0; y < image_.height; ++y) {
        rows.Go(y);
        turns = {};
        for (size_t lane = 0; lane < count; ++lane) {
            const int16_t *differences = rows.Of(lane);
            for (size_t x = 0; x < image_.width; ++x) ++turns[x % 4][CategoryOf(differences[x])];
        }
        for (const auto &turn : turns) {
            for (size_t i = 0; i < turn.size(); ++i) histogram[i] += turn[i];
        }
    }
    return OptimalCodes(histogram);
}

inline void PutDifference(BitWriter &writer, const HuffmanEncoder &codes, int32_t difference) {
    const unsigned category = CategoryOf(difference);
    // 32768 of either sign has a category to itself, without additional bits.
    if (category == 16) return codes.Put(writer, category, 0, 0);
    codes.Put(writer, category, ExtraBits(difference, category), category);
}

/** A row of pixels. Copies of the writer and of the places of differences live in registers: bytes
 *  that are stored could be anything else's. */
template <size_t kCount>
void PutPixels(BitWriter &shared, const HuffmanEncoder &codes, const DifferenceRows &rows,
               size_t width) {
    BitWriter writer = shared;
    std::array<const int16_t *, kCount> differences;
    for (size_t i = 0; i < kCount; ++i) differences[i] = rows.Of(i);
    for (size_t x = 0; x < width; ++x) {
        for (size_t i = 0; i < kCount; ++i) PutDifference(writer, codes, differences[i][x]);
    }
    shared = writer;
}

void LosslessEncoder::EncodeRows(const HuffmanEncoder &codes, DifferenceRows &rows) {
    unsigned restarts = 0;
    for (size_t y = 0; y < image_.height; ++y) {
        if (y > 0 && rows.StartsAnew(y)) {
            writer_.Align();
            PutMarker(writer_, static_cast<uint8_t>(RST0 + restarts++ % 8));
        }
        rows.Go(y);
        if (rows.Count() == 1) {
            PutPixels<1>(writer_, codes, rows, image_.width);
        } else {
            PutPixels<3>(writer_, codes, rows, image_.width);
        }
        if (writer_.Overflowed()) return;
    }
}

} // namespace

int32_t EncodeLossless(const SourceImage &image, const LosslessOptions &options,
                       std::span<uint8_t> output, size_t *written) {
    BitWriter writer(output);
    LosslessEncoder(image, options, writer).Run();
    *written = writer.Size();
    return writer.Overflowed() ? MFCMPX_ERROR_CAPACITY : MFCMPX_SUCCESS;
}

} // namespace jpeg
